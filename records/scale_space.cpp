#include "records/scale_space.h"

#include <algorithm>


namespace {

// Keypoints wanted: one per 512 samples, from 128 to 8192.
constexpr uint64_t minimum_target = 128;
constexpr uint64_t maximum_target = 8192;

uint64_t keypoint_target_for(uint64_t pixels) {
  return std::clamp<uint64_t>(pixels >> 9, minimum_target, maximum_target);
}

}  // namespace

scale_space::scale_space(uint64_t columns, uint64_t rows, uint64_t octaves_wanted)
    : width(columns), height(rows), octave_count(octaves_wanted) {
  const uint64_t pixels = width * height * (double_first_image ? 4 : 1);
  keypoint_target = keypoint_target_for(pixels);
  keypoint_budget = 2 * keypoint_target;
}

void apply_small_feature_budget(scale_space& record) {
  constexpr uint64_t small_budget = 1024;
  constexpr uint64_t small_target = 512;
  record.keypoint_budget = record.keypoint_budget == 0 ? small_budget : std::min(record.keypoint_budget, small_budget);
  record.keypoint_target = small_target;
}

void allocate_scale_space(scale_space& record) {
  const uint64_t s = record.levels_per_octave;
  uint64_t w = record.double_first_image ? 2 * record.width - 1 : record.width;
  uint64_t h = record.double_first_image ? 2 * record.height - 1 : record.height;
  const uint64_t p = w * h;
  record.work_image_a = float_image(w, h);
  record.work_image_b = float_image(w, h);
  record.work_image_c = float_image(w, h);
  record.pixel_flags.assign(p, 0);
  record.candidate_list.reserve(p / 9 * 2);
  record.extrema_list_a.reserve(s * p / 9);
  record.extrema_list_b.reserve(s * p / 9);
  record.octaves.resize(record.octave_count);
  record.keypoints.resize(record.octave_count);
  uint64_t budget = record.keypoint_budget;
  for (uint64_t o = 0; o < record.octave_count; ++o) {
    record.octaves[o].clear();
    for (uint64_t l = 0; l < s + 3; ++l) record.octaves[o].emplace_back(w, h);
    record.keypoints[o].reserve(s * budget);
    budget >>= 2;
    w = (w + 1) / 2;
    h = (h + 1) / 2;
  }
}

std::size_t feature_count(const scale_space& record) {
  std::size_t count = 0;
  for (const auto& list : record.keypoints) count += list.size();
  return count;
}
