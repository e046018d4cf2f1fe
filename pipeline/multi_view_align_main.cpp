// The engine's one entry: a run from frames to the filled result record.
#include <stdexcept>
#include <vector>

#include "features/extract_features.h"
#include "matching/match_all_pairs.h"
#include "pipeline/pair_outcomes.h"
#include "pipeline/automatic_stage.h"
#include "pipeline/condition_frame.h"
#include "pipeline/estimate_pairs.h"
#include "pipeline/multi_view_align_main.h"
#include "pipeline/multi_view_aligner.h"
#include "pipeline/rotation_stage.h"
#include "pipeline/transformation_type.h"
#include "platform/progress.h"
#include "records/pair_table.h"
#include "rotation/estimate_rotation_pairs.h"

namespace {

// The frames that passed conditioning, with what the stages get alongside:
// a rectangle (always the first frame's, whatever the frame's own size) and
// a preferred-reference bit, all clear.
struct usable_frames {
  std::vector<AlignFrame> frames;
  std::vector<FrameRect> rects;
  std::vector<bool> preferred;
};

usable_frames condition_frames(std::vector<AlignFrame>& frames, const FrameRect& first_rect) {
  usable_frames usable;
  for (AlignFrame& frame : frames) {
    if (!ConditionFrame(frame.height, frame.width, frame.pixels)) continue;
    usable.frames.push_back(frame);  // shares the caller's samples
    usable.rects.push_back(first_rect);
    usable.preferred.push_back(false);
  }
  return usable;
}

}  // namespace

void MultiViewAlignMain(MultiViewParams* params, std::vector<AlignFrame>* frames) {
  if (!params || !frames) throw std::invalid_argument("MultiViewAlignMain(): null argument");
  const FrameRect first_rect =
      frames->empty() ? FrameRect{} : FrameRect{0, 0, frames->front().height, frames->front().width};
  // An unknown type fails here, before any frame is looked at.
  const HomographyType homography_type = TransformationTypeToHomographyType(params->requested_type);
  aligner_options options;
  options.estimate_distortion = params->estimate_distortion;
  MultiViewAligner aligner(*params, homography_type, first_rect, options);

  usable_frames usable = condition_frames(*frames, first_rect);
  host::begin_progress_stage("extraction", usable.frames.size());
  for (extracted_frame& extracted : extract_features(usable.frames)) {
    aligner.add_frame(usable.frames[extracted.frame], std::move(extracted.features));
  }
  // The frames' samples are not needed beyond extraction.
  usable.frames.clear();
  const std::size_t pair_count = aligner.frame_count * (aligner.frame_count - 1) / 2;  // 0 for 0 frames too
  host::begin_progress_stage("matching", pair_count);
  if (aligner.frame_count != 0) aligner.pairs = match_all_pairs(aligner.features);

  // Both pipelines size their pair tables by frame_count - 1 rows: with
  // fewer than two usable frames the run ends in std::length_error there.
  const rotation_refinement refinement{aligner.nonlinear_refine, aligner.group_rotation_threshold};
  switch (params->requested_type) {
    case transform_automatic: {
      pair_table<h_matrix_2d> motions;
      pair_table<bool> accepted;
      pair_table<rotation_pair> rotations;
      pair_table<bool> turning;
      host::begin_progress_stage("pairs", pair_count);
      estimate_pairs(aligner.pairs, aligner.frame_count, {aligner.pair_homography_threshold, refinement}, motions,
                     accepted, rotations, turning);
      report_pair_outcomes(aligner.pairs, aligner.sheet_ids, accepted);
      host::begin_progress_stage("groups", 0);
      run_automatic_stage(aligner, usable.rects, usable.preferred, motions, accepted, rotations, turning);
      break;
    }
    case transform_cylindrical: {
      pair_table<rotation_pair> rotations;
      pair_table<bool> connected;
      host::begin_progress_stage("pairs", pair_count);
      estimate_rotation_pairs(aligner.pairs, aligner.frame_count, {aligner.pair_rotation_threshold, refinement},
                              rotations, connected);
      report_pair_outcomes(aligner.pairs, aligner.sheet_ids, connected);
      host::begin_progress_stage("groups", 0);
      run_rotation_stage(aligner, usable.rects, usable.preferred, rotations, connected);
      break;
    }
    default:
      break;  // no pipeline: the result lists stay empty
  }
}
