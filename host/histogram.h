// Histogram of an 8-bit plane (the host's filt 130).
#pragma once

#include <cstdint>

namespace host {

// Adds every sample of the plane to counters[sample]; the caller zeroes the
// 256 counters.
void histogram(const uint8_t* samples, int32_t rows, int32_t columns, int32_t row_bytes,
               uint64_t* counters);

}  // namespace host
