#include "geometry/random_shuffle_indices.h"

#include <cstdint>
#include <utility>

#include "platform/rand_15_bits.h"

namespace {

// A random value whose reach covers `m`.
uint32_t random_covering(std::size_t m) {
  uint32_t r = rand_15_bits();
  if (m <= rand_15_bits_max) return r;
  for (uint32_t limit = rand_15_bits_max; limit < m && limit != 0xFFFFFFFF;) {
    r = (r << 15) | rand_15_bits();
    limit = (limit << 15) | rand_15_bits_max;
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
