#include "features/scale_space.h"

#include <algorithm>
#include <cmath>

#include "features/gaussian_kernel.h"
#include "features/separable_filter.h"

namespace {

// Keypoints wanted: one per 512 samples, from 128 to 8192.
constexpr uint64_t minimum_target = 128;
constexpr uint64_t maximum_target = 8192;

uint64_t keypoint_target_for(uint64_t pixels) {
  return std::clamp<uint64_t>(pixels >> 9, minimum_target, maximum_target);
}

void filter(const float_image& source, float_image& destination, float sigma) {
  const gaussian_kernel kernel(sigma);
  const std::size_t row_bytes = source.width * sizeof(float);
  separable_filter(source.samples, source.width, source.height, row_bytes, kernel.taps.get(), kernel.length,
                   kernel.half(), destination.samples, row_bytes);
}

// Every second sample of every second row, starting at sample 0 of row 0:
// the source level has twice the base blur, so no further filtering.
void decimate(const float_image& source, float_image& destination) {
  for (uint64_t y = 0; y < destination.height; ++y) {
    const float* in = source.row(2 * y);
    float* out = destination.row(y);
    for (uint64_t x = 0; x < destination.width; ++x) out[x] = in[2 * x];
  }
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

void load_first_image(scale_space& record, const AlignFrame& grey) {
  vector_slot<float_image>& first_octave = record.octaves[0];
  float_image& staging = first_octave[1];
  const auto columns = static_cast<uint64_t>(grey.width);
  for (uint64_t y = 0; y < staging.height; ++y) {
    const uint8_t* in = grey.pixels + y * columns;
    float* out = staging.row(y);
    for (uint64_t x = 0; x < staging.width; ++x) out[x] = static_cast<float>(in[x]);
  }
  // A true division, not a multiplication by 1/255: the levels must not
  // depend on the rounding of a reciprocal.
  const uint64_t count = staging.width * staging.height;
  for (uint64_t i = 0; i < count; ++i) staging.samples[i] /= 255.0f;

  const float scale = record.double_first_image ? 2.0f : 1.0f;
  const float target = record.base_sigma * scale;
  const float present = record.input_blur * scale;
  if (!(target > present)) {
    first_octave[0] = staging;
    return;
  }
  filter(staging, first_octave[0], std::sqrt(target * target - present * present));
}

void build_scale_space(scale_space& record) {
  const uint64_t s = record.levels_per_octave;
  const auto k = static_cast<float>(std::pow(2.0, 1.0 / static_cast<double>(s)));
  if (record.octave_count == 0) return;
  // Each step adds the blur that takes level l to level l + 1.
  const float step = std::sqrt(k * k - 1.0f);
  for (uint64_t o = 0; o < record.octave_count; ++o) {
    vector_slot<float_image>& levels = record.octaves[o];
    if (o != 0) decimate(record.octaves[o - 1][s], levels[0]);
    float sigma = step * record.base_sigma;
    for (uint64_t l = 0; l <= s + 1; ++l) {
      filter(levels[l], levels[l + 1], sigma);
      sigma *= k;
    }
  }
}

std::size_t feature_count(const scale_space& record) {
  std::size_t count = 0;
  for (const auto& list : record.keypoints) count += list.size();
  return count;
}
