#include "numerics/minimum_norm_factor.h"

#include <algorithm>

#include "numerics/lapack.h"

namespace {

// dgelss's work length as solve_minimum_norm gives it, and the part of it
// that dgelss hands to the bidiagonalisation and the reflector routines,
// after the bidiagonal and the two reflector scales.
constexpr int total_work(int n) { return 20 * n; }
constexpr int total_work_of_one = total_work(1);
int reflector_work(int n) { return total_work(n) - 3 * n; }

struct machine_limits {
  double eps, sfmin, smlnum, bignum;
};

machine_limits limits() {
  const double eps = dlamch_("P", 1), sfmin = dlamch_("S", 1);
  const double smlnum = sfmin / eps;
  return {eps, sfmin, smlnum, 1.0 / smlnum};
}

// dgelss's scaling of a matrix whose largest entry lies outside
// [smlnum, bignum]: 1 when scaled up, 2 when scaled down, 0 otherwise.
int scale_into_range(double norm, const machine_limits& l, int rows, int cols, double* a) {
  const int zero = 0;
  int info = 0;
  if (norm > 0.0 && norm < l.smlnum) {
    dlascl_("G", &zero, &zero, &norm, &l.smlnum, &rows, &cols, a, &rows, &info, 1);
    return 1;
  }
  if (norm > l.bignum) {
    dlascl_("G", &zero, &zero, &norm, &l.bignum, &rows, &cols, a, &rows, &info, 1);
    return 2;
  }
  return 0;
}

// Undoes scale_into_range on a solution of `rows` entries.
void undo_scaling(int scaling, double norm, const machine_limits& l, bool of_the_matrix, int rows, double* x) {
  if (scaling == 0) return;
  const int zero = 0, one = 1;
  const double bound = scaling == 1 ? l.smlnum : l.bignum;
  // A scaled A scales the solution the other way round from a scaled b.
  const double from = of_the_matrix ? norm : bound, to = of_the_matrix ? bound : norm;
  int info = 0;
  dlascl_("G", &zero, &zero, &from, &to, &rows, &one, x, &rows, &info, 1);
}

}  // namespace

bool minimum_norm_factor::factor(const double* a, std::size_t size) {
  const int n = static_cast<int>(size);
  n_ = n;
  rank_ = 0;
  converged_ = true;
  reflectors_.resize(size * size);
  for (std::size_t c = 0; c < size; ++c) {
    for (std::size_t r = 0; r < size; ++r) reflectors_[c * size + r] = a[r * size + c];
  }
  if (n < 2) return true;  // solve hands a 1 x 1 system to dgelss itself
  const machine_limits l = limits();
  a_norm_ = dlange_("M", &n, &n, reflectors_.data(), &n, nullptr, 1);
  a_scaling_ = 0;
  if (a_norm_ == 0.0) return true;  // the zero solution, of rank 0
  a_scaling_ = scale_into_range(a_norm_, l, n, n, reflectors_.data());

  diagonal_.resize(size);
  off_diagonal_.resize(size);
  left_tau_.resize(size);
  right_tau_.resize(size);
  work_.resize(static_cast<std::size_t>(total_work(n)));
  const int lwork = reflector_work(n);
  int info = 0;
  dgebrd_(&n, &n, reflectors_.data(), &n, diagonal_.data(), off_diagonal_.data(), left_tau_.data(), right_tau_.data(),
          work_.data(), &lwork, &info);
  right_vectors_ = reflectors_;
  dorgbr_("P", &n, &n, &n, right_vectors_.data(), &n, right_tau_.data(), work_.data(), &lwork, &info, 1);

  if (!right_singular_vectors(n)) {
    converged_ = false;
    return false;
  }
  const double threshold = std::max(l.eps * singular_values_[0], l.sfmin);
  for (const double s : singular_values_) rank_ += s > threshold;
  return true;
}

// The iteration on the right singular vectors alone gives the singular
// values and V^T, all of its columns in one call as dgelss turns them; each
// side runs it again on itself. Like the whole solver it stays on its
// caller's thread: the engine starts no thread of its own.
bool minimum_norm_factor::right_singular_vectors(int n) {
  singular_values_ = diagonal_;
  off_diagonal_work_ = off_diagonal_;
  const int none = 0, one = 1;
  int info = 0;
  dbdsqr_("U", &n, &n, &none, &none, singular_values_.data(), off_diagonal_work_.data(), right_vectors_.data(), &n,
          nullptr, &one, nullptr, &one, work_.data(), &info, 1);
  return info == 0;
}

// dgelss takes another road for a single unknown (a QR factorisation
// first), so that one goes to it as it is.
bool minimum_norm_factor::solve_single(const double* b, double* x) {
  double a = reflectors_[0], s = 0.0;
  x[0] = b[0];
  const int one = 1, lwork = total_work(1);
  const double rcond = -1.0;
  double work[total_work_of_one];
  int info = 0;
  dgelss_(&one, &one, &one, &a, &one, x, &one, &s, &rcond, &rank_, work, &lwork, &info);
  return info == 0;
}

bool minimum_norm_factor::solve(const double* b, double* x) {
  if (!converged_) return false;
  const int n = n_;
  const std::size_t size = static_cast<std::size_t>(n);
  if (n == 0) return true;
  if (n == 1) return solve_single(b, x);
  if (a_norm_ == 0.0) {
    std::fill_n(x, size, 0.0);
    return true;
  }
  const machine_limits l = limits();
  std::copy_n(b, size, x);
  const int one = 1, none = 0;
  const double b_norm = dlange_("M", &n, &one, x, &n, nullptr, 1);
  const int b_scaling = scale_into_range(b_norm, l, n, 1, x);

  const int lwork = reflector_work(n);
  int info = 0;
  dormbr_("Q", "L", "T", &n, &one, &n, reflectors_.data(), &n, left_tau_.data(), x, &n, work_.data(), &lwork, &info, 1,
          1, 1);
  side_diagonal_ = diagonal_;
  side_off_diagonal_ = off_diagonal_;
  dbdsqr_("U", &n, &none, &none, &one, side_diagonal_.data(), side_off_diagonal_.data(), nullptr, &one, nullptr, &one,
          x, &n, work_.data(), &info, 1);
  if (info != 0) return false;

  const double threshold = std::max(l.eps * singular_values_[0], l.sfmin);
  for (std::size_t i = 0; i < size; ++i) {
    if (singular_values_[i] > threshold) {
      drscl_(&one, &singular_values_[i], x + i, &n);
    } else {
      x[i] = 0.0;
    }
  }
  const double unit = 1.0, nothing = 0.0;
  product_.resize(size);
  dgemv_("T", &n, &n, &unit, right_vectors_.data(), &n, x, &one, &nothing, product_.data(), &one, 1);
  std::copy(product_.begin(), product_.end(), x);
  undo_scaling(a_scaling_, a_norm_, l, true, n, x);
  undo_scaling(b_scaling, b_norm, l, false, n, x);
  return true;
}
