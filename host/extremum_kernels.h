// The search for extrema of differences of Gaussians over 3 x 3 x 3
// neighbourhoods, one row at a time: the detector's scan of every sample.
#pragma once

#include <cstddef>
#include <cstdint>

namespace host {

// Writes to `found` the columns x, 1 <= x <= width - 2, of row y (an inner
// row) where |here| exceeds `threshold` and is strictly above all 26
// neighbours in the planes below, here and above (or strictly below all of
// them); returns how many. `found` has room for width entries. The vector
// kernel and the portable one give the same columns.
std::size_t extrema_in_row(const float* below, const float* here, const float* above, std::size_t width,
                           std::size_t y, float threshold, uint32_t* found);
std::size_t extrema_in_row_portable(const float* below, const float* here, const float* above, std::size_t width,
                                    std::size_t y, float threshold, uint32_t* found);

}  // namespace host
