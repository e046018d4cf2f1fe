#include "rotation/refine_cameras.h"

#include <cmath>

#include "rotation/rotation_camera.h"
#include "rotation/spherical_position.h"
#include "rotation/track_scene.h"
#include "solvers/bundle_adjuster.h"

namespace {

// One focal length per camera, the principal point kept.
constexpr int32_t focal_only = 7;

// The start direction of each pixel through its image's start camera.
pixel_direction pinhole_direction(const group_cameras& cameras) {
  return [&cameras](std::size_t image, const image_point& pixel) {
    return spherical_position(cameras.lenses[image], transposed(cameras.rotations[image]).data(), pixel);
  };
}

shared_lens mean_lens(const std::vector<lens_record>& lenses, int32_t mode) {
  shared_lens mean;
  for (const lens_record& lens : lenses) {
    for (int q = 0; q < lens_quantity_count; ++q) lens_value(mean, q) += lens_value(lens, q) / static_cast<double>(lenses.size());
  }
  mean.mode = mode;
  return mean;
}

// The adjusted cameras into the group, and the adjusted points into the
// scene for the distortion stage.
template <class Adjuster>
void adopt(const Adjuster& adjusted, group_cameras& cameras, track_scene& points) {
  write_back(adjusted, cameras);
  for (std::size_t j = 0; j < points.points.size(); ++j) points.points[j] = adjusted.point(j);
}

// The first stage without robust residuals, its points in the reference
// camera's frame, which is the group's world frame. The points go in as
// the start and come out adjusted.
void adjust_plain(std::size_t reference, group_cameras& cameras, track_scene& points) {
  const auto start = cameras_for<motion_control_rotation>(cameras, reference, focal_only, 0.0);
  if (!start) return;
  const sparse_bundle_adjuster<motion_control_rotation> adjusted(mean_lens(cameras.lenses, focal_only), *start,
                                                                 reference, points.points, points.observations);
  if (!adjusted.failed) adopt(adjusted, cameras, points);
}

// The first stage with robust residuals; false when it failed.
bool adjust_robust(const camera_refinement_options& options, std::size_t reference, group_cameras& cameras,
                   track_scene& points) {
  const auto start =
      cameras_for<robust_motion_control_rotation>(cameras, reference, focal_only, options.group_rotation_threshold);
  if (!start) return false;
  const sparse_bundle_adjuster2<robust_motion_control_rotation> adjusted(
      mean_lens(cameras.lenses, focal_only), *start, points.points, {}, points.observations,
      std::vector<std::vector<scene_observation>>(cameras.lenses.size()));
  if (adjusted.failed) return false;
  adopt(adjusted, cameras, points);
  return true;
}

// The second stage: one focal length and radial distortion per camera, the
// principal points held, over the first stage's points.
void fit_distortion(const camera_refinement_options& options, const track_scene& points, std::size_t reference,
                    group_cameras& cameras) {
  constexpr int32_t mode = 17;  // camera focal length and distortion
  const auto start =
      cameras_for<motion_control_rotation_distorted>(cameras, reference, mode, options.group_rotation_threshold);
  if (!start) return;
  const sparse_bundle_adjuster2<motion_control_rotation_distorted> adjusted(
      mean_lens(cameras.lenses, mode), *start, points.points, {}, points.observations,
      std::vector<std::vector<scene_observation>>(cameras.lenses.size()));
  if (adjusted.failed) return;
  for (const auto& camera : adjusted.cameras) {
    if (!(std::fabs(camera.k1) <= options.max_lens_parameter_a && std::fabs(camera.k2) <= options.max_lens_parameter_b)) {
      return;
    }
  }
  write_back(adjusted, cameras);
}

}  // namespace

void refine_cameras(const camera_refinement_options& options, const std::vector<frame_features_ptr>& frames,
                    const feature_tracks& tracks, std::size_t reference, group_cameras& cameras) {
  if (!options.refine_groups) return;
  track_scene points = track_scene_of(frames, tracks, pinhole_direction(cameras));
  if (!options.nonlinear_refine) {
    adjust_plain(reference, cameras, points);  // a failure here leaves the start to the distortion stage
  } else if (!adjust_robust(options, reference, cameras, points)) {
    return;  // only a failed robust stage stops the refinement
  }
  if (options.estimate_distortion) fit_distortion(options, points, reference, cameras);
}
