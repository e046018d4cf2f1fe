// One factorisation, many right sides: every solution and rank to the last
// bit those of solve_minimum_norm (dgelss), on general, symmetric,
// rank-deficient, zero and badly scaled matrices, with sides that follow
// from the previous solution as the damped solver's do.
#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <vector>

#include "numerics/dense_matrix.h"
#include "numerics/linear_solve.h"
#include "numerics/minimum_norm_factor.h"
#include "random_matrix.h"

namespace {

using test_support::random_matrix;

// A^T A + shift I of a `rows` x n random A: symmetric, and of rank `rows`
// when rows < n and shift is 0, as a reduced camera system can be.
dense_matrix<double> normal_matrix(uint64_t n, uint64_t rows, unsigned seed, double shift) {
  const dense_matrix<double> a = random_matrix<double>(rows, n, seed);
  dense_matrix<double> result(n, n);
  for (uint64_t r = 0; r < n; ++r) {
    for (uint64_t c = 0; c < n; ++c) {
      double sum = r == c ? shift : 0.0;
      for (uint64_t k = 0; k < rows; ++k) sum += a(k, r) * a(k, c);
      result(r, c) = sum;
    }
  }
  return result;
}

dense_matrix<double> scaled(dense_matrix<double> m, double factor) {
  for (uint64_t i = 0; i < m.rows * m.cols; ++i) m.data[i] *= factor;
  return m;
}

// The sides: random ones, a zero one, tiny and huge ones, and then each
// next one built from the last solution.
void expect_the_bits_of_dgelss(const dense_matrix<double>& a, unsigned seed, const char* what) {
  const uint64_t n = a.rows;
  minimum_norm_factor factor;
  ASSERT_TRUE(factor.factor(a.data, n)) << what;
  std::mt19937 generator(seed);
  std::uniform_real_distribution<double> value(-1.0, 1.0);
  std::vector<double> side(n), previous(n, 0.0);
  for (int trial = 0; trial < 9; ++trial) {
    for (uint64_t i = 0; i < n; ++i) {
      side[i] = trial == 1   ? 0.0
                : trial == 2 ? value(generator) * 1e-300
                : trial == 3 ? value(generator) * 1e300
                : trial >= 5 ? (1.0 + i % 3) * previous[i]
                             : value(generator);
    }
    dense_vector<double> b(n), expected(n);
    std::copy(side.begin(), side.end(), b.data);
    int rank = -1;
    const matrix_view<const double> view{n, n, a.data};
    ASSERT_TRUE(solve_minimum_norm(view, b, expected, -1.0, rank)) << what;
    std::vector<double> found(n);
    ASSERT_TRUE(factor.solve(side.data(), found.data())) << what;
    EXPECT_EQ(rank, factor.rank()) << what << ", side " << trial;
    ASSERT_EQ(0, std::memcmp(expected.data, found.data(), n * sizeof(double))) << what << ", side " << trial;
    previous = found;
  }
}

TEST(MinimumNormFactor, every_side_gets_the_bits_of_dgelss) {
  for (const uint64_t n : {1u, 2u, 3u, 5u, 8u, 17u, 40u, 97u}) {
    const auto seed = static_cast<unsigned>(n);
    expect_the_bits_of_dgelss(random_matrix<double>(n, n, seed), seed, "general");
    expect_the_bits_of_dgelss(normal_matrix(n, n + 3, seed, 0.5), seed, "symmetric");
    expect_the_bits_of_dgelss(normal_matrix(n, n / 2 + 1, seed, 0.0), seed, "rank-deficient");
    expect_the_bits_of_dgelss(scaled(normal_matrix(n, n, seed, 1e-3), 1e-300), seed, "tiny");
    expect_the_bits_of_dgelss(scaled(random_matrix<double>(n, n, seed), 1e300), seed, "huge");
    expect_the_bits_of_dgelss(dense_matrix<double>(n, n), seed, "zero");
  }
}

}  // namespace
