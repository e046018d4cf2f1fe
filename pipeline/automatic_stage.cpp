#include "pipeline/automatic_stage.h"

#include <algorithm>
#include <cmath>

#include "graph/nview_manager.h"
#include "pipeline/group_reporting.h"
#include "pipeline/multi_view_aligner.h"

namespace {

// The largest angle between the reference's optical axis and another
// frame's: the arc cosine of (R_ref^T R)[2][2].
double rotation_spread(const component_record<rotation_motion>& group) {
  const std::array<double, 9>& reference = group.motions[group.reference_position].rotation;
  double spread = 0.0;
  for (std::size_t i = 0; i < group.motions.size(); ++i) {
    if (i == group.reference_position) continue;
    const std::array<double, 9>& r = group.motions[i].rotation;
    const double axis_cosine = reference[2] * r[2] + reference[5] * r[5] + reference[8] * r[8];
    spread = std::max(spread, std::acos(axis_cosine));
  }
  return spread;
}

// The position of frame `id` in a component's list, or `otherwise`.
std::size_t position_of(const std::vector<uint64_t>& frame_ids, uint64_t id, std::size_t otherwise) {
  const auto found = std::find(frame_ids.begin(), frame_ids.end(), id);
  return found == frame_ids.end() ? otherwise : static_cast<std::size_t>(found - frame_ids.begin());
}

// The reference of a planar component that turned too little: the rotation
// component's reference position, carried over as a position in the planar
// component's own list. The rotation component can hold more frames than
// the planar one, and its position can then lie beyond the planar list;
// there the rotation component's reference frame is looked up in the
// planar list instead, and where it is not in it either, the planar
// component keeps its own reference.
std::size_t carried_reference(const component_record<rotation_motion>& turning,
                              const component_record<h_matrix_2d>& planar) {
  if (turning.reference_position < planar.frame_ids.size()) return turning.reference_position;
  return position_of(planar.frame_ids, turning.frame_ids[turning.reference_position], planar.reference_position);
}

}  // namespace

void run_automatic_stage(MultiViewAligner& aligner, const std::vector<FrameRect>& rects,
                         const std::vector<bool>& preferred, const pair_table<h_matrix_2d>& pair_motions,
                         const pair_table<bool>& pair_set, const pair_table<rotation_pair>& pair_rotations,
                         const pair_table<bool>& rotation_set) {
  nview_manager planar_graph(aligner.features, aligner.pairs, pair_set);
  nview_manager rotation_graph(aligner.features, aligner.pairs, rotation_set);
  const std::vector<h_matrix_2d> homographies =
      planar_graph.compute_motion(pair_motions, h_matrix_2d::identity(aligner.homography_type));
  const rotation_motion unit{lens_record{}, {1, 0, 0, 0, 1, 0, 0, 0, 1}};
  const std::vector<rotation_motion> rotations = rotation_graph.compute_motion(pair_rotations, unit);
  const double limit = aligner.min_rotation_extent_degrees / 180.0 * 3.141592653589793;

  for (uint64_t c = 0; c < planar_graph.number_of_components(); ++c) {
    std::vector<uint64_t> frames;
    for (uint64_t i = 0; i < planar_graph.component.size(); ++i) {
      if (planar_graph.component[i] == c) frames.push_back(i);
    }
    if (frames.empty()) continue;
    const uint64_t r = rotation_graph.component[frames[0]];
    const bool one_rotation_component = std::all_of(
        frames.begin(), frames.end(), [&](uint64_t i) { return rotation_graph.component[i] == r; });

    component_record<h_matrix_2d> planar = planar_graph.component_with_motion(c, homographies);
    if (one_rotation_component) {
      component_record<rotation_motion> turning = rotation_graph.component_with_motion(r, rotations);
      if (turning.frames.empty()) continue;
      turning.reference_position =
          ChooseReference(aligner, preferred, turning.reference_position, turning.frame_ids);
      if (!(limit > rotation_spread(turning))) {
        const view_graph& graph = rotation_graph.get_component_graph(r);
        aligner.AlignGroupRotation(turning, graph, rects, 0);
        continue;
      }
      planar.reference_position = carried_reference(turning, planar);
    } else {
      planar.reference_position = ChooseReference(aligner, preferred, planar.reference_position, planar.frame_ids);
    }
    aligner.AlignGroupPlanar(planar, rects);
  }
}
