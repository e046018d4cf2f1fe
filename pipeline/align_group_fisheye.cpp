// The fisheye group: start lenses from the table of known lenses, tracks,
// refined rotations and lens polynomials, and one spherical fisheye mark
// per frame.
#include <algorithm>
#include <memory>

#include "graph/feature_tracks.h"
#include "pipeline/group_reporting.h"
#include "pipeline/multi_view_aligner.h"
#include "pipeline/transformation_type.h"
#include "rotation/construct_fisheye_projection.h"
#include "rotation/refine_fisheye_cameras.h"
#include "transforms/spherical_transform.h"

namespace {

// Each frame's start camera: the chained rotation, camera-to-world, and the
// lens of the table scaled to the frame's longer side (the side the lenses
// were measured along), centred on the frame.
fisheye_group_cameras start_cameras(const component_record<rotation_motion>& group, int32_t lens_type) {
  fisheye_group_cameras cameras;
  for (std::size_t k = 0; k < group.frames.size(); ++k) {
    const frame_features& frame = *group.frames[k];
    std::unique_ptr<fisheye_equidist5> lens =
        construct_fisheye_projection(lens_type, std::max(frame.width, frame.height), 1.0);
    lens->cx = frame.center_x;
    lens->cy = frame.center_y;
    cameras.rotations.push_back(transposed(group.motions[k].rotation));
    cameras.lenses.push_back(short_polynomial_of(*lens));
  }
  return cameras;
}

}  // namespace

void MultiViewAligner::AlignGroupFisheye(const component_record<rotation_motion>& group, int32_t lens_type,
                                         int32_t fisheye_mode) {
  // An unknown lens type throws before the group has appended anything.
  fisheye_group_cameras cameras = start_cameras(group, lens_type);
  WriteGroupHead(*this, group.links, group.frame_ids, group.reference_position);
  if (group.frames.size() == 1) {
    params->transformType.push_back(transform_cylindrical);
    WriteLoneFrame(*this, group.frame_ids[0]);
    return;
  }

  const feature_tracks tracks = build_feature_tracks(group.frames, group.pairs, group.links);
  const fisheye_refinement_options options{refine_groups, nonlinear_refine, fisheye_mode, group_rotation_threshold};
  refine_fisheye_cameras(options, group.frames, tracks, group.reference_position, cameras);

  // The marks carry no numbers, as the rotation group's spherical ones: the
  // host renders the sphere from what it knows, and the refined cameras end
  // with the group.
  params->transformType.push_back(transform_spherical);
  for (const uint64_t id : group.frame_ids) {
    params->sheetID.push_back(sheet_ids[id]);
    params->renderable.push_back(true);
    params->transforms.push_back(std::make_unique<SphericalFisheyeTransform>());
  }
}
