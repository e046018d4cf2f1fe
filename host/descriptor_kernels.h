// L1 distances of 128-byte descriptors: the all-pairs matcher's inner loop.
#pragma once

#include <cstddef>
#include <cstdint>

namespace host {

// filt 188: the sum over the 128 bytes of |a - b|.
uint32_t descriptor_distance(const uint8_t* a, const uint8_t* b);
uint32_t descriptor_distance_portable(const uint8_t* a, const uint8_t* b);

// The smallest of `count` distances, the first position holding it, and
// the smallest of all the others (equal to the smallest on a tie). The
// value 0xFFFFFFFF stands for no distance: position `count` when every
// entry is no distance.
struct nearest_two {
  uint32_t best;
  uint32_t second;
  std::size_t position;
};

// The distance table of a pair, in 16 bits: every distance fits (the
// largest is 32640), so the value 0xFFFF is free to mark an entry that takes
// no part in a scan, and a table is half as large as in 32 bits.
inline constexpr uint16_t no_table_distance = 0xFFFF;

// The distances of all `count_a` descriptors packed from `a` to all
// `count_b` packed from `b`, twice: `by_a` row by row (row i holds the
// distances of a[i] to every b[k]) and `by_b` its transposition. The vector
// kernel takes blocks of four descriptors of `a` by two of `b`, so that the
// loads of each are shared among the others.
void distance_tables(const uint8_t* a, std::size_t count_a, const uint8_t* b, std::size_t count_b, uint16_t* by_a,
                     uint16_t* by_b);
void distance_tables_portable(const uint8_t* a, std::size_t count_a, const uint8_t* b, std::size_t count_b,
                              uint16_t* by_a, uint16_t* by_b);

// The two smallest entries of a row of a table: the marked entries are no
// distance, and the results are widened to 32 bits (0xFFFF to 0xFFFFFFFF).
nearest_two two_smallest(const uint16_t* distances, std::size_t count);
nearest_two two_smallest_portable(const uint16_t* distances, std::size_t count);

// The smallest entry of a row of a table, widened the same way.
uint32_t smallest(const uint16_t* distances, std::size_t count);
uint32_t smallest_portable(const uint16_t* distances, std::size_t count);

}  // namespace host
