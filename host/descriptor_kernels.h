// L1 distances of 128-byte descriptors: the all-pairs matcher's inner loop.
#pragma once

#include <cstddef>
#include <cstdint>

namespace host {

// filt 188: the sum over the 128 bytes of |a - b|.
uint32_t descriptor_distance(const uint8_t* a, const uint8_t* b);
uint32_t descriptor_distance_portable(const uint8_t* a, const uint8_t* b);

// The distances from `query` to `count` descriptors packed from
// `candidates` on. The vector kernels take four candidates a step and give
// the portable loop's sums.
void distances_to_block(const uint8_t* query, const uint8_t* candidates, std::size_t count, uint32_t* distances);
void distances_to_block_portable(const uint8_t* query, const uint8_t* candidates, std::size_t count,
                                 uint32_t* distances);

// The smallest of `count` distances, the first position holding it, and
// the smallest of all the others (equal to the smallest on a tie). The
// value 0xFFFFFFFF stands for no distance: position `count` when every
// entry holds it.
struct nearest_two {
  uint32_t best;
  uint32_t second;
  std::size_t position;
};

nearest_two two_smallest(const uint32_t* distances, std::size_t count);
nearest_two two_smallest_portable(const uint32_t* distances, std::size_t count);

}  // namespace host
