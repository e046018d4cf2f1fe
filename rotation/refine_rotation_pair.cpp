#include "rotation/refine_rotation_pair.h"

#include <array>
#include <optional>

#include "numerics/matrix_3x3.h"
#include "numerics/rodrigues.h"
#include "rotation/camera_refusal.h"
#include "rotation/rotation_camera.h"
#include "rotation/spherical_position.h"
#include "solvers/bundle_adjuster.h"

namespace {

// One focal length per camera; the principal point stays.
constexpr int32_t focal_only = 7;

template <class Camera>
bool refine_with(const std::vector<point_match>& matches, const std::vector<uint8_t>& inliers,
                 const image_point& centre_1, const image_point& centre_2, double robust_threshold,
                 rotation_estimate& estimate, lens_record& lens_1, lens_record& lens_2) {
  const lens_record start_1{estimate.focal_1, estimate.focal_1, centre_1[0], centre_1[1], 0.0, 0.0};
  const lens_record start_2{estimate.focal_2, estimate.focal_2, centre_2[0], centre_2[1], 0.0, 0.0};
  std::array<double, 3> turn{};
  rodrigues_inv(estimate.rotation.data(), turn.data());
  std::vector<Camera> cameras = {Camera(std::array<double, 3>{}, start_1, focal_only, false),
                                 Camera(turn, start_2, focal_only, true)};
  for (Camera& camera : cameras) camera.robust_threshold = robust_threshold;

  // A point per inlying match, started between its two directions.
  std::vector<scene_point> points;
  std::vector<std::vector<scene_observation>> observations(2);
  for (std::size_t m = 0; m < matches.size(); ++m) {
    if (!inliers[m]) continue;
    const scene_point a = spherical_position(start_1, cameras[0].rotation, matches[m].first);
    const scene_point b = spherical_position(start_2, cameras[1].rotation, matches[m].second);
    observations[0].push_back({points.size(), matches[m].first[0], matches[m].first[1]});
    observations[1].push_back({points.size(), matches[m].second[0], matches[m].second[1]});
    points.push_back({(a[0] + b[0]) / 2.0, (a[1] + b[1]) / 2.0});
  }
  const sparse_bundle_adjuster2<Camera> adjusted(shared_lens::mean_of(start_1, start_2, focal_only), cameras, points,
                                                 {}, observations,
                                                 std::vector<std::vector<scene_observation>>(2));
  if (adjusted.failed) return false;
  const Camera& first = adjusted.cameras[0];
  const Camera& second = adjusted.cameras[1];
  if (!(first.fx > 0.0 && first.fy > 0.0 && second.fx > 0.0 && second.fy > 0.0)) return false;

  double r1[9], r2[9], r1t[9];
  rodrigues(first.rodrigues, r1);
  rodrigues(second.rodrigues, r2);
  transpose_3x3(r1, r1t);
  multiply_3x3(r2, r1t, estimate.rotation.data());
  estimate.focal_1 = first.fx;
  estimate.focal_2 = second.fx;
  lens_1 = first.lens();
  lens_2 = second.lens();
  return true;
}

// The pair the other way round: image 2's points first, and the rotation
// taking image 2's rays to image 1's.
std::vector<point_match> reversed(const std::vector<point_match>& matches) {
  std::vector<point_match> other;
  other.reserve(matches.size());
  for (const point_match& match : matches) other.push_back({match.second, match.first});
  return other;
}

rotation_estimate reversed(const rotation_estimate& estimate) {
  rotation_estimate other{estimate.focal_2, estimate.focal_1, {}};
  transpose_3x3(estimate.rotation.data(), other.rotation.data());
  return other;
}

// The plain path gives the adjuster the second image first, and so holds
// that one fixed: the pair is refined the other way round and turned back.
bool refine_plain(const std::vector<point_match>& matches, const std::vector<uint8_t>& inliers,
                  const image_point& centre_1, const image_point& centre_2, rotation_estimate& estimate,
                  lens_record& lens_1, lens_record& lens_2) {
  rotation_estimate other = reversed(estimate);
  if (!refine_with<motion_control_rotation>(reversed(matches), inliers, centre_2, centre_1, 0.0, other, lens_2,
                                            lens_1)) {
    return false;
  }
  estimate = reversed(other);
  return true;
}

}  // namespace

bool refine_rotation_pair(const std::vector<point_match>& matches, const std::vector<uint8_t>& inliers,
                          const image_point& centre_1, const image_point& centre_2,
                          const rotation_refinement& options, rotation_estimate& estimate, lens_record& lens_1,
                          lens_record& lens_2) {
  // An estimate that is no rotation, or a camera that cannot be made, is a
  // failed refinement.
  const std::optional<bool> refined = unless_refused([&] {
    if (options.robust) {
      return refine_with<robust_motion_control_rotation>(matches, inliers, centre_1, centre_2,
                                                         options.robust_threshold, estimate, lens_1, lens_2);
    }
    return refine_plain(matches, inliers, centre_1, centre_2, estimate, lens_1, lens_2);
  });
  return refined.value_or(false);
}
