// Published test problems for nonlinear least squares (Moré, Garbow and
// Hillstrom, "Testing unconstrained optimization software", ACM TOMS 7,
// 1981), with their standard starting points and the residual norms that
// MINPACK's lmder reaches from them.
#pragma once

#include <cmath>
#include <functional>
#include <initializer_list>
#include <string>
#include <vector>

#include "solvers/lm_control.h"

namespace test_support {

struct least_squares_problem {
  std::string name;
  std::size_t n, m;
  std::vector<double> start;
  double final_norm;  // published, to the digits given
  std::function<void(const double*, double*)> residuals;
  std::function<void(const double*, double*)> jacobian;  // m x n, row-major
};

std::vector<least_squares_problem> published_problems();

// MINPACK's settings for these problems.
lm_control minpack_test_control(uint64_t maxfev = 10000);

// The residual norm reached is the published one (below 1e-8 where that is 0).
void expect_published_norm(const least_squares_problem& problem, const double* f);

// Writes a Jacobian's entries (or one row of them) in row-major order.
void rows_of(double* j, std::initializer_list<double> entries);

// A model of the dense solver for a problem.
struct problem_model {
  const least_squares_problem& problem;
  bool failed = false;
  void residuals(const double* x, double* f) { problem.residuals(x, f); }
  void jacobian(const double* x, double* j) { problem.jacobian(x, j); }
  void advance(const double* x, const double* p, double* y) const {
    for (std::size_t i = 0; i < problem.n; ++i) y[i] = x[i] + p[i];
  }
};

}  // namespace test_support
