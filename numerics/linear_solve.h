// Linear solves over LAPACK for row-major matrices.
//
// Every adaptor leaves its matrix and right-hand side unchanged, writes the
// solution into a result the caller has sized, and answers true exactly when
// LAPACK reports success; shapes that do not fit each other are refused
// before LAPACK sees them. The matrix crosses into LAPACK as a column-major
// copy (LAPACK overwrites it with a factor that is thrown away); a vector
// right-hand side is copied into the result and solved there; a matrix
// right-hand side is copied, transposed in place to column-major, solved and
// transposed back. Work arrays are zero-filled for the call.
#pragma once

#include <algorithm>
#include <cstdint>
#include <vector>

#include "numerics/dense_matrix.h"
#include "numerics/lapack.h"
#include "numerics/matrix_concepts.h"
#include "numerics/transpose_in_place.h"

namespace linear_solve_detail {

// Column c of the row-major matrix becomes the c-th run of `rows` elements.
template <matrix_like Matrix>
std::vector<element_of<Matrix>> column_major_copy(const Matrix& a) {
  std::vector<element_of<Matrix>> copy;
  copy.reserve(a.rows * a.cols);
  for (uint64_t c = 0; c < a.cols; ++c) {
    for (uint64_t r = 0; r < a.rows; ++r) copy.push_back(a.data[r * a.cols + c]);
  }
  return copy;
}

inline int as_int(uint64_t value) { return static_cast<int>(value); }

// Whether a least-squares problem's right-hand side has a row count of
// elements and its result room for max(rows, cols).
template <matrix_like Matrix, vector_like Rhs, vector_like Result>
bool least_squares_shapes(const Matrix& a, const Rhs& b, const Result& x) {
  return b.size == a.rows && x.size >= std::max(a.rows, a.cols);
}

// The least-squares family's start: the factor, and the right-hand side in
// a result of max(rows, cols) elements.
template <matrix_like Matrix, vector_like Rhs, vector_like Result>
std::vector<element_of<Matrix>> least_squares_start(const Matrix& a, const Rhs& b, Result& x) {
  std::fill_n(x.data, x.size, element_of<Matrix>{});
  std::copy_n(b.data, b.size, x.data);
  return column_major_copy(a);
}

// Whether a square system, its right-hand side and its result agree in size.
template <matrix_like Matrix, class Rhs, class Result>
bool square_shapes(const Matrix& a, const Rhs& b, const Result& x) {
  if (a.rows != a.cols) return false;
  if constexpr (vector_like<Rhs>) {
    return b.size == a.rows && x.size == a.rows;
  } else {
    return b.rows == a.rows && x.rows == b.rows && x.cols == b.cols;
  }
}

// Runs `solve(column_major_matrix, right_hand_sides, count_of_them)` with the
// right-hand side in the result: a vector directly, a matrix through a
// column-major copy. Shapes that do not agree are refused.
template <matrix_like Matrix, class Rhs, class Result, class Solve>
bool solve_in_result(const Matrix& a, const Rhs& b, Result& x, Solve solve) {
  if (!square_shapes(a, b, x)) return false;
  auto factor = column_major_copy(a);
  if constexpr (vector_like<Rhs>) {
    std::copy_n(b.data, b.size, x.data);
    return solve(factor.data(), x.data, 1);
  } else {
    uint64_t rows = b.rows, cols = b.cols;
    std::copy_n(b.data, rows * cols, x.data);
    transpose_in_place(x.data, rows, cols);
    const bool solved = solve(factor.data(), x.data, as_int(b.cols));
    transpose_in_place(x.data, rows, cols);
    return solved;
  }
}

}  // namespace linear_solve_detail

// A x = b for a general square A (LU with partial pivoting).
template <matrix_like Matrix, class Rhs, class Result>
bool solve_general(const Matrix& a, const Rhs& b, Result& x) {
  using namespace linear_solve_detail;
  const int n = as_int(a.rows);
  std::vector<int> pivots(a.rows);
  return solve_in_result(a, b, x, [&](auto* factor, auto* rhs, int count) {
    int info = 0;
    lapack::gesv(&n, &count, factor, &n, pivots.data(), rhs, &n, &info);
    return info == 0;
  });
}

// A x = b for a symmetric A, of which the upper triangle is read.
template <matrix_like Matrix, class Rhs, class Result>
bool solve_symmetric(const Matrix& a, const Rhs& b, Result& x) {
  using namespace linear_solve_detail;
  using T = element_of<Matrix>;
  const int n = as_int(a.rows), lwork = 10 * n;
  std::vector<int> pivots(a.rows);
  std::vector<T> work(static_cast<std::size_t>(std::max(lwork, 1)));
  return solve_in_result(a, b, x, [&](T* factor, T* rhs, int count) {
    int info = 0;
    lapack::sysv(&n, &count, factor, &n, pivots.data(), rhs, &n, work.data(), &lwork, &info);
    return info == 0;
  });
}

// A x = b for a symmetric positive definite A (Cholesky, upper triangle).
template <matrix_like Matrix, class Rhs, class Result>
bool solve_positive_definite(const Matrix& a, const Rhs& b, Result& x) {
  using namespace linear_solve_detail;
  const int n = as_int(a.rows);
  return solve_in_result(a, b, x, [&](auto* factor, auto* rhs, int count) {
    int info = 0;
    lapack::posv(&n, &count, factor, &n, rhs, &n, &info);
    return info == 0;
  });
}

// The least-squares solution of A x = b by QR, for A of full rank. The
// result has max(rows, cols) elements, of which the first cols are the
// solution.
template <matrix_like Matrix, vector_like Rhs, vector_like Result>
bool solve_least_squares(const Matrix& a, const Rhs& b, Result& x) {
  using namespace linear_solve_detail;
  if (!least_squares_shapes(a, b, x)) return false;
  using T = element_of<Matrix>;
  const int m = as_int(a.rows), n = as_int(a.cols), ldb = std::max(m, n), lwork = 10 * n;
  std::vector<T> work(static_cast<std::size_t>(std::max(lwork, 1)));
  auto factor = least_squares_start(a, b, x);
  int info = 0;
  lapack::gels(&m, &n, factor.data(), &m, x.data, &ldb, work.data(), &lwork, &info);
  return info == 0;
}

// The minimum-norm least-squares solution of A x = b through the singular
// value decomposition: singular values below rcond times the largest count
// as zero (rcond < 0: machine precision). Gives the numerical rank and, when
// asked, the singular values (min(rows, cols) of them). The result is sized
// as for solve_least_squares.
template <matrix_like Matrix, vector_like Rhs, vector_like Result>
bool solve_minimum_norm(const Matrix& a, const Rhs& b, Result& x, element_of<Matrix> rcond, int& rank,
                        element_of<Matrix>* singular_values = nullptr) {
  using namespace linear_solve_detail;
  if (!least_squares_shapes(a, b, x)) return false;
  using T = element_of<Matrix>;
  const int m = as_int(a.rows), n = as_int(a.cols), ldb = std::max(m, n), lwork = 20 * n;
  std::vector<T> work(static_cast<std::size_t>(std::max(lwork, 1)));
  std::vector<T> values(static_cast<std::size_t>(std::max(1, std::min(m, n))));
  auto factor = least_squares_start(a, b, x);
  int info = 0;
  lapack::gelss(&m, &n, factor.data(), &m, x.data, &ldb, values.data(), &rcond, &rank, work.data(), &lwork, &info);
  if (singular_values) std::copy_n(values.data(), std::min(m, n), singular_values);
  return info == 0;
}

// The minimum-norm least-squares solution through QR with column pivoting,
// with rcond -1. Gives the numerical rank. The result is sized as for
// solve_least_squares.
template <matrix_like Matrix, vector_like Rhs, vector_like Result>
bool solve_minimum_norm_pivoted(const Matrix& a, const Rhs& b, Result& x, int& rank) {
  using namespace linear_solve_detail;
  if (!least_squares_shapes(a, b, x)) return false;
  using T = element_of<Matrix>;
  const int m = as_int(a.rows), n = as_int(a.cols), ldb = std::max(m, n), lwork = 20 * n;
  const T rcond = -1;
  std::vector<T> work(static_cast<std::size_t>(std::max(lwork, 1)));
  std::vector<int> pivots(a.cols);
  auto factor = least_squares_start(a, b, x);
  int info = 0;
  lapack::gelsy(&m, &n, factor.data(), &m, x.data, &ldb, pivots.data(), &rcond, &rank, work.data(), &lwork, &info);
  return info == 0;
}
