// The planar group: tracks, motions refined onto one plane, and the
// transform of each frame onto the reference frame.
#include <algorithm>
#include <cmath>
#include <memory>

#include "graph/feature_tracks.h"
#include "pipeline/group_reporting.h"
#include "pipeline/multi_view_aligner.h"
#include "pipeline/transformation_type.h"
#include "planar/refine_planar_group.h"
#include "transforms/distort_rd2_transform.h"
#include "transforms/distort_transform.h"

namespace {

// 2^level of a frame's reduction; a level of 0 or below counts as 1.
double reduction_scale(int16_t level) { return level > 0 ? std::ldexp(1.0, level) : 1.0; }

// T after G, in a common kind when the kinds differ.
h_matrix_2d after(const h_matrix_2d& t, const h_matrix_2d& g) {
  if (t.type == g.type) return compose_same(t, g);
  const HomographyType common = common_type(t, g);
  return compose_same(convert(t, common), convert(g, common));
}

// From the reduced frames the features were taken at to full-size images:
// the frame's scale s and the reference's r.
void rescale(h_matrix_2d& motion, double s, double r) {
  double* h = motion.parameters;
  h[0] *= s / r;
  h[1] *= s / r;
  h[3] *= s / r;
  h[4] *= s / r;
  h[6] /= r;
  h[7] /= r;
  h[2] *= s;
  h[5] *= s;
}

// The frame's rectangle as doubles, moved to start at 0, 0 by the crossed
// subtraction that a well-ordered rectangle gets.
std::array<double, 4> placed_rectangle(const FrameRect& frame) {
  const double top = frame.top, left = frame.left, bottom = frame.bottom, right = frame.right;
  if (top <= bottom && left <= right) return {top - left, left - top, bottom - left, right - top};
  return {top, left, bottom, right};
}

std::array<double, 2> mapped(const h_matrix_2d& motion, double x, double y) {
  const double in[2] = {x, y};
  std::array<double, 2> out{};
  motion(in, out.data());
  return out;
}

// An image that the map inflates sixteen times or more is not worth drawing.
bool renderable_under(const h_matrix_2d& to_reference, double width, double height) {
  double low_x = 0, high_x = 0, low_y = 0, high_y = 0;
  bool first = true;
  for (const auto& corner : {std::array<double, 2>{0, 0}, {width, 0}, {width, height}, {0, height}}) {
    const auto p = mapped(to_reference, corner[0], corner[1]);
    low_x = first ? p[0] : std::min(low_x, p[0]);
    high_x = first ? p[0] : std::max(high_x, p[0]);
    low_y = first ? p[1] : std::min(low_y, p[1]);
    high_y = first ? p[1] : std::max(high_y, p[1]);
    first = false;
  }
  return !((high_x - low_x) * (high_y - low_y) >= 16.0 * width * height);
}

}  // namespace

void MultiViewAligner::AlignGroupPlanar(const component_record<h_matrix_2d>& group,
                                        const std::vector<FrameRect>& rects) {
  WriteGroupHead(*this, group.links, group.frame_ids, group.reference_position);
  const std::size_t frames = group.frames.size();
  const std::size_t reference = group.reference_position;
  params->transformType.push_back(HomographyTypeToTransformationType(group.motions[0].type, estimate_distortion));
  if (frames == 1) {
    WriteLoneFrame(*this, group.frame_ids[0]);
    return;
  }

  const feature_tracks tracks = build_feature_tracks(group.frames, group.pairs, group.links);
  std::vector<std::array<double, 2>> centres;
  for (const frame_features_ptr& frame : group.frames) centres.push_back({frame->center_x, frame->center_y});
  const planar_refinement refined =
      refine_planar_group({refine_groups, nonlinear_refine, estimate_distortion, group_homography_threshold}, group.frames,
                          tracks, group.motions, centres, reference);
  const h_matrix_2d to_plane = refined.motions[reference].inverse();
  const double r = reduction_scale(reduction_levels[group.frame_ids[reference]]);

  for (std::size_t i = 0; i < frames; ++i) {
    const uint64_t id = group.frame_ids[i];
    params->sheetID.push_back(sheet_ids[id]);
    if (i == reference && !estimate_distortion) {
      params->renderable.push_back(true);
      params->transforms.emplace_back();
      continue;
    }
    h_matrix_2d from_reference = after(refined.motions[i], to_plane);
    const double s = reduction_scale(reduction_levels[id]);
    if (rects[id] != first_frame_rect) rescale(from_reference, s, r);
    const h_matrix_2d to_reference = from_reference.inverse();
    const std::array<double, 4> rect = placed_rectangle(rects[id]);
    const double right = rect[3], bottom = rect[2];
    if (estimate_distortion) {
      const double size[2] = {bottom, right};
      const double centre[2] = {refined.centres[i][0] * s, refined.centres[i][1] * s};
      const double radial[2] = {refined.distortions[i][0] / (s * s), refined.distortions[i][1] / (s * s * s * s)};
      params->transforms.push_back(std::make_unique<DistortRd2Transform>(to_reference.parameters, size, centre, radial));
    } else {
      double quad[8];
      std::size_t k = 0;
      for (const auto& corner : {std::array<double, 2>{0, 0}, {right, 0}, {right, bottom}, {0, bottom}}) {
        const auto p = mapped(to_reference, corner[0], corner[1]);
        quad[k++] = p[0];
        quad[k++] = p[1];
      }
      params->transforms.push_back(std::make_unique<DistortTransform>(rect.data(), quad));
    }
    params->renderable.push_back(
        renderable_under(to_reference, group.frames[i]->width, group.frames[i]->height));
  }
}
