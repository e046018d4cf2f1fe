// The host's vector kernels give the bits of their portable twins, and the
// portable twins compute what they promise.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <vector>

#include "host/cpu_support.h"
#include "host/descriptor_histogram.h"
#include "host/descriptor_kernels.h"
#include "host/extremum_kernels.h"
#include "host/filter_kernels.h"
#include "host/gradient_kernels.h"

namespace {

std::vector<float> random_floats(std::size_t count, unsigned seed, float low = -1.0f, float high = 1.0f) {
  std::mt19937 generator(seed);
  std::uniform_real_distribution<float> value(low, high);
  std::vector<float> values(count);
  for (float& v : values) v = value(generator);
  return values;
}

class VectorKernels : public testing::Test {
 protected:
  void SetUp() override {
    if (!host::cpu_has_avx2()) GTEST_SKIP() << "this processor has no AVX2: only the portable kernels run";
  }
};

TEST_F(VectorKernels, row_filter_equals_the_portable_loop_at_every_width_and_tap_count) {
  for (std::size_t taps = 1; taps <= 17; ++taps) {
    const std::vector<float> table = random_floats(taps, static_cast<unsigned>(taps), 0.0f, 0.3f);
    for (const std::size_t width : {1u, 7u, 8u, 31u, 32u, 33u, 100u, 761u}) {
      const std::vector<float> line = random_floats(width + taps - 1, static_cast<unsigned>(width + taps));
      std::vector<float> vector_output(width), portable_output(width);
      host::convolve_row(line.data(), line.size(), table.data(), taps, taps / 2, vector_output.data());
      host::convolve_row_portable(line.data(), width, table.data(), taps, portable_output.data());
      ASSERT_EQ(portable_output, vector_output) << taps << " taps, width " << width;
    }
  }
}

TEST_F(VectorKernels, transposition_equals_the_portable_one_and_is_a_transposition) {
  for (const auto& [width, height] : {std::pair<std::size_t, std::size_t>{1, 1}, {8, 8}, {13, 29}, {64, 3}, {100, 77}}) {
    const std::size_t source_stride = width + 5;
    const std::vector<float> source = random_floats(source_stride * height, static_cast<unsigned>(width * height));
    std::vector<float> vector_result(width * (height + 2), 0.0f), portable_result(width * (height + 2), 0.0f);
    const std::size_t destination_bytes = (height + 2) * sizeof(float);
    host::transpose_plane(vector_result.data(), destination_bytes, source.data(), source_stride * sizeof(float), width, height);
    host::transpose_plane_portable(portable_result.data(), destination_bytes, source.data(),
                                   source_stride * sizeof(float), width, height);
    ASSERT_EQ(portable_result, vector_result) << width << " x " << height;
    for (std::size_t y = 0; y < height; ++y) {
      for (std::size_t x = 0; x < width; ++x) ASSERT_EQ(source[y * source_stride + x], vector_result[x * (height + 2) + y]);
    }
  }
}

TEST_F(VectorKernels, gradients_equal_the_portable_ones_including_flat_and_axis_cases) {
  const std::size_t width = 45, height = 5;
  std::vector<float> plane = random_floats(width * height, 3, 0.0f, 1.0f);
  // Flat, and purely horizontal and vertical gradients of both signs.
  for (std::size_t x = 0; x < 12; ++x) plane[x] = plane[width + x] = plane[2 * width + x] = 0.5f;
  plane[2 * width + 20] = plane[2 * width + 22] = 0.25f;
  std::vector<float> magnitude(width - 2), direction(width - 2), portable_magnitude(width - 2), portable_direction(width - 2);
  host::gradient_row(plane.data(), width, 2, 1, width - 2, magnitude.data(), direction.data());
  host::gradient_row_portable(plane.data(), width, 2, 1, width - 2, portable_magnitude.data(), portable_direction.data());
  EXPECT_EQ(portable_magnitude, magnitude);
  EXPECT_EQ(portable_direction, direction);
}

// Gradients of a random plane, turned into histograms by keypoint frames of
// every orientation (0 and just below 2 pi included), sub-sample offsets,
// cell widths and row lengths of 1 to 64 samples (tails of every length).
TEST_F(VectorKernels, descriptor_histogram_rows_equal_the_portable_adds_bit_for_bit) {
  constexpr std::size_t width = 96, height = 40;
  const std::vector<float> plane = random_floats(width * height, 17, 0.0f, 1.0f);
  std::mt19937 generator(23);
  std::uniform_real_distribution<float> unit(0.0f, 1.0f);
  const float angles[] = {0.0f, 1.0f, 3.14159265f, 6.2831850f, 4.5f};
  int filled = 0;
  for (int trial = 0; trial < 400; ++trial) {
    const float angle = trial < 5 ? angles[trial] : 6.2831853f * unit(generator);
    const float cell = 1.5f + 6.0f * unit(generator);
    const host::descriptor_frame frame{std::cos(angle) / cell, std::sin(angle) / cell, unit(generator) - 0.5f,
                                       unit(generator) - 0.5f, angle};
    const std::size_t count = 1 + static_cast<std::size_t>(trial) % 64;
    const std::size_t y = 1 + static_cast<std::size_t>(trial) % (height - 2);
    std::vector<float> magnitude(count), direction(count), weights = random_floats(count, 100u + trial, 0.1f, 1.0f);
    host::gradient_row_portable(plane.data(), width, y, 1, count, magnitude.data(), direction.data());
    const int64_t i0 = -static_cast<int64_t>(count / 2), j = static_cast<int64_t>(y) - static_cast<int64_t>(height / 2);
    host::descriptor_histogram vector_histogram{}, portable_histogram{};
    for (int pass = 0; pass < 2; ++pass) {  // adds onto what is there
      host::add_histogram_row(magnitude.data(), direction.data(), weights.data(), count, i0, j / 4, 0.75f, frame,
                              vector_histogram);
      host::add_histogram_row_portable(magnitude.data(), direction.data(), weights.data(), count, i0, j / 4, 0.75f,
                                       frame, portable_histogram);
    }
    ASSERT_EQ(0, std::memcmp(vector_histogram, portable_histogram, sizeof vector_histogram)) << "trial " << trial;
    filled += portable_histogram[2][2][0] + portable_histogram[2][2][1] + portable_histogram[3][3][4] > 0.0f;
  }
  EXPECT_GT(filled, 100);  // the rows did reach the grid
}

TEST_F(VectorKernels, extrema_equal_the_portable_search) {
  const std::size_t width = 67, height = 40;
  const std::vector<float> below = random_floats(width * height, 4), here = random_floats(width * height, 5),
                           above = random_floats(width * height, 6);
  std::vector<uint32_t> vector_found(width), portable_found(width);
  std::size_t total = 0;
  // The whole row, and stretches that start and end anywhere: whole groups
  // of eight, and tails that overlap the group before.
  for (const host::column_span span :
       {host::column_span{0, width}, {0, 13}, {13, 50}, {50, 200}, {7, 8}, {0, 64}, {2, 11}, {3, 12}}) {
    for (std::size_t y = 1; y + 1 < height; ++y) {
      const std::size_t a =
          host::extrema_in_row(below.data(), here.data(), above.data(), width, y, span, 0.3f, vector_found.data());
      const std::size_t b = host::extrema_in_row_portable(below.data(), here.data(), above.data(), width, y, span, 0.3f,
                                                          portable_found.data());
      ASSERT_EQ(b, a) << "row " << y << ", columns " << span.first << " to " << span.end;
      for (std::size_t k = 0; k < a; ++k) {
        ASSERT_EQ(portable_found[k], vector_found[k]);
        ASSERT_GE(portable_found[k], span.first);
        ASSERT_LT(portable_found[k], span.end);
      }
      total += a;
    }
  }
  EXPECT_GT(total, 10u);
}

TEST_F(VectorKernels, descriptor_distances_equal_the_portable_sums_extreme_bytes_included) {
  std::mt19937 generator(8);
  const std::size_t count = 103;
  std::vector<uint8_t> descriptors(128 * (count + 1));
  for (std::size_t i = 0; i < descriptors.size(); ++i) {
    const unsigned pick = generator() % 4;
    descriptors[i] = pick == 0 ? 0 : pick == 1 ? 255 : static_cast<uint8_t>(generator());
  }
  // The largest distance, all 0 against all 255.
  std::fill_n(descriptors.begin(), 128, uint8_t{0});
  std::fill_n(descriptors.begin() + 128, 128, uint8_t{255});
  const uint8_t* query = descriptors.data();
  const uint8_t* candidates = descriptors.data() + 128;
  EXPECT_EQ(32640u, host::descriptor_distance(query, candidates));
  for (std::size_t k = 0; k < count; ++k) {
    ASSERT_EQ(host::descriptor_distance_portable(query, candidates + 128 * k), host::descriptor_distance(query, candidates + 128 * k));
    ASSERT_EQ(host::descriptor_distance_portable(candidates + 128 * k, query), host::descriptor_distance(candidates + 128 * k, query));
  }
}

TEST(GradientKernel, directions_are_within_a_ten_thousandth_of_a_radian) {
  const std::size_t width = 3;
  double worst = 0.0;
  for (int k = 0; k < 3600; ++k) {
    const double angle = k * (2.0 * M_PI / 3600.0) + 1e-4;
    // A 3 x 3 plane whose central differences are (cos, sin) of the angle.
    std::vector<float> plane(9, 0.0f);
    plane[5] = static_cast<float>(std::cos(angle));
    plane[7] = static_cast<float>(std::sin(angle));
    float magnitude = 0.0f, direction = 0.0f;
    host::gradient_row_portable(plane.data(), width, 1, 1, 1, &magnitude, &direction);
    EXPECT_NEAR(1.0f, magnitude, 1e-6f);
    double error = std::fabs(direction - angle);
    worst = std::max(worst, std::min(error, 2.0 * M_PI - error));
    ASSERT_GE(direction, 0.0f);
    ASSERT_LT(direction, static_cast<float>(2.0 * M_PI));
  }
  EXPECT_LT(worst, 1e-4);
  float magnitude = 1.0f, direction = 1.0f;
  const std::vector<float> flat(9, 0.3f);
  host::gradient_row_portable(flat.data(), width, 1, 1, 1, &magnitude, &direction);
  EXPECT_EQ(0.0f, magnitude);
  EXPECT_EQ(0.0f, direction);
}

TEST(ExtremumKernel, finds_strict_extrema_beyond_the_threshold_only) {
  const std::size_t width = 5, height = 3;
  std::vector<float> below(width * height, 0.0f), here(width * height, 0.0f), above(width * height, 0.0f);
  here[1 * width + 1] = 0.5f;   // a maximum
  here[1 * width + 3] = -0.5f;  // a minimum
  above[1 * width + 2] = 0.1f;
  std::vector<uint32_t> found(width);
  const host::column_span row{0, width};
  ASSERT_EQ(2u, host::extrema_in_row_portable(below.data(), here.data(), above.data(), width, 1, row, 0.2f, found.data()));
  EXPECT_EQ(1u, found[0]);
  EXPECT_EQ(3u, found[1]);
  EXPECT_EQ(0u, host::extrema_in_row_portable(below.data(), here.data(), above.data(), width, 1, row, 0.5f, found.data()));
  ASSERT_EQ(1u, host::extrema_in_row_portable(below.data(), here.data(), above.data(), width, 1, {2, 5}, 0.2f,
                                              found.data()));
  EXPECT_EQ(3u, found[0]);  // the stretch leaves out the maximum
  above[1 * width + 1] = 0.5f;  // a tie is not an extremum
  EXPECT_EQ(1u, host::extrema_in_row_portable(below.data(), here.data(), above.data(), width, 1, row, 0.2f, found.data()));
}

}  // namespace
