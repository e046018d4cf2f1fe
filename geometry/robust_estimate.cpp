#include "geometry/robust_estimate.h"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <numeric>
#include <vector>

#include "geometry/estimate_least_squares.h"
#include "geometry/estimate_minimal.h"
#include "geometry/random_shuffle_indices.h"
#include "geometry/subset_enumeration.h"
#include "geometry/transfer_residuals.h"

namespace {

// The largest minimal sample: the minimal solvers take at most four
// correspondences, and a kind that needs more has no search here.
constexpr std::size_t largest_sample = 4;

// Which samples the search draws: every subset in order, or shuffles of
// all the indices; `indices` holds the current subset or permutation.
struct sample_plan {
  bool random = false;
  uint64_t limit = 0;
  std::vector<std::size_t> indices;
};

sample_plan plan_samples(std::size_t n, std::size_t k, uint64_t max_iterations) {
  sample_plan plan;
  const uint64_t count = subset_count(n, k);
  plan.random = count > max_iterations;
  plan.limit = plan.random ? max_iterations : count;
  plan.indices.resize(plan.random ? n : k);
  std::iota(plan.indices.begin(), plan.indices.end(), std::size_t{0});
  return plan;
}

struct msac_score {
  double cost = 0.0;
  std::size_t inliers = 0;
};

// The MSAC cost of a motion's residuals, marking its inliers in `inliers`.
// A residual equal to the threshold is an outlier.
msac_score score(const robust_options& options, const std::vector<double>& residuals, bit_mask& inliers) {
  msac_score result;
  for (std::size_t i = 0; i < residuals.size(); ++i) {
    const bool inlier = residuals[i] < options.threshold;
    inliers.set(i, inlier);
    if (inlier) {
      ++result.inliers;
      if (options.scaled_inlier_cost) result.cost += residuals[i] / options.threshold;
    } else {
      result.cost += 1.0;
    }
  }
  return result;
}

// x^e by repeated squaring.
double power(double x, std::size_t e) {
  double result = 1.0;
  for (;; x *= x) {
    if (e & 1) result *= x;
    if ((e >>= 1) == 0) return result;
  }
}

// The least-squares fit on the inliers of the best sample, taken only if it
// scores strictly better.
void refit(const robust_options& options, const point_list& first, const point_list& second, double best_cost,
           bit_mask& mask, h_matrix_2d& motion) {
  h_matrix_2d fitted = motion;
  if (!estimate_least_squares(first, second, mask, fitted)) return;
  std::vector<double> residuals;
  transfer_residuals(options, first, second, fitted, residuals);
  bit_mask inliers(mask.size());
  if (best_cost > score(options, residuals, inliers).cost) {
    mask = inliers;
    motion = fitted;
  }
}

// Copies the current sample into the two sample lists, then moves an
// exhaustive walk on to the next subset.
void draw_sample(sample_plan& plan, const point_list& first, const point_list& second, std::size_t k,
                 point_list& sample_first, point_list& sample_second) {
  // Each shuffle starts from the previous permutation.
  if (plan.random) random_shuffle_indices(plan.indices);
  for (std::size_t j = 0; j < k; ++j) {
    sample_first[j] = first[plan.indices[j]];
    sample_second[j] = second[plan.indices[j]];
  }
  if (!plan.random) advance_subset(plan.indices, first.size());
}

struct search_outcome {
  double best_cost;
  bool stopped_early;  // by a perfect fit or by the confidence
};

// The sampling loop. The best model so far is in `mask` and `motion`; a
// later sample replaces it only with a strictly lower cost.
search_outcome search(const robust_options& options, const point_list& first, const point_list& second,
                      sample_plan& plan, std::size_t k, bit_mask& mask, h_matrix_2d& motion) {
  const std::size_t n = first.size();
  const double target = std::log(1.0 - options.confidence);
  double log_miss = 0.0;  // no model yet: the confidence test cannot pass
  point_list sample_first(k), sample_second(k);
  std::vector<double> residuals(n);
  bit_mask inliers(n);
  h_matrix_2d candidate(motion.type);
  double best_cost = std::numeric_limits<double>::max();
  for (uint64_t t = 1; t <= plan.limit; ++t) {
    draw_sample(plan, first, second, k, sample_first, sample_second);
    if (!estimate_minimal(sample_first, sample_second, candidate)) continue;
    transfer_residuals(options, first, second, candidate, residuals);
    const msac_score s = score(options, residuals, inliers);
    if (s.cost < best_cost) {
      best_cost = s.cost;
      mask = inliers;
      motion = candidate;
      if (s.inliers == n) return {best_cost, true};
      const double w = static_cast<double>(s.inliers) / static_cast<double>(n);
      log_miss = std::log(1.0 - power(w, k));
    }
    if (target > static_cast<double>(t) * log_miss) return {best_cost, true};
  }
  return {best_cost, false};
}

}  // namespace

bool robust_estimate(const robust_options& options, const point_list& first, const point_list& second,
                     bit_mask& mask, h_matrix_2d& motion) {
  const std::size_t k = static_cast<std::size_t>(motion.number_of_minimum_points());
  const std::size_t n = first.size();
  if (k > largest_sample || n < k) return false;
  mask = bit_mask(n);
  sample_plan plan = plan_samples(n, k, options.max_iterations);
  const search_outcome outcome = search(options, first, second, plan, k, mask, motion);
  // A random search that never reached the confidence is refused, however
  // good its best model: the pair stage accepts only what it can trust.
  if (plan.random && !outcome.stopped_early) return false;
  if (mask.count() < k) return false;
  refit(options, first, second, outcome.best_cost, mask, motion);
  return true;
}
