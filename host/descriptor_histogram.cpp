#include "host/descriptor_histogram.h"

#include <immintrin.h>

#include <algorithm>

#include "host/cpu_support.h"
#include "host/octave_planes.h"

namespace host {
namespace {

constexpr float grid_middle = 0.5f * (descriptor_grid - 1);  // the grid's centre in cell units
constexpr float grid_end = descriptor_grid;
constexpr float bins_per_radian = descriptor_bins / two_pi;
constexpr std::size_t lanes = 8;

// Adds `weight` at the fractional cell (row, column) in (-1, grid) and
// orientation bin in [0, bins), shared between the eight nearest bins.
void add_trilinear(descriptor_histogram& histogram, float row, float column, float bin, float weight) {
  // row + 1 and column + 1 are positive: truncation is the floor. Adding 1
  // can round a value just below the grid's end up onto it.
  const int r = std::min(static_cast<int>(row + 1.0f), descriptor_grid);
  const int c = std::min(static_cast<int>(column + 1.0f), descriptor_grid);
  const int o = std::min(static_cast<int>(bin), descriptor_bins - 1);  // a bin of 8.0 by rounding
  const float dr = row + 1.0f - static_cast<float>(r), dc = column + 1.0f - static_cast<float>(c);
  const float dor = bin - static_cast<float>(o);
  for (int a = 0; a < 2; ++a) {
    const float wr = weight * (a ? dr : 1.0f - dr);
    for (int b = 0; b < 2; ++b) {
      const float wc = wr * (b ? dc : 1.0f - dc);
      float* cell = histogram[r + a][c + b];
      cell[o] += wc * (1.0f - dor);
      cell[o + 1] += wc * dor;
    }
  }
}

// wrap_angle, lane by lane.
__attribute__((target("avx2"))) inline __m256 wrap_angles(__m256 angle) {
  const __m256 zero = _mm256_setzero_ps(), full = _mm256_set1_ps(two_pi);
  angle = _mm256_blendv_ps(angle, _mm256_add_ps(angle, full), _mm256_cmp_ps(angle, zero, _CMP_LT_OQ));
  angle = _mm256_blendv_ps(angle, _mm256_sub_ps(angle, full), _mm256_cmp_ps(angle, full, _CMP_GE_OQ));
  const __m256 outside = _mm256_or_ps(_mm256_cmp_ps(angle, full, _CMP_GE_OQ), _mm256_cmp_ps(angle, zero, _CMP_LT_OQ));
  return _mm256_blendv_ps(angle, zero, outside);
}

// Steps in the histogram's floats between neighbouring rows and columns of
// cells.
constexpr int32_t row_step = (descriptor_grid + 2) * (descriptor_bins + 1);
constexpr int32_t column_step = descriptor_bins + 1;

// What add_trilinear adds for eight samples: where bin o of cell (r, c)
// lies, and the two contributions to each of the four cells, in
// add_trilinear's order.
struct lane_contributions {
  alignas(32) int32_t first[lanes];
  alignas(32) float share[4][2][lanes];  // cell (a, b) as 2 a + b; bins o and o + 1
};

// Eight samples of the row from magnitude, direction and column_weights
// on; `first` is the offset i of the first. Returns the mask of the
// samples inside the grid's reach.
__attribute__((target("avx2"))) int contributions_avx2(const float* magnitude, const float* direction,
                                                       const float* column_weights, int64_t first, float oy,
                                                       float row_weight, const descriptor_frame& frame,
                                                       lane_contributions& out) {
  const __m256 one = _mm256_set1_ps(1.0f);
  const __m256i offsets = _mm256_add_epi32(_mm256_set1_epi32(static_cast<int32_t>(first)),
                                           _mm256_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7));
  const __m256 ox = _mm256_add_ps(_mm256_cvtepi32_ps(offsets), _mm256_set1_ps(frame.dx0));
  const __m256 oy8 = _mm256_set1_ps(oy);
  const __m256 u = _mm256_add_ps(_mm256_mul_ps(_mm256_set1_ps(frame.cos_t), ox),
                                 _mm256_mul_ps(_mm256_set1_ps(frame.sin_t), oy8));
  const __m256 v = _mm256_add_ps(_mm256_mul_ps(_mm256_set1_ps(-frame.sin_t), ox),
                                 _mm256_mul_ps(_mm256_set1_ps(frame.cos_t), oy8));
  const __m256 column = _mm256_add_ps(u, _mm256_set1_ps(grid_middle));
  const __m256 row = _mm256_add_ps(v, _mm256_set1_ps(grid_middle));
  const __m256 low = _mm256_set1_ps(-1.0f), high = _mm256_set1_ps(grid_end);
  const __m256 outside = _mm256_or_ps(
      _mm256_or_ps(_mm256_cmp_ps(row, low, _CMP_LE_OQ), _mm256_cmp_ps(row, high, _CMP_GE_OQ)),
      _mm256_or_ps(_mm256_cmp_ps(column, low, _CMP_LE_OQ), _mm256_cmp_ps(column, high, _CMP_GE_OQ)));
  const int inside = ~_mm256_movemask_ps(outside) & 0xFF;
  if (inside == 0) return 0;

  const __m256 turned = wrap_angles(_mm256_sub_ps(_mm256_loadu_ps(direction), _mm256_set1_ps(frame.angle)));
  const __m256 bin = _mm256_mul_ps(turned, _mm256_set1_ps(bins_per_radian));
  const __m256 weight = _mm256_mul_ps(_mm256_mul_ps(_mm256_loadu_ps(magnitude), _mm256_loadu_ps(column_weights)),
                                      _mm256_set1_ps(row_weight));

  const __m256 row1 = _mm256_add_ps(row, one), column1 = _mm256_add_ps(column, one);
  const __m256i r = _mm256_min_epi32(_mm256_cvttps_epi32(row1), _mm256_set1_epi32(descriptor_grid));
  const __m256i c = _mm256_min_epi32(_mm256_cvttps_epi32(column1), _mm256_set1_epi32(descriptor_grid));
  const __m256i o = _mm256_min_epi32(_mm256_cvttps_epi32(bin), _mm256_set1_epi32(descriptor_bins - 1));
  const __m256 dr = _mm256_sub_ps(row1, _mm256_cvtepi32_ps(r));
  const __m256 dc = _mm256_sub_ps(column1, _mm256_cvtepi32_ps(c));
  const __m256 dor = _mm256_sub_ps(bin, _mm256_cvtepi32_ps(o));
  const __m256 row_shares[2] = {_mm256_sub_ps(one, dr), dr};
  const __m256 column_shares[2] = {_mm256_sub_ps(one, dc), dc};
  const __m256 bin_low = _mm256_sub_ps(one, dor);
  for (int a = 0; a < 2; ++a) {
    const __m256 wr = _mm256_mul_ps(weight, row_shares[a]);
    for (int b = 0; b < 2; ++b) {
      const __m256 wc = _mm256_mul_ps(wr, column_shares[b]);
      _mm256_store_ps(out.share[2 * a + b][0], _mm256_mul_ps(wc, bin_low));
      _mm256_store_ps(out.share[2 * a + b][1], _mm256_mul_ps(wc, dor));
    }
  }
  const __m256i cell = _mm256_add_epi32(_mm256_mullo_epi32(r, _mm256_set1_epi32(row_step)),
                                        _mm256_mullo_epi32(c, _mm256_set1_epi32(column_step)));
  _mm256_store_si256(reinterpret_cast<__m256i*>(out.first), _mm256_add_epi32(cell, o));
  return inside;
}

// The histogram adds of the samples in `inside`, sample after sample.
void add_contributions(const lane_contributions& in, int inside, descriptor_histogram& histogram) {
  for (; inside != 0; inside &= inside - 1) {
    const int k = __builtin_ctz(static_cast<unsigned>(inside));
    float* const bins = &histogram[0][0][0] + in.first[k];
    for (int a = 0; a < 2; ++a) {
      for (int b = 0; b < 2; ++b) {
        float* cell = bins + a * row_step + b * column_step;
        cell[0] += in.share[2 * a + b][0][k];
        cell[1] += in.share[2 * a + b][1][k];
      }
    }
  }
}

__attribute__((target("avx2"))) void add_histogram_row_avx2(const float* magnitude, const float* direction,
                                                            const float* column_weights, std::size_t count,
                                                            int64_t i0, int64_t j, float row_weight,
                                                            const descriptor_frame& frame,
                                                            descriptor_histogram& histogram) {
  const float oy = static_cast<float>(j) + frame.dy0;
  lane_contributions contributions;
  std::size_t k = 0;
  for (; k + lanes <= count; k += lanes) {
    const int inside = contributions_avx2(magnitude + k, direction + k, column_weights + k,
                                          i0 + static_cast<int64_t>(k), oy, row_weight, frame, contributions);
    add_contributions(contributions, inside, histogram);
  }
  if (k == count) return;
  // The last samples through the same lanes, the unused ones held outside.
  const std::size_t left = count - k;
  float m[lanes] = {}, d[lanes] = {}, w[lanes] = {};
  std::copy_n(magnitude + k, left, m);
  std::copy_n(direction + k, left, d);
  std::copy_n(column_weights + k, left, w);
  const int inside = contributions_avx2(m, d, w, i0 + static_cast<int64_t>(k), oy, row_weight, frame, contributions);
  add_contributions(contributions, inside & ((1 << left) - 1), histogram);
}

}  // namespace

void add_histogram_row_portable(const float* magnitude, const float* direction, const float* column_weights,
                                std::size_t count, int64_t i0, int64_t j, float row_weight,
                                const descriptor_frame& frame, descriptor_histogram& histogram) {
  const float oy = static_cast<float>(j) + frame.dy0;
  for (std::size_t k = 0; k < count; ++k) {
    const float ox = static_cast<float>(i0 + static_cast<int64_t>(k)) + frame.dx0;
    // Cell units along and across the keypoint's orientation.
    const float u = frame.cos_t * ox + frame.sin_t * oy;
    const float v = -frame.sin_t * ox + frame.cos_t * oy;
    const float column = u + grid_middle, row = v + grid_middle;
    if (row <= -1.0f || row >= grid_end || column <= -1.0f || column >= grid_end) continue;
    const float turned = wrap_angle(direction[k] - frame.angle);
    add_trilinear(histogram, row, column, turned * bins_per_radian, magnitude[k] * column_weights[k] * row_weight);
  }
}

void add_histogram_row(const float* magnitude, const float* direction, const float* column_weights,
                       std::size_t count, int64_t i0, int64_t j, float row_weight, const descriptor_frame& frame,
                       descriptor_histogram& histogram) {
  if (cpu_has_avx2()) {
    add_histogram_row_avx2(magnitude, direction, column_weights, count, i0, j, row_weight, frame, histogram);
  } else {
    add_histogram_row_portable(magnitude, direction, column_weights, count, i0, j, row_weight, frame, histogram);
  }
}

}  // namespace host
