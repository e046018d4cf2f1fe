#include "geometry/robust_estimate.h"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>
#include <vector>

#include "geometry/estimate_least_squares.h"
#include "geometry/estimate_minimal.h"
#include "geometry/robust_search.h"
#include "geometry/subset_sampler.h"
#include "geometry/transfer_residuals.h"

namespace {

// The largest minimal sample: the minimal solvers take at most four
// correspondences, and a kind that needs more has no search here.
constexpr std::size_t largest_sample = 4;

// The MSAC rule over the symmetric transfer error: an inlier (strictly
// below the threshold) costs its error over the threshold, or nothing
// without scaled_inlier_cost; an outlier costs 1. A residual equal to the
// threshold is an outlier.
search_score msac_score(const robust_options& options, const std::vector<double>& residuals, bit_mask& inliers) {
  search_score result;
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

// The planar motion of a pair as a kernel of the robust search: samples of
// the kind's minimal size; a candidate replaces the best only with a
// strictly lower cost, so a tie keeps the earlier one.
class motion_kernel {
 public:
  using model = h_matrix_2d;
  using inlier_set = bit_mask;
  // A degenerate sample adds no evidence about the inlier share, so it
  // cannot be the one that makes the search confident: the next solved
  // sample takes the test.
  static constexpr bool confidence_test_after_failed_sample = false;

  motion_kernel(const robust_options& options, const point_list& first, const point_list& second, HomographyType kind)
      : options_(options), first_(first), second_(second), kind_(kind),
        k_(static_cast<std::size_t>(h_matrix_2d(kind).number_of_minimum_points())),
        sample_first_(k_), sample_second_(k_), residuals_(first.size()) {}

  std::size_t sample_size() const { return k_; }
  std::size_t data_size() const { return first_.size(); }
  bit_mask inlier_storage() const { return bit_mask(first_.size()); }

  candidate_list<h_matrix_2d, 1> fit(std::span<const std::size_t> sample) const {
    for (std::size_t j = 0; j < k_; ++j) {
      sample_first_[j] = first_[sample[j]];
      sample_second_[j] = second_[sample[j]];
    }
    candidate_list<h_matrix_2d, 1> candidates;
    h_matrix_2d candidate(kind_);
    if (estimate_minimal(sample_first_, sample_second_, candidate)) candidates.add(candidate);
    return candidates;
  }

  search_score score(const h_matrix_2d& candidate, bit_mask& inliers) const {
    transfer_residuals(options_, first_, second_, candidate, residuals_);
    return msac_score(options_, residuals_, inliers);
  }

  bool improves(const search_score& candidate, const search_score* best) const {
    return candidate.cost < (best ? best->cost : std::numeric_limits<double>::max());
  }

  // The least-squares fit on the inliers of the best sample, taken only if
  // it scores strictly better.
  void refit(const search_score& best, bit_mask& mask, h_matrix_2d& motion) const {
    h_matrix_2d fitted = motion;
    if (!estimate_least_squares(first_, second_, mask, fitted)) return;
    bit_mask inliers = inlier_storage();
    if (best.cost > score(fitted, inliers).cost) {
      mask = inliers;
      motion = fitted;
    }
  }

 private:
  const robust_options& options_;
  const point_list& first_;
  const point_list& second_;
  HomographyType kind_;
  std::size_t k_;
  mutable point_list sample_first_, sample_second_;
  mutable std::vector<double> residuals_;
};

}  // namespace

bool robust_estimate(const robust_options& options, const point_list& first, const point_list& second,
                     bit_mask& mask, h_matrix_2d& motion) {
  const std::size_t k = static_cast<std::size_t>(motion.number_of_minimum_points());
  const std::size_t n = first.size();
  if (k > largest_sample || n < k) return false;
  const motion_kernel kernel(options, first, second, motion.type);
  subset_sampler<shuffled_prefix> sampler(n, k, options.max_iterations);
  const auto found = robust_search(kernel, sampler, options.confidence);
  // A random search that never reached the confidence is refused, however
  // good its best model: the pair stage accepts only what it can trust.
  if (sampler.random() && !found.confident) return false;
  if (!found.best || found.inliers.count() < k) return false;
  mask = found.inliers;
  motion = *found.best;
  kernel.refit(found.score, mask, motion);
  return true;
}
