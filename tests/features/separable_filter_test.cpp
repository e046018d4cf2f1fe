// Both roads of the separable filter compute the same sums with edge
// replication, horizontal pass first.
#include <gtest/gtest.h>
#include <omp.h>

#include <random>
#include <vector>

#include "features/gaussian_kernel.h"
#include "features/separable_filter.h"

namespace {

// Scratch shared by every call, as an extraction run shares it.
filter_workspace workspace;

std::vector<float> random_plane(std::size_t width, std::size_t height, unsigned seed) {
  std::mt19937 generator(seed);
  std::uniform_real_distribution<float> value(0.0f, 1.0f);
  std::vector<float> plane(width * height);
  for (float& sample : plane) sample = value(generator);
  return plane;
}

// One tap takes neither road's loops but scales by the tap's square; no
// taps take the plain loops and sum nothing.
TEST(SeparableFilter, small_cases_by_hand_on_both_roads) {
  struct hand_case {
    const char* name;
    std::vector<float> taps;
    std::size_t width, height;
    std::vector<float> source, expected;
  };
  const hand_case cases[] = {
      // The rows become [1.25 2 2.75] and [5.25 6 6.75], then the columns mix them.
      {"[0.25 0.5 0.25] on the rows [1 2 3] and [5 6 7]", {0.25f, 0.5f, 0.25f}, 3, 2, {1, 2, 3, 5, 6, 7},
       {2.25f, 3.0f, 3.75f, 4.25f, 5.0f, 5.75f}},
      {"one tap", {0.5f}, 2, 1, {2.0f, 4.0f}, {0.5f, 1.0f}},
      {"no taps", {}, 3, 2, {2.0f, 4.0f, 6.0f, 8.0f, 10.0f, 12.0f}, std::vector<float>(6, 0.0f)},
  };
  for (const hand_case& c : cases) {
    const std::size_t row_bytes = c.width * sizeof(float), half = c.taps.size() / 2;
    std::vector<float> plain(c.source.size(), 7.0f), hosted(c.source.size(), 7.0f);
    separable_filter_plain(c.source.data(), c.width, c.height, row_bytes, c.taps.data(), c.taps.size(), half,
                           plain.data(), row_bytes);
    separable_filter(c.source.data(), c.width, c.height, row_bytes, c.taps.data(), c.taps.size(), half,
                     hosted.data(), row_bytes, workspace);
    EXPECT_EQ(c.expected, plain) << c.name;
    EXPECT_EQ(c.expected, hosted) << c.name;
  }
}

TEST(SeparableFilter, the_host_kernels_give_the_plain_loops_bits_for_every_tap_count) {
  const std::pair<std::size_t, std::size_t> sizes[] = {{37, 23}, {1, 1}, {1, 19}, {19, 1}, {64, 8}, {9, 70}};
  for (std::size_t taps = 2; taps <= 17; ++taps) {
    std::vector<float> kernel(taps);
    for (std::size_t t = 0; t < taps; ++t) kernel[t] = 1.0f / static_cast<float>(taps) + 0.01f * static_cast<float>(t % 3);
    for (const auto& [width, height] : sizes) {
      const std::vector<float> source = random_plane(width + 3, height, static_cast<unsigned>(taps * 100 + width));
      const std::size_t source_row_bytes = (width + 3) * sizeof(float);
      std::vector<float> plain(width * height), hosted(width * height);
      separable_filter_plain(source.data(), width, height, source_row_bytes, kernel.data(), taps, taps / 2,
                             plain.data(), width * sizeof(float));
      separable_filter(source.data(), width, height, source_row_bytes, kernel.data(), taps, taps / 2,
                       hosted.data(), width * sizeof(float), workspace);
      ASSERT_EQ(plain, hosted) << taps << " taps, " << width << " x " << height;
    }
  }
}

// A plane of this size is shared among the host's threads in both passes
// and in the transpositions; the pieces must not show in the result.
TEST(SeparableFilter, planes_shared_among_threads_give_the_plain_loops_bits_for_any_thread_count) {
  const std::size_t width = 613, height = 347;
  const std::vector<float> source = random_plane(width, height, 5);
  for (const float sigma : {0.6131368f, 0.9732941f, 1.5450082f}) {
    const gaussian_kernel kernel(sigma);
    std::vector<float> plain(width * height);
    separable_filter_plain(source.data(), width, height, width * sizeof(float), kernel.taps.get(), kernel.length,
                           kernel.half(), plain.data(), width * sizeof(float));
    const int threads = omp_get_max_threads();
    for (const int thread_count : {1, 2, 3}) {
      omp_set_num_threads(thread_count);
      std::vector<float> hosted(width * height);
      separable_filter(source.data(), width, height, width * sizeof(float), kernel.taps.get(), kernel.length,
                       kernel.half(), hosted.data(), width * sizeof(float), workspace);
      EXPECT_EQ(plain, hosted) << kernel.length << " taps, " << thread_count << " threads";
    }
    omp_set_num_threads(threads);
  }
}

}  // namespace
