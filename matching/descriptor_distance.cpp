#include "matching/descriptor_distance.h"

uint32_t descriptor_distance(const uint8_t* a, const uint8_t* b) {
  // Four partial sums over 32 steps of four bytes keep four independent
  // dependency chains for the processor.
  uint32_t sums[4] = {};
  for (std::size_t step = 0; step < descriptor_size; step += 4) {
    for (std::size_t lane = 0; lane < 4; ++lane) {
      const int difference = static_cast<int>(a[step + lane]) - static_cast<int>(b[step + lane]);
      sums[lane] += static_cast<uint32_t>(difference < 0 ? -difference : difference);
    }
  }
  return (sums[0] + sums[1]) + (sums[2] + sums[3]);
}
