// The layout of a vector inside the records that cross into host jobs: three
// pointers in a slot of 32 bytes.
#pragma once

#include <cstdint>
#include <vector>

template <class T>
struct vector_slot : std::vector<T> {
  using std::vector<T>::vector;
  uint64_t unused = 0;
};

static_assert(sizeof(vector_slot<int>) == 32);
