#include "records/scale_space.h"

#include <algorithm>
#include <utility>

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

void reset_scale_space(scale_space& record, uint64_t columns, uint64_t rows, uint64_t octaves_wanted) {
  scale_space fresh(columns, rows, octaves_wanted);
  std::swap(fresh.octaves, record.octaves);
  std::swap(fresh.work_image_a, record.work_image_a);
  std::swap(fresh.work_image_b, record.work_image_b);
  std::swap(fresh.work_image_c, record.work_image_c);
  std::swap(fresh.pixel_flags, record.pixel_flags);
  std::swap(fresh.candidate_list, record.candidate_list);
  std::swap(fresh.extrema_list_a, record.extrema_list_a);
  std::swap(fresh.extrema_list_b, record.extrema_list_b);
  std::swap(fresh.keypoints, record.keypoints);
  record = std::move(fresh);
}

void allocate_scale_space(scale_space& record) {
  const uint64_t s = record.levels_per_octave;
  uint64_t w = record.double_first_image ? 2 * record.width - 1 : record.width;
  uint64_t h = record.double_first_image ? 2 * record.height - 1 : record.height;
  const uint64_t p = w * h;
  record.work_image_a.reshape(w, h);
  record.work_image_b.reshape(w, h);
  record.work_image_c.reshape(w, h);
  record.pixel_flags.assign(p, 0);
  const auto empty_with_room = [](auto& list, uint64_t elements) {
    list.clear();
    list.reserve(elements);
  };
  empty_with_room(record.candidate_list, p / 9 * 2);
  empty_with_room(record.extrema_list_a, s * p / 9);
  empty_with_room(record.extrema_list_b, s * p / 9);
  record.octaves.resize(record.octave_count);
  record.keypoints.resize(record.octave_count);
  uint64_t budget = record.keypoint_budget;
  for (uint64_t o = 0; o < record.octave_count; ++o) {
    record.octaves[o].resize(s + 3);
    for (float_image& plane : record.octaves[o]) plane.reshape(w, h);
    empty_with_room(record.keypoints[o], s * budget);
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
