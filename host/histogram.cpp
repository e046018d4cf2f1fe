#include "host/histogram.h"

#include <array>
#include <cstddef>

namespace host {

void histogram(const uint8_t* samples, int32_t rows, int32_t columns, int32_t row_bytes,
               uint64_t* counters) {
  if (rows < 1 || columns < 1) return;
  // Four interleaved tables keep runs of equal samples from serialising on
  // one counter.
  std::array<std::array<uint64_t, 256>, 4> partial{};
  for (int32_t y = 0; y < rows; ++y) {
    const uint8_t* row = samples + static_cast<std::ptrdiff_t>(y) * row_bytes;
    int32_t x = 0;
    for (; x + 4 <= columns; x += 4) {
      ++partial[0][row[x]];
      ++partial[1][row[x + 1]];
      ++partial[2][row[x + 2]];
      ++partial[3][row[x + 3]];
    }
    for (; x < columns; ++x) ++partial[0][row[x]];
  }
  for (std::size_t level = 0; level < 256; ++level) {
    counters[level] += partial[0][level] + partial[1][level] + partial[2][level] + partial[3][level];
  }
}

}  // namespace host
