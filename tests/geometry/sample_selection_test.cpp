// The samples of the robust search: subset counts and the lexicographic
// walk of the exhaustive mode, and the rand()-driven shuffle of the random
// mode with its call count.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <numeric>
#include <span>
#include <vector>

#include "geometry/random_shuffle_indices.h"
#include "geometry/subset_enumeration.h"
#include "geometry/subset_sampler.h"

namespace {

// What rand() gives after `calls` calls from `seed`.
int rand_after(unsigned seed, std::size_t calls) {
  std::srand(seed);
  for (std::size_t i = 0; i < calls; ++i) std::rand();
  return std::rand();
}

std::vector<std::size_t> identity_indices(std::size_t n) {
  std::vector<std::size_t> indices(n);
  std::iota(indices.begin(), indices.end(), std::size_t{0});
  return indices;
}

TEST(SubsetCount, counts_k_subsets_of_n) {
  EXPECT_EQ(1u, subset_count(4, 4));
  EXPECT_EQ(5u, subset_count(5, 4));
  EXPECT_EQ(715u, subset_count(13, 4));
  EXPECT_EQ(12650u, subset_count(25, 4));
  EXPECT_EQ(10u, subset_count(10, 1));
  EXPECT_EQ(3u, subset_count(3, 2));
  EXPECT_EQ(487635u, subset_count(60, 4));
  EXPECT_EQ(166167000u, subset_count(1000, 3));
  EXPECT_EQ(45u, subset_count(10, 8));
}

TEST(RandomShuffleIndices, swaps_each_position_with_15_random_bits_modulo_its_count) {
  // Below 32768 one call serves a position; from there a second call is
  // shifted in below the first.
  const std::size_t n = 33000;
  std::srand(5);
  std::vector<std::size_t> expected = identity_indices(n);
  for (std::size_t p = 1; p < n; ++p) {
    const std::size_t m = p + 1;
    uint32_t r = static_cast<uint32_t>(std::rand()) & 0x7FFF;
    if (m >= 32768) r = (r << 15) | (static_cast<uint32_t>(std::rand()) & 0x7FFF);
    std::swap(expected[p], expected[r % m]);
  }
  std::srand(5);
  std::vector<std::size_t> shuffled = identity_indices(n);
  random_shuffle_indices(shuffled);
  EXPECT_EQ(expected, shuffled);
}

TEST(RandomShuffleIndices, calls_rand_once_per_position_and_twice_from_32768_on) {
  for (const std::size_t n : {std::size_t{0}, std::size_t{1}, std::size_t{25}, std::size_t{40000}}) {
    std::vector<std::size_t> indices = identity_indices(n);
    std::srand(9);
    random_shuffle_indices(indices);
    const int next = std::rand();
    const std::size_t calls = (n > 1 ? n - 1 : 0) + (n > 32767 ? n - 32767 : 0);
    EXPECT_EQ(rand_after(9, calls), next) << n;
    std::sort(indices.begin(), indices.end());
    EXPECT_EQ(identity_indices(n), indices) << n;
  }
}

TEST(SubsetSampler, draws_by_selection_from_the_lowest_15_bits_of_each_rand_call) {
  // C(40, 3) = 9880 subsets: more than the limit, so they are drawn.
  std::srand(7);
  std::vector<std::array<std::size_t, 3>> expected;
  for (int sample = 0; sample < 50; ++sample) {
    std::array<std::size_t, 3> subset{};
    std::size_t needed = 3;
    for (std::size_t i = 0; i < 40 && needed > 0; ++i) {
      if ((static_cast<uint32_t>(std::rand()) & 0x7FFF) % (40 - i) < needed) subset[3 - needed--] = i;
    }
    expected.push_back(subset);
  }
  std::srand(7);
  subset_sampler<selected_subset> sampler(40, 3, 1000);
  ASSERT_EQ(1000u, sampler.samples());
  ASSERT_TRUE(sampler.random());
  for (const auto& subset : expected) {
    const std::span<const std::size_t> drawn = sampler.next();
    EXPECT_TRUE(std::equal(subset.begin(), subset.end(), drawn.begin(), drawn.end()));
  }
}

TEST(SubsetSampler, walks_every_subset_once_in_lexicographic_order_when_they_are_few) {
  // C(5, 3) = 10 and C(5, 1) = 5 subsets, within the limit: no draw at all.
  const struct {
    std::size_t k;
    std::vector<std::vector<std::size_t>> subsets;
  } cases[] = {
      {3, {{0, 1, 2}, {0, 1, 3}, {0, 1, 4}, {0, 2, 3}, {0, 2, 4}, {0, 3, 4}, {1, 2, 3}, {1, 2, 4}, {1, 3, 4}, {2, 3, 4}}},
      {1, {{0}, {1}, {2}, {3}, {4}}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.k);
    subset_sampler<shuffled_prefix> sampler(5, c.k, 10);
    EXPECT_FALSE(sampler.random());
    EXPECT_EQ(c.subsets.size(), sampler.samples());
    for (const auto& expected : c.subsets) {
      const std::span<const std::size_t> subset = sampler.next();
      EXPECT_TRUE(std::equal(expected.begin(), expected.end(), subset.begin(), subset.end()));
    }
  }
}

TEST(SubsetSampler, shuffles_all_indices_and_samples_their_prefix_when_they_are_many) {
  std::srand(3);
  std::vector<std::size_t> permutation = identity_indices(30);
  std::vector<std::vector<std::size_t>> expected;
  for (int sample = 0; sample < 20; ++sample) {
    random_shuffle_indices(permutation);
    expected.emplace_back(permutation.begin(), permutation.begin() + 4);
  }
  std::srand(3);
  subset_sampler<shuffled_prefix> sampler(30, 4, 1500);  // C(30, 4) = 27405
  ASSERT_TRUE(sampler.random());
  EXPECT_EQ(1500u, sampler.samples());
  for (const auto& prefix : expected) {
    const std::span<const std::size_t> drawn = sampler.next();
    EXPECT_TRUE(std::equal(prefix.begin(), prefix.end(), drawn.begin(), drawn.end()));
  }
}

}  // namespace
