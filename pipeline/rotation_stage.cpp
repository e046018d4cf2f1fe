#include "pipeline/rotation_stage.h"

#include "graph/nview_manager.h"
#include "pipeline/group_reporting.h"
#include "pipeline/multi_view_aligner.h"

void run_rotation_stage(MultiViewAligner& aligner, const std::vector<FrameRect>& rects,
                        const std::vector<bool>& preferred, const pair_table<rotation_pair>& rotations,
                        const pair_table<bool>& connected) {
  nview_manager graph(aligner.features, aligner.pairs, connected);
  const rotation_motion unit{lens_record{}, {1, 0, 0, 0, 1, 0, 0, 0, 1}};
  const std::vector<rotation_motion> motions = graph.compute_motion(rotations, unit);
  for (uint64_t c = 0; c < graph.number_of_components(); ++c) {
    component_record<rotation_motion> component = graph.component_with_motion(c, motions);
    if (component.frames.empty()) continue;
    component.reference_position =
        ChooseReference(aligner, preferred, component.reference_position, component.frame_ids);
    const view_graph& component_graph = graph.get_component_graph(c);
    aligner.AlignGroupRotation(component, component_graph, rects, 1);
  }
}
