// Container sizes that come from counts (frames minus one, feature totals)
// are checked before use, so that a count that has wrapped around fails the
// same way everywhere: std::length_error with "vector<T> too long".
#pragma once

#include <cstddef>
#include <stdexcept>
#include <vector>

namespace host {

template <class T>
std::size_t checked_length(std::size_t length) {
  if (length > std::vector<T>().max_size()) throw std::length_error("vector<T> too long");
  return length;
}

}  // namespace host
