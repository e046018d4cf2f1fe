#include "matching/random_shuffle_indices.h"

#include <cstdint>
#include <cstdlib>
#include <utility>

namespace {

constexpr uint32_t rand_bits_mask = 0x7FFF;

uint32_t rand_15_bits() { return static_cast<uint32_t>(std::rand()) & rand_bits_mask; }

// A random value whose reach covers `m`.
uint32_t random_covering(std::size_t m) {
  uint32_t r = rand_15_bits();
  if (m < 32768) return r;
  for (uint32_t limit = rand_bits_mask; limit < m && limit != 0xFFFFFFFF;) {
    r = (r << 15) | rand_15_bits();
    limit = (limit << 15) | rand_bits_mask;
  }
  return r;
}

}  // namespace

void random_shuffle_indices(std::vector<std::size_t>& array) {
  for (std::size_t p = 1; p < array.size(); ++p) {
    const std::size_t m = p + 1;
    std::swap(array[p], array[random_covering(m) % m]);
  }
}
