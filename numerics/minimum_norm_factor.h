// The minimum-norm least-squares solutions of A x = b for one square A and
// right sides that come one after the other, each to the last bit what
// solve_minimum_norm with rcond -1 gives (LAPACK's dgelss with a work array
// of 20 n), at the price of one factorisation instead of one per side.
//
// dgelss bidiagonalises A, turns b by the left reflectors, forms the right
// singular vectors while its bidiagonal QR iteration turns b further, and
// sums the scaled result over the right singular vectors. The iteration's
// rotations depend on the bidiagonal alone, never on what they are applied
// to, so the factorisation keeps the bidiagonal and the reflectors and runs
// the iteration once more for each right side, on the side alone: O(n^2)
// instead of the O(n^3) of the rest. Every LAPACK routine is called with
// the arguments dgelss gives it, work lengths included, since the blocking
// of the bidiagonalisation follows them.
#pragma once

#include <cstddef>
#include <vector>


class minimum_norm_factor {
 public:
  // Factorises the row-major n x n matrix `a`. False when the bidiagonal
  // iteration does not converge, where dgelss would fail for every side.
  bool factor(const double* a, std::size_t n);

  // x = the minimum-norm solution of A x = b, n entries each (x may be b).
  // False when the factorisation failed. Sets the rank of a 1 x 1 system.
  bool solve(const double* b, double* x);

  // The numerical rank: the singular values above eps times the largest.
  int rank() const { return rank_; }

 private:
  bool solve_single(const double* b, double* x);
  bool right_singular_vectors(int n);

  int n_ = 0;
  bool converged_ = false;
  int a_scaling_ = 0;  // dgelss's IASCL: 0 none, 1 up to smlnum, 2 down to bignum
  double a_norm_ = 0.0;
  int rank_ = 0;
  std::vector<double> reflectors_;     // A after dgebrd, column-major: the left reflectors below the diagonal
  std::vector<double> right_vectors_;  // the right singular vectors, column-major rows of V^T
  std::vector<double> diagonal_, off_diagonal_, left_tau_, right_tau_;  // the bidiagonal and the reflectors' scales
  std::vector<double> singular_values_;
  std::vector<double> work_, side_diagonal_, side_off_diagonal_, product_;
  std::vector<double> off_diagonal_work_;  // the off-diagonal as the iteration on V^T leaves it
};
