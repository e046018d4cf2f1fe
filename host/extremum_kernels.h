// The search for extrema of differences of Gaussians over 3 x 3 x 3
// neighbourhoods, one row at a time: the detector's scan of every sample.
#pragma once

#include <cstddef>
#include <cstdint>

namespace host {

// The columns of one stretch of a row to search: first <= x < end.
struct column_span {
  std::size_t first;
  std::size_t end;
};

// Writes to `found`, in ascending order, the columns x of `span` with
// 1 <= x <= width - 2, of row y (an inner row), where |here| exceeds
// `threshold` and is strictly above all 26 neighbours in the planes below,
// here and above (or strictly below all of them); returns how many. `found`
// has room for the span's columns. The vector kernel and the portable one
// give the same columns.
std::size_t extrema_in_row(const float* below, const float* here, const float* above, std::size_t width,
                           std::size_t y, column_span span, float threshold, uint32_t* found);
std::size_t extrema_in_row_portable(const float* below, const float* here, const float* above, std::size_t width,
                                    std::size_t y, column_span span, float threshold, uint32_t* found);

}  // namespace host
