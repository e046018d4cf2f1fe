#include "rotation/rotation_ransac.h"

#include <array>
#include <cmath>

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

}  // namespace

rotation_search rotation_ransac(const std::vector<point_match>& matches, double scale_1, double scale_2,
                                const image_point& centre_1, const image_point& centre_2, double threshold) {
  rotation_search search;
  const std::size_t n = matches.size();
  if (n < 3) return search;
  subset_sampler<3> sampler(n, iteration_bound);
  const double bound = 2.0 * threshold * threshold;
  const double target = std::log(1.0 - confidence);

  std::vector<uint8_t> working(n);
  bool have_best = false;
  double log_miss = 0.0;
  for (uint64_t iteration = 1; iteration <= sampler.samples(); ++iteration) {
    const std::array<std::size_t, 3>& subset = sampler.next();
    std::array<image_point, 3> sample_1, sample_2;
    for (std::size_t k = 0; k < 3; ++k) {
      sample_1[k] = matches[subset[k]].first;
      sample_2[k] = matches[subset[k]].second;
    }
    const rotation_candidates candidates =
        solve_three_point_rotation(sample_1, sample_2, scale_1, scale_2, centre_1, centre_2);
    for (std::size_t c = 0; c < candidates.count; ++c) {
      const transfer view{candidates.solutions[c], centre_1, centre_2};
      double cost = 0.0;
      std::size_t count = 0;
      for (std::size_t i = 0; i < n; ++i) {
        const double error = view.error(matches[i]);
        // Written so that an error that is not a number is an outlier.
        working[i] = error <= bound;
        if (working[i]) {
          cost += error;
          ++count;
        } else {
          cost += bound;
        }
      }
      if (count < 3) continue;
      if (have_best && !(search.best_cost >= cost)) continue;
      have_best = true;
      search.best = candidates.solutions[c];
      search.best_cost = cost;
      search.inlier_count = count;
      search.inliers = working;
      const double w = static_cast<double>(count) / static_cast<double>(n);
      log_miss = std::log(1.0 - w * w * w);
    }
    if (target > static_cast<double>(iteration) * log_miss) break;
  }
  search.failed = !have_best || search.inlier_count < 3;
  return search;
}
