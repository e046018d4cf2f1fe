// Triangular tables over the pairs of n frames. Row i (0 to n - 2) holds the
// pairs (i, j), j > i, at position j - i - 1. The match records and every
// pair result of the later stages share this addressing.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "records/vector_length.h"

template <class Element>
using pair_table = std::vector<std::vector<Element>>;

// A table of n - 1 empty rows, filled by appending in pair order. With no
// frames the row count wraps around and the table refuses with
// std::length_error, which is how a run with too few usable frames ends.
template <class Element>
pair_table<Element> make_pair_table(uint64_t frame_count) {
  pair_table<Element> table;
  table.resize(host::checked_length<std::vector<Element>>(frame_count - 1));
  return table;
}

constexpr std::size_t pair_position(std::size_t i, std::size_t j) { return j - i - 1; }
