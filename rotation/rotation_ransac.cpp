#include "rotation/rotation_ransac.h"

#include <array>
#include <cmath>
#include <span>

#include "geometry/robust_search.h"
#include "geometry/subset_sampler.h"

namespace {

constexpr std::size_t iteration_bound = 1000;
constexpr double confidence = 0.99;

// A candidate's view of the pair: points of image 1 to image 2 and back.
struct transfer {
  const rotation_estimate& candidate;
  const image_point& centre_1;
  const image_point& centre_2;

  // The squared forward plus backward transfer error of a match.
  double error(const point_match& match) const {
    const double* r = candidate.rotation.data();
    const double f1 = candidate.focal_1, f2 = candidate.focal_2;
    const double a[3] = {(match.first[0] - centre_1[0]) / f1, (match.first[1] - centre_1[1]) / f1, 1.0};
    double d[3];
    for (int k = 0; k < 3; ++k) d[k] = r[3 * k] * a[0] + r[3 * k + 1] * a[1] + r[3 * k + 2] * a[2];
    const double b[3] = {(match.second[0] - centre_2[0]) / f2, (match.second[1] - centre_2[1]) / f2, 1.0};
    double e[3];
    for (int k = 0; k < 3; ++k) e[k] = r[k] * b[0] + r[3 + k] * b[1] + r[6 + k] * b[2];
    const double qx = f2 * d[0] / d[2] + centre_2[0] - match.second[0];
    const double qy = f2 * d[1] / d[2] + centre_2[1] - match.second[1];
    const double px = f1 * e[0] / e[2] + centre_1[0] - match.first[0];
    const double py = f1 * e[1] / e[2] + centre_1[1] - match.first[1];
    return qx * qx + qy * qy + (px * px + py * py);
  }
};

// The rotation of a pair as a kernel of the robust search: three matches
// to a sample, a truncated symmetric transfer error as the cost. A
// candidate needs three inliers, and replaces the best when it costs no
// more, so that a tie goes to the later one.
class rotation_kernel {
 public:
  using model = rotation_estimate;
  using inlier_set = std::vector<uint8_t>;
  // Unlike the pair motions' search, every iteration here ends with the
  // test, one whose roots were all complex included: this search counts
  // the samples drawn, solved or not, and the rotation pairs' results rest
  // on that count.
  static constexpr bool confidence_test_after_failed_sample = true;

  rotation_kernel(const std::vector<point_match>& matches, double scale_1, double scale_2,
                  const image_point& centre_1, const image_point& centre_2, double threshold)
      : matches_(matches), scale_1_(scale_1), scale_2_(scale_2), centre_1_(centre_1), centre_2_(centre_2),
        bound_(2.0 * threshold * threshold) {}

  std::size_t sample_size() const { return 3; }
  std::size_t data_size() const { return matches_.size(); }
  inlier_set inlier_storage() const { return inlier_set(matches_.size()); }

  candidate_list<rotation_estimate, 10> fit(std::span<const std::size_t> sample) const {
    std::array<image_point, 3> sample_1, sample_2;
    for (std::size_t k = 0; k < 3; ++k) {
      sample_1[k] = matches_[sample[k]].first;
      sample_2[k] = matches_[sample[k]].second;
    }
    const rotation_candidates solved =
        solve_three_point_rotation(sample_1, sample_2, scale_1_, scale_2_, centre_1_, centre_2_);
    candidate_list<rotation_estimate, 10> candidates;
    for (std::size_t c = 0; c < solved.count; ++c) candidates.add(solved.solutions[c]);
    return candidates;
  }

  search_score score(const rotation_estimate& candidate, inlier_set& inliers) const {
    const transfer view{candidate, centre_1_, centre_2_};
    search_score result;
    for (std::size_t i = 0; i < matches_.size(); ++i) {
      const double error = view.error(matches_[i]);
      // Written so that an error that is not a number is an outlier.
      inliers[i] = error <= bound_;
      if (inliers[i]) {
        result.cost += error;
        ++result.inliers;
      } else {
        result.cost += bound_;
      }
    }
    return result;
  }

  bool improves(const search_score& candidate, const search_score* best) const {
    return candidate.inliers >= 3 && (!best || best->cost >= candidate.cost);
  }

 private:
  const std::vector<point_match>& matches_;
  double scale_1_, scale_2_;
  const image_point& centre_1_;
  const image_point& centre_2_;
  double bound_;
};

}  // namespace

rotation_search rotation_ransac(const std::vector<point_match>& matches, double scale_1, double scale_2,
                                const image_point& centre_1, const image_point& centre_2, double threshold) {
  rotation_search search;
  if (matches.size() < 3) return search;
  const rotation_kernel kernel(matches, scale_1, scale_2, centre_1, centre_2, threshold);
  subset_sampler<selected_subset> sampler(matches.size(), 3, iteration_bound);
  auto found = robust_search(kernel, sampler, confidence);
  if (!found.best) return search;
  search.best = *found.best;
  search.best_cost = found.score.cost;
  search.inlier_count = found.score.inliers;
  search.inliers = std::move(found.inliers);
  search.failed = search.inlier_count < 3;
  return search;
}
