#include "pipeline/multi_view_aligner.h"

MultiViewAligner::MultiViewAligner(MultiViewParams& run_params, HomographyType type,
                                   const FrameRect& first_rect, const aligner_options& options)
    : homography_type(type),
      refine_groups(options.refine_groups),
      extra_pass(options.extra_pass),
      nonlinear_refine(options.nonlinear_refine),
      estimate_distortion(options.estimate_distortion),
      first_frame_rect(first_rect),
      params(&run_params) {
  if (nonlinear_refine) {
    // Distortion leaves larger residuals before it is fitted; type 11 asks
    // for the loosest pairs.
    double pair_threshold = estimate_distortion ? 5.0 : 3.0;
    if (run_params.requested_type == 11) pair_threshold = 7.0;
    pair_homography_threshold = pair_rotation_threshold = pair_threshold;
    group_homography_threshold = group_rotation_threshold = 2.0;
  } else {
    pair_homography_threshold = pair_rotation_threshold = 2.0;
  }
}

void MultiViewAligner::add_frame(const AlignFrame& frame, frame_features_ptr frame_features) {
  features.push_back(std::move(frame_features));
  sheet_ids.push_back(frame.index);
  reduction_levels.push_back(frame.reduction_level);
  ++frame_count;
}
