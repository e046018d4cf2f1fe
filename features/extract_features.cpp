#include "features/extract_features.h"

#include <algorithm>

#include "features/pyramid.h"
#include "platform/host_suites.h"
#include "platform/pointer_check.h"
#include "records/scale_space.h"

namespace {

// The frame's pyramid in `record`, a record of an earlier batch when there
// is one, so that its planes and lists are reused.
void build_pyramid(scale_space& record, const AlignFrame& frame, filter_workspace& workspace) {
  const bool small = frame.feature_mode == 1;
  reset_scale_space(record, static_cast<uint64_t>(frame.width), static_cast<uint64_t>(frame.height),
                    small ? 1 : scale_space::full_octave_count);
  if (small) apply_small_feature_budget(record);
  allocate_scale_space(record);
  load_first_image(record, frame, workspace);
  build_scale_space(record, workspace);
}

// The frame's record with room for its features; null only if it could
// not be made, which is then reported.
frame_features_ptr make_frame_features(std::size_t position, const AlignFrame& frame, std::size_t count) {
  frame_features_ptr made(new frame_features);
  if (!pointer_present(made.get())) return made;
  made->frame_position = position;
  made->width = frame.width;
  made->height = frame.height;
  made->center_x = (made->width - 1.0) * 0.5;
  made->center_y = (made->height - 1.0) * 0.5;
  made->features.resize(count);
  return made;
}

// What the stage keeps from batch to batch: the records, whose planes and
// lists the next batch reuses, and the filter's scratch. At most one batch of
// pyramids exists at a time.
struct extraction_pool {
  std::vector<scale_space> batch;
  filter_workspace workspace;
};

void extract_run(const std::vector<AlignFrame>& frames, std::size_t start, std::size_t count, extraction_pool& pool,
                 std::vector<extracted_frame>& extracted) {
  std::vector<scale_space>& batch = pool.batch;
  // The jobs see the run's records alone: a last, shorter run drops the rest.
  if (batch.size() > count) batch.erase(batch.begin() + static_cast<std::ptrdiff_t>(count), batch.end());
  batch.reserve(count);
  for (std::size_t i = 0; i < count; ++i) {
    const AlignFrame& frame = frames[start + i];
    if (i == batch.size()) {
      batch.emplace_back(static_cast<uint64_t>(frame.width), static_cast<uint64_t>(frame.height), 0);
    }
    build_pyramid(batch[i], frame, pool.workspace);
  }
  host::entry(host::detect_keypoints_entry)(&batch);

  std::vector<frame_features_ptr> run;
  std::vector<feature_record*> first_records;
  for (std::size_t i = 0; i < count; ++i) {
    frame_features_ptr made = make_frame_features(extracted.size(), frames[start + i], feature_count(batch[i]));
    if (!made) {
      first_records.push_back(nullptr);  // the job describes nothing for it
      continue;
    }
    first_records.push_back(made->features.empty() ? nullptr : made->features.data());
    run.push_back(made);
    extracted.push_back({start + i, std::move(made)});
  }
  host::entry(host::describe_keypoints_entry)(&batch, first_records.data());
  for (const frame_features_ptr& made : run) complete_frame_features(*made);
}

}  // namespace

std::vector<extracted_frame> extract_features(const std::vector<AlignFrame>& frames) {
  std::vector<extracted_frame> extracted;
  if (frames.size() < 2) return extracted;
  // A host that answers less than one item per batch still makes progress.
  const auto batch = static_cast<std::size_t>(std::max(1, host::entry(host::batch_size_entry)()));
  extraction_pool pool;
  for (std::size_t start = 0; start < frames.size(); start += batch) {
    extract_run(frames, start, std::min(batch, frames.size() - start), pool, extracted);
  }
  return extracted;
}
