// The robust planar motion search: the symmetric transfer residuals, the
// switch between the exhaustive and the random mode, the stops, the strict
// inlier test, the refusal of a random search that runs out, the refit
// that is kept only when it lowers the cost, and a realistic pair. And the
// sample search under it: when a sample without a candidate may end it.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <numeric>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

#include "geometry/random_shuffle_indices.h"
#include "geometry/robust_estimate.h"
#include "geometry/robust_search.h"
#include "geometry/transfer_residuals.h"
#include "tests/support/correspondence_set.h"

namespace {

using test_support::correspondence_set;
using test_support::mapped;
using test_support::motion_of;
using test_support::point;
using test_support::scattered_points;

const h_matrix_2d true_projective =
    motion_of(homography_projective, {1.1, 0.2, 30.0, -0.1, 0.95, -12.0, 1e-4, -2e-4, 1.0});

// What rand() gives after `calls` calls from `seed`.
int rand_after(unsigned seed, std::size_t calls) {
  std::srand(seed);
  for (std::size_t i = 0; i < calls; ++i) std::rand();
  return std::rand();
}

// The sample at which the shuffles from `seed` first put `index` in front;
// 0 if none of the first `limit` does.
uint64_t first_sample_led_by(std::size_t index, std::size_t n, unsigned seed, uint64_t limit) {
  std::vector<std::size_t> indices(n);
  std::iota(indices.begin(), indices.end(), std::size_t{0});
  std::srand(seed);
  for (uint64_t t = 1; t <= limit; ++t) {
    random_shuffle_indices(indices);
    if (indices[0] == index) return t;
  }
  return 0;
}

robust_options options_with(double threshold) {
  robust_options options;
  options.threshold = threshold;
  return options;
}

// Correspondence i moved by shifts[i], on integer points so that every
// shift is exact.
correspondence_set shifted(const std::vector<point>& shifts) {
  correspondence_set set;
  for (std::size_t i = 0; i < shifts.size(); ++i) {
    const point b = {10.0 * static_cast<double>(i), 7.0 * static_cast<double>(i)};
    set.add({b[0] + shifts[i][0], b[1] + shifts[i][1]}, b);
  }
  return set;
}

bool estimate(const robust_options& options, const correspondence_set& set, bit_mask& mask, h_matrix_2d& motion) {
  return robust_estimate(options, set.first(), set.second(), mask, motion);
}

std::vector<bool> bits(const bit_mask& mask) {
  std::vector<bool> out;
  for (std::size_t i = 0; i < mask.size(); ++i) out.push_back(mask[i]);
  return out;
}

TEST(TransferResiduals, add_the_forward_and_the_backward_squared_errors) {
  correspondence_set set;
  set.add({1, 0}, {1, 0});  // forward (2, 0), backward (0.5, 0)
  set.add({2, 0}, {1, 0});
  set.add({0, 3}, {0, 1});  // forward (0, 2), backward (0, 1.5)
  std::vector<double> residuals;
  transfer_residuals(options_with(7.0), set.first(), set.second(), motion_of(homography_scale, {2.0}), residuals);
  EXPECT_EQ((std::vector<double>{1.25, 0.0, 1.25}), residuals);
}

TEST(TransferResiduals, give_the_threshold_everywhere_for_a_motion_without_inverse) {
  const auto set = mapped(true_projective, scattered_points(3, 640, 480, 1));
  std::vector<double> residuals;
  for (const h_matrix_2d& singular :
       {motion_of(homography_scale, {0.0}), motion_of(homography_affine, {1, 2, 1, 2, 2, 4})}) {
    transfer_residuals(options_with(7.0), set.first(), set.second(), singular, residuals);
    EXPECT_EQ((std::vector<double>{7.0, 7.0, 7.0}), residuals);
  }
}

TEST(RobustEstimate, tries_every_subset_up_to_max_iterations_and_draws_random_samples_above) {
  // 13 choose 4 = 715: exhaustive, without a single rand() call; with a
  // limit of 714 the same data goes to the random mode, which shuffles all
  // 13 indices (12 calls) and stops at the first, perfect, sample; so does
  // it for 25 choose 4 = 12650 above the default limit of 1500.
  const struct {
    std::size_t n;
    unsigned points_seed;
    uint64_t max_iterations;
    std::size_t rand_calls;
  } cases[] = {{13, 2, 1500, 0}, {13, 2, 714, 12}, {25, 3, 1500, 24}};
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << c.n << " correspondences, at most " << c.max_iterations << " samples");
    const auto set = mapped(true_projective, scattered_points(c.n, 640, 480, c.points_seed));
    robust_options options = options_with(2.0);
    options.max_iterations = c.max_iterations;
    bit_mask mask;
    h_matrix_2d h(homography_projective);
    std::srand(21);
    EXPECT_TRUE(estimate(options, set, mask, h));
    const int next = std::rand();
    EXPECT_EQ(rand_after(21, c.rand_calls), next);
    EXPECT_EQ(c.n, mask.count());
    EXPECT_EQ(homography_projective, h.type);
  }
}

TEST(RobustEstimate, with_as_many_correspondences_as_the_sample_tries_the_one_subset) {
  const auto four = mapped(true_projective, {{0, 0}, {640, 0}, {640, 480}, {0, 480}});
  bit_mask mask;
  h_matrix_2d h(homography_projective);
  ASSERT_TRUE(estimate(options_with(2.0), four, mask, h));
  EXPECT_EQ(4u, mask.count());
  std::vector<double> residuals;
  transfer_residuals(options_with(2.0), four.first(), four.second(), h, residuals);
  for (const double r : residuals) EXPECT_LT(r, 1e-12);

  // Collinear: the sample fails, no model exists, and no inlier is marked.
  const auto collinear = mapped(true_projective, {{0, 0}, {100, 50}, {300, 150}, {500, 250}});
  EXPECT_FALSE(estimate(options_with(2.0), collinear, mask, h));
}

TEST(RobustEstimate, refuses_fewer_correspondences_than_a_sample_and_kinds_it_cannot_solve) {
  const auto three = mapped(true_projective, scattered_points(3, 640, 480, 4));
  bit_mask mask;
  h_matrix_2d h(homography_projective);
  EXPECT_FALSE(estimate(options_with(2.0), three, mask, h));

  h_matrix_2d scale(homography_scale);
  EXPECT_FALSE(estimate(options_with(2.0), three, mask, scale));

  h_matrix_2d unknown(HomographyType{9});
  try {
    estimate(options_with(2.0), three, mask, unknown);
    FAIL() << "no exception";
  } catch (const std::invalid_argument& error) {
    EXPECT_EQ(std::string("h_matrix_2d_base::number_of_minimum_points(): Un-recognized homography type"),
              error.what());
  }
}

TEST(RobustEstimate, stops_at_the_first_sample_that_fits_every_correspondence) {
  // Only the middle shift reaches all the others within the threshold
  // (2 * 4^2 = 32 < 100, while 2 * 8^2 = 128 is not), and it scores best.
  // A confidence of 1 never stops the search, so only that sample can end
  // it; the shuffles before it are predicted with the same generator.
  const auto set = shifted({{-4, 0}, {-4, 0}, {-4, 0}, {-4, 0}, {0, 0}, {4, 0}, {4, 0}, {4, 0}, {4, 0}});
  const std::size_t n = set.size(), middle = 4;
  robust_options options = options_with(100.0);
  options.confidence = 1.0;
  options.max_iterations = 8;  // below the 9 subsets: random mode
  unsigned seed = 1;
  while (seed < 100 && first_sample_led_by(middle, n, seed, options.max_iterations) < 2) ++seed;
  const uint64_t samples = first_sample_led_by(middle, n, seed, options.max_iterations);
  ASSERT_GE(samples, 2u);

  bit_mask mask;
  h_matrix_2d translation(homography_translation);
  std::srand(seed);
  ASSERT_TRUE(estimate(options, set, mask, translation));
  const int next = std::rand();
  EXPECT_EQ(rand_after(seed, samples * (n - 1)), next);
  EXPECT_EQ(n, mask.count());
  EXPECT_EQ(0.0, translation.parameters[0]);
  EXPECT_EQ(0.0, translation.parameters[1]);
}

TEST(RobustEstimate, a_degenerate_sample_never_ends_the_search) {
  // Five correspondences of the unit motion, but point 1 of the first
  // image lies one pixel off the line that points 0, 1 and 3 share in the
  // second image. The subsets in order: {0,1,2,3} gives a singular motion that
  // fits nothing; {0,1,2,4} fits all but point 3 (4 of 5); {0,1,3,4} is
  // collinear and has no solution; {0,2,3,4} is the unit motion, under
  // which point 1 is an inlier (2 < 18): everything fits. At the confidence
  // below, four fifths of inliers meet the count at the third sample, the
  // collinear one, which must not stop the search.
  correspondence_set set;
  set.add({0, 0}, {0, 0});
  set.add({10, 1}, {10, 0});
  set.add({0, 50}, {0, 50});
  set.add({100, 0}, {100, 0});
  set.add({60, 70}, {60, 70});
  robust_options options = options_with(18.0);
  options.confidence = 1.0 - std::exp(-1.3);  // 2 log(1 - 0.8^4) > log(1 - c) > 3 log(1 - 0.8^4)
  bit_mask mask;
  h_matrix_2d h(homography_projective);
  ASSERT_TRUE(estimate(options, set, mask, h));
  EXPECT_EQ(5u, mask.count());
}

TEST(RobustEstimate, counts_a_residual_equal_to_the_threshold_as_an_outlier) {
  // Against the shift (0, 0) the third correspondence has the residual
  // 1 + 1 = 2.
  const auto set = shifted({{0, 0}, {0, 0}, {1, 0}});
  bit_mask mask;
  h_matrix_2d translation(homography_translation);
  ASSERT_TRUE(estimate(options_with(2.0), set, mask, translation));
  EXPECT_EQ((std::vector<bool>{true, true, false}), bits(mask));
  EXPECT_EQ(0.0, translation.parameters[0]);

  ASSERT_TRUE(estimate(options_with(std::nextafter(2.0, 3.0)), set, mask, translation));
  EXPECT_EQ((std::vector<bool>{true, true, true}), bits(mask));
}

TEST(RobustEstimate, exhaustive_search_accepts_what_a_random_search_that_runs_out_refuses) {
  // Three of ten agree: an inlier share of 0.3 needs 13 samples for the
  // confidence, more than the 10 subsets and more than the 9 random draws.
  const auto set = shifted({{0, 0}, {50, 0}, {0, 0}, {0, 90}, {-70, 0}, {0, 0}, {0, -40}, {30, 30}, {-60, 20},
                            {80, -80}});
  bit_mask mask;
  h_matrix_2d translation(homography_translation);
  ASSERT_TRUE(estimate(options_with(2.0), set, mask, translation));
  EXPECT_EQ((std::vector<bool>{true, false, true, false, false, true, false, false, false, false}), bits(mask));
  EXPECT_EQ(0.0, translation.parameters[0]);
  EXPECT_EQ(0.0, translation.parameters[1]);

  robust_options random = options_with(2.0);
  random.max_iterations = 9;
  std::srand(23);
  EXPECT_FALSE(estimate(random, set, mask, translation));
}

TEST(RobustEstimate, random_search_of_1500_samples_refuses_an_inlier_share_of_one_fifth) {
  // At w = 0.2 the confidence of 0.99 needs about 2900 samples of four.
  correspondence_set set = mapped(true_projective, scattered_points(100, 640, 480, 5), 0.2, 6);
  const auto wrong = scattered_points(100, 640, 480, 15);
  for (std::size_t i = 20; i < 100; ++i) set.a[i] = wrong[i];
  bit_mask mask;
  h_matrix_2d h(homography_projective);
  std::srand(24);
  EXPECT_FALSE(estimate(options_with(18.0), set, mask, h));
}

TEST(RobustEstimate, keeps_the_refit_only_when_it_lowers_the_cost) {
  // The first subset fits all three; the mean shift (0.2, 0) scores lower
  // under the scaled cost and replaces it; without inlier cost both score
  // 0 and the sampled shift stays.
  const auto set = shifted({{0, 0}, {0.25, 0}, {0.5, 0}});
  bit_mask mask;
  h_matrix_2d translation(homography_translation);
  ASSERT_TRUE(estimate(options_with(10.0), set, mask, translation));
  EXPECT_EQ(0.25, translation.parameters[0]);

  robust_options unscaled = options_with(10.0);
  unscaled.scaled_inlier_cost = false;
  ASSERT_TRUE(estimate(unscaled, set, mask, translation));
  EXPECT_EQ(0.0, translation.parameters[0]);
  EXPECT_EQ(3u, mask.count());
}

TEST(RobustEstimate, finds_the_inliers_of_a_pair_with_30_percent_outliers) {
  const std::size_t n = 100;
  correspondence_set set = mapped(true_projective, scattered_points(n, 640, 480, 7), 0.3, 8);
  const auto wrong = scattered_points(n, 640, 480, 9);
  std::vector<bool> inlier(n, true);
  for (std::size_t i = 0; i < n; i += 10) {
    for (std::size_t j = i; j < i + 3; ++j) {
      const point truth = test_support::apply(true_projective, set.b[j]);
      // A wrong match well away from the right one.
      set.a[j] = std::hypot(wrong[j][0] - truth[0], wrong[j][1] - truth[1]) > 40.0
                     ? wrong[j]
                     : point{truth[0] + 60.0, truth[1] - 45.0};
      inlier[j] = false;
    }
  }
  bit_mask mask;
  h_matrix_2d h(homography_projective);
  std::srand(2024);
  ASSERT_TRUE(estimate(options_with(18.0), set, mask, h));  // 3 pixels: 2 * 3^2
  EXPECT_EQ(inlier, bits(mask));
  EXPECT_LT(test_support::largest_gap(true_projective, h, scattered_points(20, 640, 480, 10)), 0.5);
}

// A search over ten data whose sample t (counted from 1) is the index
// t - 1 of a script: the inliers of its one candidate, or 0 for a sample
// that gives none. A candidate of more inliers costs less.
template <bool TestAfterFailedSample>
class scripted_kernel {
 public:
  using model = std::size_t;
  using inlier_set = std::vector<bool>;
  static constexpr bool confidence_test_after_failed_sample = TestAfterFailedSample;

  explicit scripted_kernel(const std::vector<std::size_t>& script) : script_(script) {}

  std::size_t sample_size() const { return 1; }
  std::size_t data_size() const { return 10; }
  inlier_set inlier_storage() const { return inlier_set(10); }

  candidate_list<std::size_t, 1> fit(std::span<const std::size_t> sample) const {
    candidate_list<std::size_t, 1> candidates;
    if (script_[sample[0]] > 0) candidates.add(script_[sample[0]]);
    return candidates;
  }

  search_score score(const std::size_t& inliers, inlier_set& marks) const {
    for (std::size_t i = 0; i < marks.size(); ++i) marks[i] = i < inliers;
    return {static_cast<double>(10 - inliers), inliers};
  }

  bool improves(const search_score& candidate, const search_score* best) const {
    return !best || candidate.cost < best->cost;
  }

 private:
  const std::vector<std::size_t>& script_;
};

// Sample t is the index t - 1, of the script's length.
class counting_sampler {
 public:
  explicit counting_sampler(uint64_t limit) : limit_(limit) {}
  uint64_t samples() const { return limit_; }
  bool random() const { return true; }
  std::span<const std::size_t> next() {
    index_ = drawn++;
    return {&index_, 1};
  }
  std::size_t drawn = 0;

 private:
  uint64_t limit_;
  std::size_t index_ = 0;
};

struct stop_case {
  const char* rule;
  bool test_after_failed_sample;
  std::vector<std::size_t> script;
  std::size_t drawn;
  bool confident;
};

template <bool TestAfterFailedSample>
void expect_stop(const stop_case& c) {
  const scripted_kernel<TestAfterFailedSample> kernel(c.script);
  counting_sampler sampler(c.script.size());
  const auto found = robust_search(kernel, sampler, 0.99);
  EXPECT_EQ(c.drawn, sampler.drawn) << c.rule;
  EXPECT_EQ(c.confident, found.confident) << c.rule;
  EXPECT_EQ(5u, found.score.inliers) << c.rule;
}

TEST(RobustSearch, a_sample_without_a_candidate_ends_the_search_only_where_the_kernel_says_so) {
  // Half the data as inliers of a sample of one: log(0.01) / log(0.5) =
  // 6.64, so the count is met from the seventh sample on.
  const stop_case cases[] = {
      {"failed samples run no test: the search runs out", false, {5, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}, 12, false},
      {"failed samples run no test: the next solved one stops it", false, {5, 0, 0, 0, 0, 0, 0, 0, 3, 0, 0, 0}, 9,
       true},
      {"a solved sample that is no better runs the test", false, {5, 3, 3, 3, 3, 3, 3, 3, 3, 3, 3, 3}, 7, true},
      {"every sample runs the test: a failed one stops it", true, {5, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}, 7, true},
  };
  for (const stop_case& c : cases) {
    if (c.test_after_failed_sample) {
      expect_stop<true>(c);
    } else {
      expect_stop<false>(c);
    }
  }
}

}  // namespace
