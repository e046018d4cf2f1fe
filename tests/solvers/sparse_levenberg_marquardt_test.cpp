// The sparse solver: the dense solver's iteration through normal equations
// that the model solves, checked on the same problems written both ways.
#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

#include "least_squares_problems.h"
#include "numerics/linear_solve.h"
#include "solvers/dense_levenberg_marquardt.h"
#include "solvers/sparse_levenberg_marquardt.h"

namespace {

using namespace test_support;

// A problem with a dense Jacobian given to the sparse solver: J^T J and its
// damped solves formed whole, as a model with blocks would form them.
struct normal_model {
  explicit normal_model(const least_squares_problem& p) : problem(p) {}
  const least_squares_problem& problem;
  bool failed = false;
  std::vector<double> j = std::vector<double>(problem.m * problem.n);
  dense_matrix<double> x_matrix = dense_matrix<double>(problem.n, problem.n);
  int rank = 0;
  std::vector<std::vector<double>> accepted;  // the points at which the Jacobian was taken

  std::size_t unknown_count() const { return problem.n; }
  std::size_t residual_count() const { return problem.m; }
  void residuals(const double* x, double* f) { problem.residuals(x, f); }
  void jacobian(const double* x, const double*) {
    problem.jacobian(x, j.data());
    accepted.emplace_back(x, x + problem.n);
  }
  double at(std::size_t r, std::size_t c) const { return j[r * problem.n + c]; }
  void column_norms(double* acnorm) const {
    for (std::size_t c = 0; c < problem.n; ++c) {
      double sum = 0.0;
      for (std::size_t r = 0; r < problem.m; ++r) sum += at(r, c) * at(r, c);
      acnorm[c] = std::sqrt(sum);
    }
  }
  void gradient(const double* f, double* g) const {
    for (std::size_t c = 0; c < problem.n; ++c) {
      g[c] = 0.0;
      for (std::size_t r = 0; r < problem.m; ++r) g[c] += at(r, c) * f[r];
    }
  }
  double quadratic_form(const double* p) const {
    double sum = 0.0;
    for (std::size_t r = 0; r < problem.m; ++r) {
      double row = 0.0;
      for (std::size_t c = 0; c < problem.n; ++c) row += at(r, c) * p[c];
      sum += row * row;
    }
    return sum;
  }
  void make_X(const double* d) {
    for (std::size_t a = 0; a < problem.n; ++a) {
      for (std::size_t b = 0; b < problem.n; ++b) {
        double sum = a == b ? d[a] : 0.0;
        for (std::size_t r = 0; r < problem.m; ++r) sum += at(r, a) * at(r, b);
        x_matrix(a, b) = sum;
      }
    }
  }
  void Xinv_b(const double* b, double* y) {
    const vector_view<const double> rhs{problem.n, b};
    vector_view<double> solution{problem.n, y};
    if (!solve_minimum_norm(x_matrix, rhs, solution, -1.0, rank)) throw std::runtime_error("Xinv_b(): failure");
  }
  bool full_rank() const { return rank == static_cast<int>(problem.n); }
  void advance(const double* x, const double* p, double* y) const {
    for (std::size_t i = 0; i < problem.n; ++i) y[i] = x[i] + p[i];
  }
};

// A linear problem with orthonormal columns and a far solution: the trust
// region binds for several steps, and the scaling stays 1, where the sparse
// solver's bound for the damping equals lmpar's.
least_squares_problem far_linear_problem() {
  // Three orthonormal columns of length 6, column after column.
  const double a = 1.0 / std::sqrt(6.0);
  static const double q[18] = {a, a, a, a, a, a, a, -a, a, -a, a, -a, 0.5, 0.5, -0.5, -0.5, 0.0, 0.0};
  static const double solution[3] = {3000.0, -1200.0, 700.0};
  return {"far linear", 3, 6, {0.0, 0.0, 0.0}, 0.0,
          [](const double* x, double* f) {
            for (int r = 0; r < 6; ++r) {
              f[r] = 0.0;
              for (int c = 0; c < 3; ++c) f[r] += q[6 * c + r] * (x[c] - solution[c]);
            }
          },
          [](const double*, double* j) {
            for (int r = 0; r < 6; ++r) {
              for (int c = 0; c < 3; ++c) j[3 * r + c] = q[6 * c + r];
            }
          }};
}

TEST(SparseLevenbergMarquardt, takes_the_dense_solvers_steps_on_a_problem_written_both_ways) {
  const least_squares_problem problem = far_linear_problem();
  struct recording_model : problem_model {
    explicit recording_model(const least_squares_problem& p) : problem_model{p} {}
    std::vector<std::vector<double>> accepted;
    void jacobian(const double* x, double* j) {
      problem_model::jacobian(x, j);
      accepted.emplace_back(x, x + problem.n);
    }
  } dense{problem};
  normal_model sparse{problem};
  std::vector<double> xd = problem.start, xs = problem.start, fd(6), fs(6);
  lm_control dense_control, sparse_control;
  dense_control.maxfev = sparse_control.maxfev = 1000;
  dense_levenberg_marquardt(dense_control, dense, xd.data(), 3, fd.data(), 6);
  sparse_levenberg_marquardt(sparse_control, sparse, xs.data(), fs.data());
  ASSERT_GE(dense.accepted.size(), 4u);  // the trust region held the first steps back
  ASSERT_EQ(dense.accepted.size(), sparse.accepted.size());
  for (std::size_t k = 0; k < dense.accepted.size(); ++k) {
    for (std::size_t i = 0; i < 3; ++i) EXPECT_NEAR(dense.accepted[k][i], sparse.accepted[k][i], 1e-6) << k;
  }
  EXPECT_EQ(dense_control.nfev, sparse_control.nfev);
  EXPECT_EQ(dense_control.iter, sparse_control.iter);
  EXPECT_NEAR(3000.0, xs[0], 1e-6);
}

TEST(SparseLevenbergMarquardt, reaches_the_published_residual_norms_too) {
  for (const least_squares_problem& problem : published_problems()) {
    if (problem.name == "Freudenstein-Roth") continue;  // the damping bound leads it to the other minimum
    normal_model model{problem};
    std::vector<double> x = problem.start, f(problem.m);
    lm_control control = minpack_test_control();
    sparse_levenberg_marquardt(control, model, x.data(), f.data());
    expect_published_norm(problem, f.data());
  }
}

TEST(SparseLevenbergMarquardt, the_wrapper_refuses_more_unknowns_than_residuals_and_wrong_sizes) {
  const std::vector<least_squares_problem> problems = published_problems();
  least_squares_problem wide = problems[0];
  wide.m = 1;
  normal_model model{wide};
  std::vector<double> x(2), f(1);
  lm_control control;
  EXPECT_FALSE(solve_sparse_levenberg_marquardt(model, x, f, control));
  EXPECT_EQ(0u, control.nfev);
  normal_model square{problems[0]};
  std::vector<double> short_f(1);
  EXPECT_FALSE(solve_sparse_levenberg_marquardt(square, x, short_f, control));
  std::vector<double> start = {-1.2, 1.0}, good_f(2);
  EXPECT_TRUE(solve_sparse_levenberg_marquardt(square, start, good_f, control));
  EXPECT_EQ(800u, control.maxfev);  // 400 per unknown
}

TEST(SparseLevenbergMarquardt, a_zero_residual_stops_on_the_gradient_and_a_zero_column_keeps_its_scale) {
  const least_squares_problem problem = far_linear_problem();
  normal_model at_solution{problem};
  std::vector<double> x = {3000.0, -1200.0, 700.0}, f(6);
  lm_control control;
  control.maxfev = 100;
  sparse_levenberg_marquardt(control, at_solution, x.data(), f.data());
  EXPECT_EQ(lm_gradient, control.info);

  // The second unknown does not enter: its column norm is 0, the gradient
  // measure 0 / 0 is ignored, and the singular system keeps parl at 0.
  least_squares_problem ignoring{"ignoring", 2, 2, {5.0, 7.0}, 0.0,
                                 [](const double* v, double* r) {
                                   r[0] = v[0] - 1.0;
                                   r[1] = 2.0 * (v[0] - 1.0);
                                 },
                                 [](const double*, double* j) { rows_of(j, {1.0, 0.0, 2.0, 0.0}); }};
  normal_model model{ignoring};
  std::vector<double> y = {5.0, 7.0}, g(2);
  control = lm_control{};
  control.maxfev = 100;
  sparse_levenberg_marquardt(control, model, y.data(), g.data());
  EXPECT_NEAR(1.0, y[0], 1e-10);
  EXPECT_EQ(7.0, y[1]);
  EXPECT_FALSE(model.full_rank());
}

}  // namespace
