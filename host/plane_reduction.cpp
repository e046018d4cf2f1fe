#include "host/plane_reduction.h"

#include <cstddef>

namespace host {

void reduce_plane(const uint8_t* source, uint8_t* destination, int32_t rows, int32_t columns,
                  int32_t source_row_bytes, int32_t source_step, int32_t destination_row_bytes,
                  int32_t destination_step, int32_t row_factor, int32_t column_factor) {
  if (row_factor < 1 || column_factor < 1 || rows < 1 || columns < 1) return;
  const uint32_t area = static_cast<uint32_t>(row_factor) * static_cast<uint32_t>(column_factor);
  const std::ptrdiff_t block_row = static_cast<std::ptrdiff_t>(row_factor) * source_row_bytes;
  const std::ptrdiff_t block_column = static_cast<std::ptrdiff_t>(column_factor) * source_step;

#pragma omp parallel for schedule(static) if (static_cast<int64_t>(rows) * columns > (1 << 18))
  for (int32_t y = 0; y < rows; ++y) {
    const uint8_t* block = source + y * block_row;
    uint8_t* out = destination + static_cast<std::ptrdiff_t>(y) * destination_row_bytes;
    for (int32_t x = 0; x < columns; ++x, block += block_column, out += destination_step) {
      uint32_t sum = 0;
      for (int32_t r = 0; r < row_factor; ++r) {
        const uint8_t* sample = block + static_cast<std::ptrdiff_t>(r) * source_row_bytes;
        for (int32_t c = 0; c < column_factor; ++c, sample += source_step) sum += *sample;
      }
      *out = static_cast<uint8_t>((sum + area / 2) / area);
    }
  }
}

}  // namespace host
