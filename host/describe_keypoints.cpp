// Keypoint descriptors after Lowe (IJCV 2004), section 6: a 4 x 4 grid of
// 8-bin gradient orientation histograms around the keypoint, turned to its
// orientation.
#include <algorithm>
#include <cmath>
#include <vector>

#include "host/descriptor_histogram.h"
#include "host/keypoint_jobs.h"
#include "host/octave_planes.h"
#include "platform/progress.h"
#include "records/frame_features.h"
#include "records/scale_space.h"

namespace host {
namespace {

constexpr int grid = descriptor_grid;
constexpr int orientation_bins = descriptor_bins;
constexpr float quantisation = 512.0f;  // a normalised element of 0.5 is byte 255

void gradient_histogram(const octave_planes& planes, const scale_space& record, const sift_keypoint& keypoint,
                        descriptor_histogram& histogram) {
  const auto level_index = static_cast<std::size_t>(std::clamp<long>(std::lround(keypoint.level), 0,
                                                                      static_cast<long>(record.levels_per_octave + 2)));
  const float_image& plane = planes.level(level_index);
  const float cell = record.descriptor_window_factor * planes.sigma_at(keypoint.level);
  // Far enough to reach every sample of the turned 4 x 4 grid and the
  // interpolation's half cell beyond it.
  const auto radius = static_cast<int64_t>(std::lround(cell * 1.41421356f * (grid + 1) * 0.5f));
  const float cos_t = std::cos(keypoint.angle) / cell, sin_t = std::sin(keypoint.angle) / cell;
  // The Gaussian window has half the grid's width as its sigma, in cells.
  const gaussian_profile profile(radius, -1.0f / (2.0f * (0.5f * grid) * (0.5f * grid) * cell * cell));
  const int64_t cx = std::lround(keypoint.x), cy = std::lround(keypoint.y);
  const float dx0 = static_cast<float>(cx) - keypoint.x, dy0 = static_cast<float>(cy) - keypoint.y;

  // Only the samples of a row whose turned position can fall in the grid:
  // where |u| and |v| stay below half the grid plus the interpolation's
  // reach.
  const auto span = [&](int64_t j) {
    const float oy = static_cast<float>(j) + dy0;
    float low = -static_cast<float>(radius), high = static_cast<float>(radius);
    const auto clip = [&](float slope, float offset) {  // |slope * ox + offset| < reach
      constexpr float reach = 0.5f * grid + 0.5f;
      if (slope == 0.0f) {
        if (std::fabs(offset) >= reach) high = low - 1.0f;
        return;
      }
      const float a = (-reach - offset) / slope, b = (reach - offset) / slope;
      low = std::max(low, std::min(a, b));
      high = std::min(high, std::max(a, b));
    };
    clip(cos_t, sin_t * oy);
    clip(-sin_t, cos_t * oy);
    return std::pair<int64_t, int64_t>(static_cast<int64_t>(std::floor(low - dx0)),
                                       static_cast<int64_t>(std::ceil(high - dx0)));
  };
  const descriptor_frame frame{cos_t, sin_t, dx0, dy0, keypoint.angle};
  alignas(32) float column_weights[gradient_chunk];
  const auto add_row = [&](int64_t i0, int64_t j, const float* magnitude, const float* direction,
                           std::size_t count) {
    for (std::size_t k = 0; k < count; ++k) column_weights[k] = profile(i0 + static_cast<int64_t>(k));
    add_histogram_row(magnitude, direction, column_weights, count, i0, j, profile(j), frame, histogram);
  };
  for_each_gradient_row(plane, cx, cy, radius, span, add_row);
}

// Normalised, clipped against single large gradients, normalised again.
void quantise(const descriptor_histogram& histogram, float clip, uint8_t* descriptor) {
  float values[grid * grid * orientation_bins];
  float* out = values;
  for (int r = 1; r <= grid; ++r) {
    for (int c = 1; c <= grid; ++c) {
      const float* cell = histogram[r][c];
      out[0] = cell[0] + cell[orientation_bins];
      std::copy(cell + 1, cell + orientation_bins, out + 1);
      out += orientation_bins;
    }
  }
  const auto normalise = [&] {
    float sum = 0.0f;
    for (const float value : values) sum += value * value;
    const float norm = std::sqrt(sum);
    if (norm > 0.0f) {
      for (float& value : values) value /= norm;
    }
  };
  normalise();
  for (float& value : values) value = std::min(value, clip);
  normalise();
  for (int i = 0; i < grid * grid * orientation_bins; ++i) {
    descriptor[i] = static_cast<uint8_t>(std::min(255.0f, quantisation * values[i]));
  }
}

void describe(const scale_space& record, uint64_t octave, const sift_keypoint& keypoint, feature_record& out) {
  const float scale = std::ldexp(1.0f, static_cast<int>(octave));
  out.x = static_cast<double>(keypoint.x) * scale;
  out.y = static_cast<double>(keypoint.y) * scale;
  out.detector_data[0] = static_cast<double>(octave);
  out.detector_data[1] = keypoint.level;
  const octave_planes planes(record, octave);
  out.detector_data[2] = static_cast<double>(planes.sigma_at(keypoint.level)) * scale;
  out.detector_data[3] = keypoint.angle;
  out.detector_data[4] = 0.0;
  descriptor_histogram histogram{};
  gradient_histogram(planes, record, keypoint, histogram);
  quantise(histogram, record.descriptor_clip, out.descriptor);
}

// The features of one octave's keypoints, from `out` on. Every keypoint is
// worked on its own and written to its own record, so any division of the
// work gives the same features.
void describe_octave(const scale_space& record, std::size_t octave, feature_record* out) {
  const auto& keypoints = record.keypoints[octave];
  const auto count = static_cast<std::ptrdiff_t>(keypoints.size());
#pragma omp parallel for schedule(dynamic, 32)
  for (std::ptrdiff_t k = 0; k < count; ++k) {
    const auto index = static_cast<std::size_t>(k);
    describe(record, octave, keypoints[index], out[index]);
  }
}

}  // namespace

void describe_keypoints(std::vector<scale_space>* batch, feature_record* const* features) {
  for (std::size_t r = 0; r < batch->size(); ++r) {
    const scale_space& record = (*batch)[r];
    feature_record* out = features[r];
    if (!out) continue;
    for (std::size_t o = 0; o < record.keypoints.size(); ++o) {
      describe_octave(record, o, out);
      out += record.keypoints[o].size();
    }
  }
  advance_progress(batch->size());
}

}  // namespace host
