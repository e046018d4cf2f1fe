// Transposition of a row-major matrix in its own storage.
#pragma once

#include <cstdint>
#include <utility>

#include "numerics/dense_matrix.h"

// Walks the cycles of the index map i -> (i mod cols) rows + i div cols,
// moving each element once along its cycle, so no second buffer is needed;
// then swaps the stored sizes. A single row or column only swaps the sizes.
template <class T>
void transpose_in_place(T* data, uint64_t& rows, uint64_t& cols) {
  if (rows > 1 && cols > 1) {
    const uint64_t last = rows * cols - 1;
    const auto next = [&](uint64_t i) { return i == last ? last : (i % cols) * rows + i / cols; };
    for (uint64_t start = 1; start < last; ++start) {
      // Move each cycle once, from its smallest index.
      uint64_t i = next(start);
      while (i > start) i = next(i);
      if (i < start) continue;
      T carried = data[start];
      for (uint64_t j = next(start); j != start; j = next(j)) std::swap(carried, data[j]);
      data[start] = carried;
    }
  }
  std::swap(rows, cols);
}

template <class Matrix>
void transpose_in_place(Matrix& matrix) {
  transpose_in_place(matrix.data, matrix.rows, matrix.cols);
}
