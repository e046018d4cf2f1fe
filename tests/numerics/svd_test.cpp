// Singular value decompositions: U S Vt rebuilds the input, the factors are
// orthonormal, and the shapes follow the economy rule.
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <random>

#include "numerics/svd.h"
#include "random_matrix.h"

namespace {

using test_support::random_matrix;

// The largest deviation of U S Vt from `a`, with k singular values.
template <class T>
double rebuild_error(const T* a, uint64_t m, uint64_t n, const T* u, uint64_t u_cols, const T* s, const T* vt, uint64_t k) {
  double worst = 0.0;
  for (uint64_t r = 0; r < m; ++r) {
    for (uint64_t c = 0; c < n; ++c) {
      double sum = 0.0;
      for (uint64_t i = 0; i < k; ++i) sum += double(u[r * u_cols + i]) * double(s[i]) * double(vt[i * n + c]);
      worst = std::max(worst, std::fabs(sum - double(a[r * n + c])));
    }
  }
  return worst;
}

// The largest deviation of the rows (or columns) of a matrix from an
// orthonormal set.
template <class T>
double orthonormality_error(const T* q, uint64_t rows, uint64_t cols, bool by_rows) {
  const uint64_t count = by_rows ? rows : cols, length = by_rows ? cols : rows;
  const auto at = [&](uint64_t vector, uint64_t i) { return double(by_rows ? q[vector * cols + i] : q[i * cols + vector]); };
  double worst = 0.0;
  for (uint64_t a = 0; a < count; ++a) {
    for (uint64_t b = 0; b < count; ++b) {
      double dot = 0.0;
      for (uint64_t i = 0; i < length; ++i) dot += at(a, i) * at(b, i);
      worst = std::max(worst, std::fabs(dot - (a == b ? 1.0 : 0.0)));
    }
  }
  return worst;
}

TEST(SvdFull, rebuilds_its_input_with_orthonormal_factors_in_both_forms_and_precisions) {
  for (const auto& [m, n] : {std::pair<uint64_t, uint64_t>{5, 3}, {3, 5}, {27, 9}, {4, 4}}) {
    const auto a = random_matrix<double>(m, n, static_cast<unsigned>(m * 10 + n), 2.0);
    const uint64_t k = std::min(m, n);
    for (const bool economy : {true, false}) {
      const svd_full<double> d(a, economy);
      ASSERT_FALSE(d.failed);
      EXPECT_EQ(economy ? k : m, d.u.cols);
      EXPECT_EQ(economy ? k : n, d.vt.rows);
      EXPECT_EQ(k, d.s.size);
      EXPECT_LT(rebuild_error(a.data, m, n, d.u.data, d.u.cols, d.s.data, d.vt.data, k), 1e-12);
      EXPECT_LT(orthonormality_error(d.u.data, m, d.u.cols, false), 1e-12);
      EXPECT_LT(orthonormality_error(d.vt.data, d.vt.rows, n, true), 1e-12);
      for (uint64_t i = 1; i < k; ++i) EXPECT_GE(d.s[i - 1], d.s[i]);
    }
    const auto af = random_matrix<float>(m, n, 3, 2.0);
    const svd_full<float> f(af);
    ASSERT_FALSE(f.failed);
    EXPECT_LT(rebuild_error(af.data, m, n, f.u.data, f.u.cols, f.s.data, f.vt.data, k), 1e-4);
  }
}

TEST(SvdRight, gives_the_right_vectors_and_values_of_the_full_decomposition) {
  const auto a = random_matrix<double>(27, 9, 8, 2.0);
  const svd_right<double> right(a);
  const svd_full<double> full(a);
  ASSERT_FALSE(right.failed);
  EXPECT_EQ((std::array<uint64_t, 3>{9, 9, 9}), (std::array{right.vt.rows, right.vt.cols, right.s.size}));
  for (uint64_t i = 0; i < 9; ++i) EXPECT_NEAR(full.s[i], right.s[i], 1e-12);
  const svd_right<double> three(random_matrix<double>(3, 3, 9, 2.0));
  EXPECT_EQ((std::array<uint64_t, 2>{3, 3}), (std::array{three.vt.rows, three.s.size}));
  const svd_right<float> single(random_matrix<float>(6, 4, 10, 2.0), false);
  EXPECT_EQ(4u, single.vt.rows);
}

TEST(SvdFixed, small_row_major_shapes_come_back_row_major) {
  const auto a3 = random_matrix<double>(3, 3, 11, 2.0);
  double u[9], s[3], vt[36];
  ASSERT_TRUE(svd_3x3(a3.data, u, s, vt));
  EXPECT_LT(rebuild_error(a3.data, 3, 3, u, 3, s, vt, 3), 1e-12);
  EXPECT_LT(orthonormality_error(vt, 3, 3, true), 1e-12);

  const auto a6 = random_matrix<double>(3, 6, 12, 2.0);
  ASSERT_TRUE(svd_3x6(a6.data, u, s, vt));
  EXPECT_LT(rebuild_error(a6.data, 3, 6, u, 3, s, vt, 3), 1e-12);
  EXPECT_LT(orthonormality_error(vt, 6, 6, true), 1e-12);
  EXPECT_LT(orthonormality_error(u, 3, 3, false), 1e-12);
}

TEST(SvdFull, a_matrix_without_columns_passes_through) {
  const svd_full<double> d(dense_matrix<double>(4, 0));
  EXPECT_FALSE(d.failed);
  EXPECT_EQ(0u, d.s.size);
}

}  // namespace
