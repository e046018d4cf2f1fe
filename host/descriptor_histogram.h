// The accumulation of a keypoint descriptor's gradient histogram: the
// descriptor job's hottest loop, one row of window samples at a time.
#pragma once

#include <cstddef>
#include <cstdint>

namespace host {

inline constexpr int descriptor_grid = 4;  // cells per side
inline constexpr int descriptor_bins = 8;  // orientation bins per cell

// The histogram with a margin: one cell on every side and one orientation
// bin past the last, so that interpolation writes without bounds checks.
// The margins are dropped and the extra bin folded onto the first when the
// descriptor is read out.
using descriptor_histogram = float[descriptor_grid + 2][descriptor_grid + 2][descriptor_bins + 1];

// The keypoint's grid in the samples of its level: a sample at offsets
// (i, j) from the rounded centre lies at (i + dx0, j + dy0) from the
// keypoint, and turns into cell units through cos_t and sin_t (the
// orientation's cosine and sine over the cell width).
struct descriptor_frame {
  float cos_t;
  float sin_t;
  float dx0;
  float dy0;
  float angle;  // the keypoint's orientation, radians
};

// Adds the samples i = i0 to i0 + count - 1 of row j, with their gradient
// magnitudes and directions, weighted by magnitude * column_weights[k] *
// row_weight, to the histogram: every sample whose turned position falls
// within the grid's reach is shared trilinearly between the two nearest
// cells in each direction and the two nearest orientation bins. Samples
// are added in order, each with the same float operations in both kernels,
// so the vector kernel (eight samples at a time) gives the portable one's
// bits.
void add_histogram_row(const float* magnitude, const float* direction, const float* column_weights,
                       std::size_t count, int64_t i0, int64_t j, float row_weight, const descriptor_frame& frame,
                       descriptor_histogram& histogram);
void add_histogram_row_portable(const float* magnitude, const float* direction, const float* column_weights,
                                std::size_t count, int64_t i0, int64_t j, float row_weight,
                                const descriptor_frame& frame, descriptor_histogram& histogram);

}  // namespace host
