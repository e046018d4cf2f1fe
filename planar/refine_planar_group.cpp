#include "planar/refine_planar_group.h"

#include <algorithm>
#include <new>

#include "planar/planar_camera.h"
#include "solvers/bundle_adjuster.h"

namespace {

using matrix = std::array<double, 9>;

// Moves the image origin of a plane-to-image map to c, or back.
matrix about_centre(matrix h, const std::array<double, 2>& c, double sign) {
  for (int k = 0; k < 3; ++k) {
    h[static_cast<std::size_t>(k)] += sign * c[0] * h[static_cast<std::size_t>(6 + k)];
    h[static_cast<std::size_t>(3 + k)] += sign * c[1] * h[static_cast<std::size_t>(6 + k)];
  }
  return h;
}

// Builds the cameras, the tracks' observations and starting plane points,
// and runs the adjustment; the adjusted cameras, or nothing when it failed.
template <bool Robust>
std::vector<planar_camera<Robust>> adjust(std::vector<planar_camera<Robust>> cameras,
                                          const std::vector<frame_features_ptr>& frames,
                                          const feature_tracks& tracks) {
  try {
    const auto count = static_cast<std::size_t>(tracks.track_count);
    std::vector<scene_point> points(count, {0.0, 0.0});
    std::vector<std::size_t> seen(count, 0);
    std::vector<std::vector<scene_observation>> observations(frames.size());
    for_each_tracked_feature(frames, tracks, [&](std::size_t image, const feature_record& feature, std::size_t t) {
      const std::array<double, 2> on_plane = cameras[image].on_plane(feature.x, feature.y);
      points[t][0] += on_plane[0];
      points[t][1] += on_plane[1];
      ++seen[t];
      observations[image].push_back({t, feature.x, feature.y});
    });
    for (std::size_t t = 0; t < count; ++t) {
      points[t][0] /= static_cast<double>(seen[t]);
      points[t][1] /= static_cast<double>(seen[t]);
    }
    shared_lens none;
    none.mode = 7;  // no shared values
    const sparse_bundle_adjuster2<planar_camera<Robust>> adjusted(
        none, cameras, points, {}, observations, std::vector<std::vector<scene_observation>>(frames.size()));
    if (adjusted.failed) return {};
    return adjusted.cameras;
  } catch (const std::bad_alloc&) {
    return {};
  }
}

template <bool Robust>
std::vector<planar_camera<Robust>> cameras_for(const std::vector<matrix>& h, std::size_t reference, double threshold) {
  std::vector<planar_camera<Robust>> cameras(h.size());
  for (std::size_t i = 0; i < h.size(); ++i) {
    cameras[i].h = h[i];
    cameras[i].free = i != reference;
    cameras[i].robust_threshold = threshold;
  }
  return cameras;
}

template <class Camera>
void copy_maps(const std::vector<Camera>& cameras, std::vector<matrix>& h, std::vector<h_matrix_2d>& motions) {
  for (std::size_t i = 0; i < cameras.size(); ++i) {
    h[i] = cameras[i].h;
    std::copy(h[i].begin(), h[i].end(), motions[i].parameters);
  }
}

}  // namespace

planar_refinement refine_planar_group(const planar_refinement_options& options,
                                      const std::vector<frame_features_ptr>& frames, const feature_tracks& tracks,
                                      const std::vector<h_matrix_2d>& motions,
                                      const std::vector<std::array<double, 2>>& centres, std::size_t reference) {
  planar_refinement result{motions, {}, {}};
  std::vector<matrix> h(motions.size());
  for (std::size_t i = 0; i < motions.size(); ++i) std::copy(motions[i].parameters, motions[i].parameters + 9, h[i].begin());
  if (options.nonlinear_refine && options.estimate_distortion) {
    result.centres = centres;
    result.distortions.assign(frames.size(), {0.0, 0.0});
  }
  if (!options.refine_groups) return result;
  if (!options.nonlinear_refine) {
    const auto adjusted = adjust(cameras_for<false>(h, reference, 0.0), frames, tracks);
    if (!adjusted.empty()) copy_maps(adjusted, h, result.motions);
    return result;
  }
  const auto robust = adjust(cameras_for<true>(h, reference, options.group_homography_threshold), frames, tracks);
  if (robust.empty()) return result;
  copy_maps(robust, h, result.motions);
  if (!options.estimate_distortion) return result;

  auto lens = cameras_for<true>(h, reference, options.group_homography_threshold);
  for (std::size_t i = 0; i < lens.size(); ++i) {
    lens[i].h = about_centre(h[i], result.centres[i], -1.0);
    lens[i].centre = result.centres[i];
    lens[i].lens_code = planar_lens_distortion;
  }
  const auto fitted = adjust(lens, frames, tracks);
  if (fitted.empty()) return result;
  for (std::size_t i = 0; i < fitted.size(); ++i) {
    const matrix back = about_centre(fitted[i].h, fitted[i].centre, 1.0);
    std::copy(back.begin(), back.end(), result.motions[i].parameters);
    result.centres[i] = fitted[i].centre;
    result.distortions[i] = fitted[i].distortion;
  }
  return result;
}
