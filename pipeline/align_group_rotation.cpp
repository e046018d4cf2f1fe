// The rotation group: tracks, refined cameras, the world frame of the
// reference camera, the surface, and one transform per frame.
#include <algorithm>
#include <cmath>
#include <memory>
#include <stdexcept>

#include "graph/feature_tracks.h"
#include "numerics/matrix_3x3.h"
#include "pipeline/group_reporting.h"
#include "pipeline/multi_view_aligner.h"
#include "pipeline/rotation_group_cameras.h"
#include "pipeline/transformation_type.h"
#include "rotation/fit_surface.h"
#include "rotation/refine_cameras.h"
#include "transforms/cylindrical_transform.h"
#include "transforms/simple_camera_parameters.h"
#include "transforms/spherical_transform.h"

namespace {

enum surface_mode : int32_t { surface_automatic = 0, surface_cylinder = 1, surface_sphere = 2 };

camera_refinement_options refinement_options(const MultiViewAligner& aligner) {
  return {aligner.refine_groups,        aligner.nonlinear_refine,     aligner.estimate_distortion,
          aligner.group_rotation_threshold, aligner.max_lens_parameter_a, aligner.max_lens_parameter_b};
}

// The group's cameras from the chained motions: rotations camera-to-world.
group_cameras cameras_of(const component_record<rotation_motion>& group) {
  group_cameras cameras;
  for (const rotation_motion& motion : group.motions) {
    std::array<double, 9> to_world;
    transpose_3x3(motion.rotation.data(), to_world.data());
    cameras.rotations.push_back(to_world);
    cameras.lenses.push_back(motion.camera);
  }
  return cameras;
}

// The reference camera's frame becomes the world's: R becomes R_ref^T R.
void to_reference_frame(group_cameras& cameras, std::size_t reference) {
  std::array<double, 9> inverse;
  transpose_3x3(cameras.rotations[reference].data(), inverse.data());
  for (auto& rotation : cameras.rotations) {
    const std::array<double, 9> before = rotation;
    multiply_3x3(inverse.data(), before.data(), rotation.data());
  }
}

// Spherical when an image is off the cylinder or the group reaches too far
// up or down on it.
int32_t surface_of(const surface_fit& fit, double extent_limit) {
  if (fit.count() < fit.on_cylinder.size()) return transform_spherical;
  double top = fit.bounds.front()[1], bottom = fit.bounds.front()[3];
  for (const auto& bounds : fit.bounds) {
    top = std::min(top, bounds[1]);
    bottom = std::max(bottom, bounds[3]);
  }
  return std::max(std::fabs(top), std::fabs(bottom)) > extent_limit ? transform_spherical : transform_cylindrical;
}

// Focal lengths and centres of a frame that is 2^level times smaller than
// the image the transforms refer to.
double reduction_scale(int16_t level) { return level > 0 ? std::ldexp(1.0, level) : 1.0; }

SimpleCameraParameters output_camera(const lens_record& lens, double s) {
  SimpleCameraParameters camera;
  camera.focal_length()[0] = lens.fx * s;
  camera.focal_length()[1] = lens.fy * s;
  camera.image_center()[0] = lens.cx * s;
  camera.image_center()[1] = lens.cy * s;
  camera.distortion()[0] = lens.k1;
  camera.distortion()[1] = lens.k2;
  return camera;
}

}  // namespace

void MultiViewAligner::AlignGroupRotation(const component_record<rotation_motion>& group, const view_graph& graph,
                                          const std::vector<FrameRect>& rects, int32_t input_mode) {
  if (input_mode < surface_automatic || input_mode > surface_sphere) {
    throw std::runtime_error("MultiViewAligner::AlignGroupRotation(): unknown input mode");
  }
  WriteGroupHead(*this, group.links, group.frame_ids, group.reference_position);
  const std::size_t frames = group.frames.size();
  const std::size_t reference = group.reference_position;
  if (frames == 1) {
    params->transformType.push_back(transform_cylindrical);
    WriteLoneFrame(*this, group.frame_ids[0]);
    return;
  }

  const feature_tracks tracks = build_feature_tracks(group.frames, group.pairs, group.links);
  group_cameras cameras = cameras_of(group);
  refine_cameras(refinement_options(*this), group.frames, tracks, reference, cameras);
  to_reference_frame(cameras, reference);

  std::vector<FrameRect> group_rects;
  for (const uint64_t id : group.frame_ids) group_rects.push_back(rects[id]);
  surface_fit fit{std::vector<bool>(frames, false), std::vector<std::array<double, 4>>(frames, {0, 0, 0, 0})};
  if (input_mode != surface_sphere) fit = fit_surface(extra_pass, group_rects, graph, reference, cameras);
  const int32_t type = input_mode == surface_automatic ? surface_of(fit, spherical_extent_limit)
                       : input_mode == surface_cylinder ? transform_cylindrical
                                                        : transform_spherical;
  params->transformType.push_back(type);

  const FrameRect& middle = group_rects[reference];
  const double scale = reduction_scale(reduction_levels[group.frame_ids[reference]]) * cameras.lenses[reference].fx;
  std::vector<group_camera> observed;
  for (std::size_t k = 0; k < frames; ++k) {
    const uint64_t id = group.frame_ids[k];
    params->sheetID.push_back(sheet_ids[id]);
    params->renderable.push_back(true);
    const SimpleCameraParameters camera = output_camera(cameras.lenses[k], reduction_scale(reduction_levels[id]));
    observed.push_back({sheet_ids[id], camera, cameras.rotations[k]});
    if (type == transform_spherical) {
      params->transforms.push_back(std::make_unique<SphericalTransform>());
    } else {
      params->transforms.push_back(std::make_unique<CylindricalTransform>(
          camera, cameras.rotations[k].data(), scale, scale, fit.bounds[k][0], (middle.left + middle.right) / 2.0,
          (middle.top + middle.bottom) / 2.0));
    }
  }
  report_rotation_group(observed);
}
