#include "features/extract_features.h"

#include <algorithm>
#include <cstdio>

#include "features/frame_features.h"
#include "features/pointer_check.h"
#include "features/scale_space.h"
#include "host/host_suites.h"
#include "sources/multi_view_aligner.h"

namespace {

void build_pyramid(std::vector<scale_space>& batch, const AlignFrame& frame) {
  const bool small = frame.feature_mode == 1;
  const scale_space made(static_cast<uint64_t>(frame.width), static_cast<uint64_t>(frame.height),
                         small ? 1 : scale_space::full_octave_count);
  batch.push_back(made);
  scale_space& record = batch.back();
  if (small) apply_small_feature_budget(record);
  allocate_scale_space(record);
  load_first_image(record, frame);
  build_scale_space(record);
}

// The frame's record with room for its features; null only if it could
// not be made, which is then reported.
frame_features_ptr make_frame_features(MultiViewAligner& aligner, const AlignFrame& frame, std::size_t count) {
  frame_features_ptr made(new frame_features);
  if (!pointer_present(made.get())) return made;
  made->frame_position = aligner.frame_count;
  made->width = frame.width;
  made->height = frame.height;
  made->center_x = (made->width - 1.0) * 0.5;
  made->center_y = (made->height - 1.0) * 0.5;
  made->features.resize(count);
  return made;
}

void append_frame(MultiViewAligner& aligner, const AlignFrame& frame, frame_features_ptr features) {
  aligner.features.push_back(std::move(features));
  aligner.sheet_ids.push_back(frame.index);
  aligner.reduction_levels.push_back(frame.reduction_level);
  aligner.frame_rects.push_back(FrameRect{0, 0, frame.height, frame.width});
  ++aligner.frame_count;
}

void extract_run(MultiViewAligner& aligner, const AlignFrame* frames, std::size_t count) {
  std::vector<scale_space> batch;
  batch.reserve(count);
  for (std::size_t i = 0; i < count; ++i) build_pyramid(batch, frames[i]);
  host::entry(host::detect_keypoints_entry)(&batch);

  std::vector<frame_features_ptr> run;
  std::vector<feature_record*> first_records;
  for (std::size_t i = 0; i < count; ++i) {
    frame_features_ptr made = make_frame_features(aligner, frames[i], feature_count(batch[i]));
    if (!made) {
      first_records.push_back(nullptr);  // the job describes nothing for it
      continue;
    }
    first_records.push_back(made->features.empty() ? nullptr : made->features.data());
    run.push_back(made);
    append_frame(aligner, frames[i], std::move(made));
  }
  host::entry(host::describe_keypoints_entry)(&batch, first_records.data());
  for (const frame_features_ptr& made : run) complete_frame_features(*made);
}

}  // namespace

void extract_features(MultiViewAligner& aligner, const std::vector<AlignFrame>& frames) {
  if (frames.size() < 2) return;
  // A host that answers less than one item per batch still makes progress.
  const auto batch = static_cast<std::size_t>(std::max(1, host::entry(host::batch_size_entry)()));
  for (std::size_t start = 0; start < frames.size(); start += batch) {
    extract_run(aligner, frames.data() + start, std::min(batch, frames.size() - start));
  }
}
