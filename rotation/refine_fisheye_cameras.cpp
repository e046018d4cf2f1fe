#include "rotation/refine_fisheye_cameras.h"

#include <cmath>

#include "rotation/fisheye_camera.h"
#include "rotation/track_scene.h"
#include "solvers/bundle_adjuster.h"

namespace {

// The direction of a pixel through a start camera: the lens's angle along
// the pixel's bearing from the centre, turned into the world. The angle is
// used rather than a ray at z = 1 so that pixels beyond a right angle from
// the axis keep their side.
pixel_direction fisheye_direction(const fisheye_group_cameras& cameras) {
  return [&cameras](std::size_t image, const image_point& pixel) -> scene_point {
    const fisheye_lens& lens = cameras.lenses[image];
    const fisheye_equidist5 polynomial(lens.cx, lens.cy, 0.0, 0.0, lens.a0, lens.a1, lens.a2);
    const double du = pixel[0] - lens.cx, dv = pixel[1] - lens.cy, rho = std::hypot(du, dv);
    const double theta = polynomial.image_to_angle(pixel[0], pixel[1]);
    const double across = rho > 0.0 ? std::sin(theta) / rho : 0.0;
    const double ray[3] = {across * du, across * dv, std::cos(theta)};
    const double* to_world = cameras.rotations[image].data();
    double world[3];
    for (int r = 0; r < 3; ++r) world[r] = to_world[3 * r] * ray[0] + to_world[3 * r + 1] * ray[1] + to_world[3 * r + 2] * ray[2];
    return {std::atan2(world[1], world[0]), std::atan2(world[2], std::hypot(world[0], world[1]))};
  };
}

template <class Camera>
void adjust(const fisheye_refinement_options& options, const track_scene& scene, std::size_t reference,
            fisheye_group_cameras& cameras) {
  const auto start = cameras_for<Camera>(cameras, reference, options.mode, options.group_rotation_threshold);
  if (!start) return;
  const sparse_bundle_adjuster2<Camera> adjusted(fisheye_shared_lens::mean_of(cameras.lenses, options.mode), *start,
                                                 scene.points, {}, scene.observations,
                                                 std::vector<std::vector<scene_observation>>(cameras.lenses.size()));
  if (!adjusted.failed) write_back(adjusted, cameras);
}

}  // namespace

fisheye_lens short_polynomial_of(const fisheye_equidist5& lens) { return {lens.p2, lens.p3, lens.p4, lens.cx, lens.cy}; }

void refine_fisheye_cameras(const fisheye_refinement_options& options, const std::vector<frame_features_ptr>& frames,
                            const feature_tracks& tracks, std::size_t reference, fisheye_group_cameras& cameras) {
  if (!options.refine_groups) return;
  const track_scene scene = track_scene_of(frames, tracks, fisheye_direction(cameras));
  if (options.nonlinear_refine) {
    adjust<robust_motion_control_fisheye>(options, scene, reference, cameras);
  } else {
    adjust<motion_control_fisheye>(options, scene, reference, cameras);
  }
}
