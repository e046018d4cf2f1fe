// The distance tables of the matching job and the scans over their rows:
// the vector kernels give the bits of the portable loops, and the portable
// loops give the plain sums, at every shape of block and tail.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <utility>
#include <vector>

#include "host/cpu_support.h"
#include "host/descriptor_kernels.h"

namespace {

// Random descriptors, a quarter of the bytes 0 and a quarter 255, so that
// the extremes of the sums are reached.
std::vector<uint8_t> random_descriptors(std::size_t count, unsigned seed) {
  std::mt19937 generator(seed);
  std::vector<uint8_t> bytes(128 * count);
  for (uint8_t& byte : bytes) {
    const unsigned pick = generator() % 4;
    byte = pick == 0 ? 0 : pick == 1 ? 255 : static_cast<uint8_t>(generator());
  }
  return bytes;
}

struct tables {
  std::vector<uint16_t> by_a, by_b;
};

tables computed(bool vector, const std::vector<uint8_t>& a, std::size_t n, const std::vector<uint8_t>& b,
                std::size_t m) {
  tables result{std::vector<uint16_t>(n * m, 1), std::vector<uint16_t>(n * m, 1)};
  if (vector) {
    host::distance_tables(a.data(), n, b.data(), m, result.by_a.data(), result.by_b.data());
  } else {
    host::distance_tables_portable(a.data(), n, b.data(), m, result.by_a.data(), result.by_b.data());
  }
  return result;
}

const std::vector<std::pair<std::size_t, std::size_t>> shapes = {
    {1, 1}, {1, 2}, {2, 1}, {3, 5}, {4, 2}, {4, 3}, {5, 2}, {7, 9}, {8, 8}, {9, 1}, {33, 17}, {100, 61}};

// The largest distance, all 0 against all 255, comes in every place of a
// block as well.
TEST(DistanceTables, the_tables_hold_every_sum_and_its_transposition_the_vector_ones_bit_for_bit) {
  for (const auto& [n, m] : shapes) {
    SCOPED_TRACE(testing::Message() << n << " x " << m);
    const auto a = random_descriptors(n, static_cast<unsigned>(n)), b = random_descriptors(m, static_cast<unsigned>(99 + m));
    const tables t = computed(false, a, n, b, m);
    for (std::size_t i = 0; i < n; ++i) {
      for (std::size_t k = 0; k < m; ++k) {
        const uint32_t sum = host::descriptor_distance_portable(a.data() + 128 * i, b.data() + 128 * k);
        ASSERT_EQ(sum, t.by_a[i * m + k]);
        ASSERT_EQ(sum, t.by_b[k * n + i]);
      }
    }
    if (!host::cpu_has_avx2()) continue;  // only the portable kernels run here
    const tables vector = computed(true, a, n, b, m);
    ASSERT_EQ(t.by_a, vector.by_a);
    ASSERT_EQ(t.by_b, vector.by_b);
  }
  const std::vector<uint8_t> zeros(128 * 5, 0), full(128 * 3, 255);
  for (const bool vector : {false, true}) {
    const tables extreme = computed(vector, zeros, 5, full, 3);
    EXPECT_EQ(std::vector<uint16_t>(15, 32640), extreme.by_a);
    EXPECT_EQ(std::vector<uint16_t>(15, 32640), extreme.by_b);
  }
}

// Rows of marks and ties; the scans answer as the matcher's forward scan
// does: a strict comparison keeps the first of equal distances.
std::vector<uint16_t> random_row(std::mt19937& generator, std::size_t count, int spread) {
  std::vector<uint16_t> row(count);
  for (uint16_t& d : row) {
    d = generator() % 5 == 0 ? host::no_table_distance : static_cast<uint16_t>(100 + generator() % (spread + 2));
  }
  return row;
}

TEST(DistanceTables, the_row_scans_equal_the_widened_scan_with_ties_and_marks) {
  std::mt19937 generator(9);
  for (const std::size_t count : {1u, 2u, 15u, 16u, 17u, 31u, 64u, 1500u}) {
    for (int trial = 0; trial < 20; ++trial) {
      const std::vector<uint16_t> row = random_row(generator, count, trial);
      host::nearest_two expected{0xFFFFFFFF, 0xFFFFFFFF, count};
      for (std::size_t k = 0; k < count; ++k) {
        if (row[k] == host::no_table_distance) continue;
        if (row[k] < expected.best) {
          expected.second = expected.best;
          expected.best = row[k];
          expected.position = k;
        } else {
          expected.second = std::min<uint32_t>(expected.second, row[k]);
        }
      }
      for (const host::nearest_two found : {host::two_smallest(row.data(), count), host::two_smallest_portable(row.data(), count)}) {
        ASSERT_EQ(expected.best, found.best) << count;
        ASSERT_EQ(expected.second, found.second) << count;
        ASSERT_EQ(expected.position, found.position) << count;
      }
      ASSERT_EQ(expected.best, host::smallest(row.data(), count)) << count;
      ASSERT_EQ(expected.best, host::smallest_portable(row.data(), count)) << count;
    }
  }
  const uint16_t tie[4] = {9, 5, 7, 5};
  const host::nearest_two found = host::two_smallest(tie, 4);
  EXPECT_EQ(5u, found.best);
  EXPECT_EQ(5u, found.second);
  EXPECT_EQ(1u, found.position);
  const std::vector<uint16_t> marked(40, host::no_table_distance);
  EXPECT_EQ(40u, host::two_smallest(marked.data(), 40).position);
  EXPECT_EQ(0xFFFFFFFFu, host::smallest(marked.data(), 40));
  EXPECT_EQ(0xFFFFFFFFu, host::smallest(marked.data(), 0));
}

}  // namespace
