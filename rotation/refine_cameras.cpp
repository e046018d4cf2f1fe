#include "rotation/refine_cameras.h"

#include <cmath>
#include <numbers>

#include "mvg/matrix_3x3.h"
#include "rotation/rotation_camera.h"
#include "rotation/spherical_position.h"
#include "solvers/bundle_adjuster.h"

namespace {

// One focal length per camera, the principal point kept.
constexpr int32_t focal_only = 7;

// The tracks as the adjusters take them: a point per track, observations
// camera by camera.
struct scene {
  std::vector<scene_point> points;
  std::vector<std::vector<scene_observation>> observations;
};

std::array<double, 9> transposed(const std::array<double, 9>& m) {
  std::array<double, 9> t;
  transpose_3x3(m.data(), t.data());
  return t;
}

// Each point starts at the mean direction of its observations through the
// start cameras, the longitudes kept on the branch nearest to their running
// mean.
scene scene_of(const std::vector<frame_features_ptr>& frames, const feature_tracks& tracks,
               const group_cameras& cameras) {
  constexpr double two_pi = 2.0 * std::numbers::pi;
  scene result;
  const auto count = static_cast<std::size_t>(tracks.track_count);
  std::vector<double> longitude(count, 0.0), latitude(count, 0.0);
  std::vector<std::size_t> seen(count, 0);
  result.observations.resize(frames.size());
  for (std::size_t image = 0; image < frames.size(); ++image) {
    const std::array<double, 9> rotation = transposed(cameras.rotations[image]);
    const std::vector<feature_record>& features = frames[image]->features;
    for (std::size_t f = 0; f < features.size(); ++f) {
      const int32_t id = tracks.id_of(image, f);
      if (id < 0) continue;
      const auto t = static_cast<std::size_t>(id);
      const scene_point direction = spherical_position(cameras.lenses[image], rotation.data(), {features[f].x, features[f].y});
      double lon = direction[0];
      if (seen[t] > 0) {
        const double mean = longitude[t] / static_cast<double>(seen[t]);
        for (const double branch : {direction[0] + two_pi, direction[0] - two_pi}) {
          if (std::fabs(branch - mean) < std::fabs(lon - mean)) lon = branch;
        }
      }
      longitude[t] += lon;
      latitude[t] += direction[1];
      ++seen[t];
      result.observations[image].push_back({t, features[f].x, features[f].y});
    }
  }
  for (std::size_t t = 0; t < count; ++t) {
    const double n = static_cast<double>(seen[t]);
    result.points.push_back({longitude[t] / n, latitude[t] / n});
  }
  return result;
}

shared_lens mean_lens(const std::vector<lens_record>& lenses, int32_t mode) {
  shared_lens mean;
  for (const lens_record& lens : lenses) {
    for (int q = 0; q < lens_quantity_count; ++q) lens_value(mean, q) += lens_value(lens, q) / static_cast<double>(lenses.size());
  }
  mean.mode = mode;
  return mean;
}

template <class Camera>
std::vector<Camera> cameras_for(const group_cameras& cameras, std::size_t reference, int32_t mode, double threshold) {
  std::vector<Camera> result;
  for (std::size_t i = 0; i < cameras.rotations.size(); ++i) {
    result.emplace_back(transposed(cameras.rotations[i]), cameras.lenses[i], mode, i != reference);
    result.back().robust_threshold = threshold;
  }
  return result;
}

template <class Adjuster>
void write_back(const Adjuster& adjusted, group_cameras& cameras) {
  for (std::size_t i = 0; i < adjusted.cameras.size(); ++i) {
    transpose_3x3(adjusted.cameras[i].rotation, cameras.rotations[i].data());
    cameras.lenses[i] = adjusted.cameras[i].lens();
  }
}

// The second stage: one focal length and radial distortion per camera (or
// shared), principal points on request, over the first stage's points.
void fit_distortion(const camera_refinement_options& options, const scene& points, std::size_t reference,
                    group_cameras& cameras) {
  const int32_t mode = options.lens_option_a ? (options.lens_option_b ? 29 : 11) : (options.lens_option_b ? 27 : 17);
  const sparse_bundle_adjuster2<motion_control_rotation_distorted> adjusted(
      mean_lens(cameras.lenses, mode),
      cameras_for<motion_control_rotation_distorted>(cameras, reference, mode, options.group_rotation_threshold),
      points.points, {}, points.observations, std::vector<std::vector<scene_observation>>(cameras.lenses.size()));
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
  scene points = scene_of(frames, tracks, cameras);
  if (!options.nonlinear_refine) {
    const sparse_bundle_adjuster<motion_control_rotation> adjusted(
        mean_lens(cameras.lenses, focal_only), cameras_for<motion_control_rotation>(cameras, reference, focal_only, 0.0),
        reference, points.points, points.observations);
    if (!adjusted.failed) write_back(adjusted, cameras);
    return;
  }
  const sparse_bundle_adjuster2<robust_motion_control_rotation> adjusted(
      mean_lens(cameras.lenses, focal_only),
      cameras_for<robust_motion_control_rotation>(cameras, reference, focal_only, options.group_rotation_threshold),
      points.points, {}, points.observations, std::vector<std::vector<scene_observation>>(cameras.lenses.size()));
  if (adjusted.failed) return;
  write_back(adjusted, cameras);
  if (!options.estimate_distortion) return;
  for (std::size_t j = 0; j < points.points.size(); ++j) points.points[j] = adjusted.point(j);
  fit_distortion(options, points, reference, cameras);
}
