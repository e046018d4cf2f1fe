// Singular value decompositions over LAPACK's gesvd, for row-major
// matrices: A = U S Vt with the singular values in descending order.
#pragma once

#include <cstdint>

#include "numerics/dense_matrix.h"

// Both sides. In economy form U is m x min(m, n) and Vt min(m, n) x n;
// otherwise U is m x m and Vt n x n. Both read row-major. `failed` is set
// when LAPACK reports an error, and the factors are then as LAPACK left them.
template <class T>
struct svd_full {
  explicit svd_full(matrix_view<const T> matrix, bool economy_form = true);

  int32_t m;
  int32_t n;
  dense_matrix<T> u;
  dense_matrix<T> vt;
  dense_vector<T> s;
  bool failed = false;
  bool economy = true;
};

// The right side only: Vt and S.
template <class T>
struct svd_right {
  explicit svd_right(matrix_view<const T> matrix, bool economy_form = true);

  int32_t m;
  int32_t n;
  dense_matrix<T> vt;
  dense_vector<T> s;
  bool failed = false;
  bool economy = true;
};

extern template struct svd_full<float>;
extern template struct svd_full<double>;
extern template struct svd_right<float>;
extern template struct svd_right<double>;

// dgesvd on plain column-major arrays, for small fixed shapes. job_u and
// job_vt: 0 all vectors, 1 the leading min(m, n), anything else none. The
// workspace comes from LAPACK's own query, on the stack when it is small,
// so that the small solvers allocate nothing in their loops. False when the
// query, the allocation or the decomposition fails.
bool svd_fixed(int m, int n, double* a, int lda, double* u, int ldu, double* s, double* vt, int ldvt, int job_u,
               int job_vt);

// A 3 x 3 and a 3 x 6 row-major matrix: U (3 x 3), S and Vt (3 x 3 or
// 6 x 6), all row-major. The input is left unchanged.
bool svd_3x3(const double a[9], double u[9], double s[3], double vt[9]);
bool svd_3x6(const double a[18], double u[9], double s[3], double vt[36]);

// A := A B for B square of A's column count, one row at a time.
void multiply_in_place(dense_matrix<double>& a, const dense_matrix<double>& b);
