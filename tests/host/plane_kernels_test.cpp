// The host's plane kernels: reduction by integer factors and the histogram.
#include <gtest/gtest.h>

#include <array>
#include <numeric>
#include <vector>

#include "host/histogram.h"
#include "host/plane_reduction.h"

namespace {

TEST(PlaneReduction, each_destination_sample_is_the_rounded_mean_of_its_block) {
  // 4 by 5 source with row gaps (row bytes 7); the fifth column and the gap
  // bytes must not be read into the 2 by 2 result.
  const std::vector<uint8_t> source = {
      0,   1,   2,   3,   99, 250, 250,  //
      4,   5,   6,   8,   99, 250, 250,  //
      10,  20,  200, 200, 99, 250, 250,  //
      30,  41,  201, 200, 99, 250, 250,  //
  };
  std::array<uint8_t, 6> destination{};
  destination.fill(77);
  host::reduce_plane(source.data(), destination.data(), 2, 2, 7, 1, 3, 1, 2, 2);
  EXPECT_EQ(3, destination[0]);    // (0 + 1 + 4 + 5 + 2) / 4 = 3
  EXPECT_EQ(5, destination[1]);    // (2 + 3 + 6 + 8) = 19, rounded mean 5
  EXPECT_EQ(77, destination[2]);   // the destination's row gap stays
  EXPECT_EQ(25, destination[3]);   // (10 + 20 + 30 + 41) = 101, 25.25
  EXPECT_EQ(200, destination[4]);  // 801 / 4 = 200.25
}

TEST(PlaneReduction, other_factors_and_steps_follow_the_same_rule) {
  // Every second byte of a 3 by 6 plane, reduced by 3 in both directions.
  std::vector<uint8_t> source(3 * 12, 0);
  for (int y = 0; y < 3; ++y) {
    for (int x = 0; x < 6; ++x) source[y * 12 + 2 * x] = static_cast<uint8_t>(10 * (y * 6 + x));
  }
  std::array<uint8_t, 2> destination{};
  host::reduce_plane(source.data(), destination.data(), 1, 2, 12, 2, 2, 1, 3, 3);
  EXPECT_EQ(70, destination[0]);   // samples 0,10,20,60,70,80,120,130,140
  EXPECT_EQ(100, destination[1]);
  host::reduce_plane(source.data(), destination.data(), 1, 2, 12, 2, 2, 1, 0, 3);
  EXPECT_EQ(100, destination[1]);  // a zero factor writes nothing
}

TEST(Histogram, counts_every_sample_of_the_plane_and_none_of_the_gaps) {
  const int rows = 37, columns = 53, row_bytes = 64;
  std::vector<uint8_t> plane(rows * row_bytes, 255);
  for (int y = 0; y < rows; ++y) {
    for (int x = 0; x < columns; ++x) plane[y * row_bytes + x] = static_cast<uint8_t>((x * 7 + y) % 250);
  }
  std::array<uint64_t, 256> counts{};
  counts[3] = 1000;  // counters are added to, not reset
  host::histogram(plane.data(), rows, columns, row_bytes, counts.data());
  std::array<uint64_t, 256> expected{};
  expected[3] = 1000;
  for (int y = 0; y < rows; ++y) {
    for (int x = 0; x < columns; ++x) ++expected[(x * 7 + y) % 250];
  }
  EXPECT_EQ(expected, counts);
  EXPECT_EQ(0u, counts[255]);
  EXPECT_EQ(1000u + rows * columns, std::accumulate(counts.begin(), counts.end(), uint64_t{0}));
}

}  // namespace
