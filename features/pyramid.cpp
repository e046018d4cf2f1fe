#include "features/pyramid.h"

#include <algorithm>
#include <cmath>

#include "features/gaussian_kernel.h"
#include "features/separable_filter.h"

namespace {

void filter(const float_image& source, float_image& destination, float sigma, filter_workspace& workspace) {
  const gaussian_kernel kernel(sigma);
  const std::size_t row_bytes = source.width * sizeof(float);
  separable_filter(source.samples, source.width, source.height, row_bytes, kernel.taps.get(), kernel.length,
                   kernel.half(), destination.samples, row_bytes, workspace);
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

void load_first_image(scale_space& record, const AlignFrame& grey, filter_workspace& workspace) {
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
    std::copy_n(staging.samples, count, first_octave[0].samples);
    return;
  }
  filter(staging, first_octave[0], std::sqrt(target * target - present * present), workspace);
}

void build_scale_space(scale_space& record, filter_workspace& workspace) {
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
      filter(levels[l], levels[l + 1], sigma, workspace);
      sigma *= k;
    }
  }
}
