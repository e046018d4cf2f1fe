// Separable filtering of a float plane with edge replication: a horizontal
// pass into the destination, then a vertical pass over the destination in
// place.
#pragma once

#include <cstddef>

#include "features/filter_workspace.h"

// `source` and `destination` have `width` x `height` samples; row steps are
// in bytes. `half` is taps / 2. Kernels of 2 to 17 taps run through the
// host's row kernels and transposition, others through plain loops; both
// roads compute the same sums. No taps give sums of nothing: zeros. The
// host road works in `workspace`.
void separable_filter(const float* source, std::size_t width, std::size_t height, std::size_t source_row_bytes,
                      const float* taps, std::size_t tap_count, std::size_t half, float* destination,
                      std::size_t destination_row_bytes, filter_workspace& workspace);

// The plain road alone, for any tap count.
void separable_filter_plain(const float* source, std::size_t width, std::size_t height,
                            std::size_t source_row_bytes, const float* taps, std::size_t tap_count,
                            std::size_t half, float* destination, std::size_t destination_row_bytes);
