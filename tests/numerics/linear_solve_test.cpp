// The solve family over LAPACK: each solution satisfies its system, inputs
// stay unchanged, and LAPACK's refusals come back as false.
#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "numerics/linear_solve.h"
#include "random_matrix.h"

namespace {

using test_support::random_matrix;

// A B^t + n I: symmetric and, with n large enough, positive definite.
template <class T>
dense_matrix<T> symmetric(uint64_t n, unsigned seed, double shift) {
  const dense_matrix<T> a = random_matrix<T>(n, n, seed);
  dense_matrix<T> s(n, n);
  for (uint64_t r = 0; r < n; ++r) {
    for (uint64_t c = 0; c < n; ++c) {
      double sum = r == c ? shift : 0.0;
      for (uint64_t k = 0; k < n; ++k) sum += static_cast<double>(a(r, k)) * static_cast<double>(a(c, k));
      s(r, c) = static_cast<T>(sum);
    }
  }
  return s;
}

// The largest entry of |A x - b| over the columns of x and b (vectors are
// one column).
template <class T>
double residual(const dense_matrix<T>& a, const T* x, const T* b, uint64_t columns) {
  double worst = 0.0;
  for (uint64_t r = 0; r < a.rows; ++r) {
    for (uint64_t j = 0; j < columns; ++j) {
      double sum = 0.0;
      for (uint64_t k = 0; k < a.cols; ++k) sum += static_cast<double>(a(r, k)) * static_cast<double>(x[k * columns + j]);
      worst = std::max(worst, std::fabs(sum - static_cast<double>(b[r * columns + j])));
    }
  }
  return worst;
}

template <class T>
class LinearSolve : public testing::Test {
 protected:
  static constexpr double tolerance = std::is_same_v<T, float> ? 1e-3 : 1e-10;
};
using element_types = testing::Types<float, double>;
TYPED_TEST_SUITE(LinearSolve, element_types);

TYPED_TEST(LinearSolve, square_solves_satisfy_their_systems_for_vector_and_matrix_right_hand_sides) {
  using T = TypeParam;
  const uint64_t n = 7;
  const dense_matrix<T> general = random_matrix<T>(n, n, 1), spd = symmetric<T>(n, 2, 3.0),
                        indefinite = symmetric<T>(n, 3, -1.0);
  const dense_matrix<T> b = random_matrix<T>(n, 3, 4);
  dense_vector<T> bv(n);
  for (uint64_t i = 0; i < n; ++i) bv[i] = b(i, 0);
  const dense_matrix<T> general_before = general;

  // Each solver with a vector and with a matrix of three right-hand sides.
  const auto expect_solves = [&](const dense_matrix<T>& a, auto solve) {
    dense_vector<T> x(n);
    dense_matrix<T> xm(n, 3);
    ASSERT_TRUE(solve(a, bv, x));
    EXPECT_LT(residual(a, x.data, bv.data, 1), TestFixture::tolerance);
    ASSERT_TRUE(solve(a, b, xm));
    EXPECT_LT(residual(a, xm.data, b.data, 3), TestFixture::tolerance);
  };
  expect_solves(general, [](const auto& a, const auto& rhs, auto& x) { return solve_general(a, rhs, x); });
  expect_solves(indefinite, [](const auto& a, const auto& rhs, auto& x) { return solve_symmetric(a, rhs, x); });
  expect_solves(spd, [](const auto& a, const auto& rhs, auto& x) { return solve_positive_definite(a, rhs, x); });
  EXPECT_EQ(std::vector<T>(general_before.data, general_before.data + n * n), std::vector<T>(general.data, general.data + n * n));
}

TYPED_TEST(LinearSolve, singular_and_indefinite_matrices_are_refused) {
  using T = TypeParam;
  dense_matrix<T> singular(3, 3);
  singular(0, 0) = 1;
  singular(1, 1) = 1;  // the last row and column are zero
  dense_vector<T> b(3), x(3);
  b[0] = 1;
  EXPECT_FALSE(solve_general(singular, b, x));
  dense_vector<T> x4(4);
  EXPECT_FALSE(solve_positive_definite(symmetric<T>(4, 5, -100.0), dense_vector<T>(4), x4));
  // Shapes that do not fit are refused before LAPACK sees them.
  EXPECT_FALSE(solve_positive_definite(symmetric<T>(4, 5, 10.0), dense_vector<T>(4), x));
  EXPECT_FALSE(solve_general(dense_matrix<T>(3, 2), b, x));
  EXPECT_FALSE(solve_least_squares(dense_matrix<T>(5, 2), b, x));
}

TYPED_TEST(LinearSolve, least_squares_solutions_leave_residuals_orthogonal_to_the_columns) {
  using T = TypeParam;
  const dense_matrix<T> a = random_matrix<T>(12, 4, 6);
  const dense_matrix<T> bm = random_matrix<T>(12, 1, 7);
  dense_vector<T> b(12);
  std::copy_n(bm.data, 12, b.data);
  int rank = 0;
  T singular_values[4];
  for (int road = 0; road < 3; ++road) {
    dense_vector<T> x(12);
    const bool solved = road == 0   ? solve_least_squares(a, b, x)
                        : road == 1 ? solve_minimum_norm(a, b, x, T(-1), rank, singular_values)
                                    : solve_minimum_norm_pivoted(a, b, x, rank);
    ASSERT_TRUE(solved) << road;
    if (road > 0) {
      EXPECT_EQ(4, rank);
    }
    for (uint64_t c = 0; c < 4; ++c) {
      double dot = 0.0;
      for (uint64_t r = 0; r < 12; ++r) {
        double fitted = 0.0;
        for (uint64_t k = 0; k < 4; ++k) fitted += static_cast<double>(a(r, k)) * static_cast<double>(x[k]);
        dot += static_cast<double>(a(r, c)) * (fitted - static_cast<double>(b[r]));
      }
      EXPECT_NEAR(0.0, dot, TestFixture::tolerance * 10) << "road " << road << ", column " << c;
    }
  }
  EXPECT_GT(singular_values[0], singular_values[3]);
}

TYPED_TEST(LinearSolve, the_minimum_norm_roads_report_the_rank_of_a_deficient_system) {
  using T = TypeParam;
  // Two equal columns: x0 + x1 = 2 has the minimum-norm solution (1, 1).
  dense_matrix<T> a(3, 2);
  for (uint64_t r = 0; r < 3; ++r) a(r, 0) = a(r, 1) = static_cast<T>(r + 1);
  dense_vector<T> b(3);
  for (uint64_t r = 0; r < 3; ++r) b[r] = static_cast<T>(2 * (r + 1));
  int rank = 0;
  dense_vector<T> x(3);
  ASSERT_TRUE(solve_minimum_norm(a, b, x, T(-1), rank));
  EXPECT_EQ(1, rank);
  for (uint64_t i = 0; i < 2; ++i) EXPECT_NEAR(1.0, x[i], TestFixture::tolerance);
  // Pivoted QR with rcond -1 keeps every column it can: it only has to solve.
  ASSERT_TRUE(solve_minimum_norm_pivoted(a, b, x, rank));
  EXPECT_NEAR(2.0, x[0] + x[1], TestFixture::tolerance);
}

}  // namespace
