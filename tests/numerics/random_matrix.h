// Matrices of uniform random entries for the decomposition and solve tests.
#pragma once

#include <random>

#include "numerics/dense_matrix.h"

namespace test_support {

template <class T>
dense_matrix<T> random_matrix(uint64_t rows, uint64_t cols, unsigned seed, double bound = 1.0) {
  std::mt19937 generator(seed);
  std::uniform_real_distribution<double> value(-bound, bound);
  dense_matrix<T> m(rows, cols);
  for (uint64_t i = 0; i < rows * cols; ++i) m.data[i] = static_cast<T>(value(generator));
  return m;
}

}  // namespace test_support
