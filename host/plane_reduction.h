// Reduction of an 8-bit plane by integer factors (the host's rsmp 24).
#pragma once

#include <cstdint>

namespace host {

// Each destination sample is the rounded mean of its row_factor by
// column_factor block of source samples; steps are in samples, row bytes in
// bytes. Factors below 1 write nothing.
void reduce_plane(const uint8_t* source, uint8_t* destination, int32_t rows, int32_t columns,
                  int32_t source_row_bytes, int32_t source_step, int32_t destination_row_bytes,
                  int32_t destination_step, int32_t row_factor, int32_t column_factor);

}  // namespace host
