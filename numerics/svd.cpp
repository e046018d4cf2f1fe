#include "numerics/svd.h"

#include <algorithm>
#include <new>
#include <vector>

#include "numerics/lapack.h"
#include "numerics/linear_solve.h"
#include "numerics/transpose_in_place.h"

namespace {

int work_size(int m, int n) {
  const int mn = std::min(m, n), mx = std::max(m, n);
  return 2 * std::max(3 * mn + mx, 5 * mn);
}

// LAPACK writes its factors column-major: read as row-major they are the
// transposes, which one in-place transposition turns round.
template <class T>
void to_row_major(dense_matrix<T>& factor) {
  std::swap(factor.rows, factor.cols);
  transpose_in_place(factor);
}

const char* job(bool economy) { return economy ? "S" : "A"; }

}  // namespace

template <class T>
svd_full<T>::svd_full(matrix_view<const T> matrix, bool economy_form)
    : m(static_cast<int32_t>(matrix.rows)), n(static_cast<int32_t>(matrix.cols)), economy(economy_form) {
  const int mn = std::min(m, n);
  auto a = linear_solve_detail::column_major_copy(matrix);
  u = dense_matrix<T>(static_cast<uint64_t>(m), static_cast<uint64_t>(economy ? mn : m));
  vt = dense_matrix<T>(static_cast<uint64_t>(economy ? mn : n), static_cast<uint64_t>(n));
  s = dense_vector<T>(static_cast<uint64_t>(mn));
  const int lwork = work_size(m, n);
  std::vector<T> work(static_cast<std::size_t>(std::max(lwork, 1)));
  const int lda = std::max(m, 1), ldu = std::max(m, 1), ldvt = std::max(economy ? mn : n, 1);
  int info = 0;
  lapack::gesvd(job(economy), job(economy), &m, &n, a.data(), &lda, s.data, u.data, &ldu, vt.data, &ldvt, work.data(),
                &lwork, &info);
  failed = info != 0;
  if (failed) return;
  to_row_major(u);
  to_row_major(vt);
}

template <class T>
svd_right<T>::svd_right(matrix_view<const T> matrix, bool economy_form)
    : m(static_cast<int32_t>(matrix.rows)), n(static_cast<int32_t>(matrix.cols)), economy(economy_form) {
  const int mn = std::min(m, n);
  auto a = linear_solve_detail::column_major_copy(matrix);
  vt = dense_matrix<T>(static_cast<uint64_t>(economy ? mn : n), static_cast<uint64_t>(n));
  s = dense_vector<T>(static_cast<uint64_t>(mn));
  const int lwork = work_size(m, n);
  std::vector<T> work(static_cast<std::size_t>(std::max(lwork, 1)));
  const int lda = std::max(m, 1), ldu = 1, ldvt = std::max(economy ? mn : n, 1);
  T no_u = 0;
  int info = 0;
  lapack::gesvd("N", job(economy), &m, &n, a.data(), &lda, s.data, &no_u, &ldu, vt.data, &ldvt, work.data(), &lwork,
                &info);
  failed = info != 0;
  if (!failed) to_row_major(vt);
}

template struct svd_full<float>;
template struct svd_full<double>;
template struct svd_right<float>;
template struct svd_right<double>;

bool svd_fixed(int m, int n, double* a, int lda, double* u, int ldu, double* s, double* vt, int ldvt, int job_u,
               int job_vt) {
  const auto job_of = [](int code) { return code == 0 ? "A" : code == 1 ? "S" : "N"; };
  int info = 0;
  int lwork = -1;
  double optimal = 0.0;
  lapack::gesvd(job_of(job_u), job_of(job_vt), &m, &n, a, &lda, s, u, &ldu, vt, &ldvt, &optimal, &lwork, &info);
  if (info != 0) return false;
  lwork = std::max(static_cast<int>(optimal), 1);
  // Small shapes, solved in inner loops, work on the stack.
  constexpr int on_stack = 512;
  double local[on_stack];
  std::vector<double> heap;
  double* work = local;
  if (lwork > on_stack) {
    try {
      heap.resize(static_cast<std::size_t>(lwork));
    } catch (const std::bad_alloc&) {
      return false;
    }
    work = heap.data();
  }
  lapack::gesvd(job_of(job_u), job_of(job_vt), &m, &n, a, &lda, s, u, &ldu, vt, &ldvt, work, &lwork, &info);
  return info == 0;
}

namespace {

// Row-major 3 x n in, all vectors out, both factors row-major.
template <int N>
bool svd_3xn(const double a[3 * N], double u[9], double s[3], double vt[N * N]) {
  double column_major[3 * N];
  for (int c = 0; c < N; ++c) {
    for (int r = 0; r < 3; ++r) column_major[c * 3 + r] = a[r * N + c];
  }
  if (!svd_fixed(3, N, column_major, 3, u, 3, s, vt, N, 0, 0)) return false;
  uint64_t three = 3, also_three = 3, n = N, also_n = N;
  transpose_in_place(u, three, also_three);
  transpose_in_place(vt, n, also_n);
  return true;
}

}  // namespace

bool svd_3x3(const double a[9], double u[9], double s[3], double vt[9]) { return svd_3xn<3>(a, u, s, vt); }

bool svd_3x6(const double a[18], double u[9], double s[3], double vt[36]) { return svd_3xn<6>(a, u, s, vt); }

void multiply_in_place(dense_matrix<double>& a, const dense_matrix<double>& b) {
  std::vector<double> row(a.cols);
  for (uint64_t r = 0; r < a.rows; ++r) {
    double* target = a.data + r * a.cols;
    for (uint64_t c = 0; c < a.cols; ++c) {
      double sum = 0.0;
      for (uint64_t k = 0; k < a.cols; ++k) sum += target[k] * b(k, c);
      row[c] = sum;
    }
    std::copy(row.begin(), row.end(), target);
  }
}
