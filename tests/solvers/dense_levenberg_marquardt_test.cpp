// The dense solver on published problems, and its stop codes.
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "least_squares_problems.h"
#include "solvers/dense_levenberg_marquardt.h"

namespace {

using namespace test_support;

lm_control controls(uint64_t maxfev = 10000) { return minpack_test_control(maxfev); }

TEST(DenseLevenbergMarquardt, reaches_the_published_residual_norms_from_the_standard_starts) {
  for (const least_squares_problem& problem : published_problems()) {
    problem_model model{problem};
    std::vector<double> x = problem.start, f(problem.m);
    lm_control control = controls();
    dense_levenberg_marquardt(control, model, x.data(), problem.n, f.data(), problem.m);
    expect_published_norm(problem, f.data());
    // A zero-residual problem may end on the machine-precision gradient test.
    EXPECT_NE(lm_model_failed, control.info) << problem.name;
    EXPECT_NE(lm_budget, control.info) << problem.name;
    EXPECT_GT(control.njev, 0u) << problem.name;
  }
}

// f(x) = a (x - target) in one unknown: the gradient measure is always 1.
struct line_model {
  double a = 2.0, target = 3.0;
  bool failed = false;
  bool fail_first = false;
  std::vector<double> trials;
  void residuals(const double* x, double* f) {
    if (fail_first) {
      failed = true;
      return;
    }
    trials.push_back(x[0]);
    f[0] = a * (x[0] - target);
  }
  void jacobian(const double*, double* j) { j[0] = a; }
  void advance(const double* x, const double* p, double* y) const { y[0] = x[0] + p[0]; }
};

TEST(DenseLevenbergMarquardt, a_first_failure_returns_at_once) {
  line_model model;
  model.fail_first = true;
  double x = 1.0, f = 0.0;
  lm_control control = controls();
  dense_levenberg_marquardt(control, model, &x, 1, &f, 1);
  EXPECT_EQ(1u, control.nfev);
  EXPECT_EQ(0u, control.njev);
  EXPECT_EQ(0, control.info);
  EXPECT_EQ(1.0, x);
}

TEST(DenseLevenbergMarquardt, the_gradient_stop_is_strict_and_a_zero_residual_stops_at_once) {
  line_model model;
  double x = 3.0, f = 0.0;  // already at the solution
  lm_control control = controls();
  control.gtol = 1e-300;
  dense_levenberg_marquardt(control, model, &x, 1, &f, 1);
  EXPECT_EQ(lm_gradient, control.info);
  EXPECT_EQ(1u, control.njev);

  // The measure of a one-residual problem is exactly 1: a tolerance of 1
  // lets the first step happen, the next number above it does not.
  x = 0.0;
  control.gtol = 1.0;
  dense_levenberg_marquardt(control, model, &x, 1, &f, 1);
  EXPECT_GE(control.nfev, 2u);
  EXPECT_DOUBLE_EQ(3.0, x);
  x = 0.0;
  control.gtol = std::nextafter(1.0, 2.0);
  dense_levenberg_marquardt(control, model, &x, 1, &f, 1);
  EXPECT_EQ(lm_gradient, control.info);
  EXPECT_EQ(0.0, x);
}

TEST(DenseLevenbergMarquardt, a_start_at_zero_bounds_the_first_step_by_100) {
  line_model model;
  model.a = 1.0;
  model.target = 1000.0;
  double x = 0.0, f = 0.0;
  lm_control control = controls();
  dense_levenberg_marquardt(control, model, &x, 1, &f, 1);
  ASSERT_GE(model.trials.size(), 2u);
  EXPECT_GE(model.trials[1], 90.0);  // within 10 % of the bound
  EXPECT_LE(model.trials[1], 110.0);
  EXPECT_NEAR(1000.0, x, 1e-6);
}

TEST(DenseLevenbergMarquardt, a_budget_of_one_evaluation_ends_after_the_first_trial) {
  const std::vector<least_squares_problem> problems = published_problems();
  problem_model model{problems[3]};  // Bard
  std::vector<double> x = model.problem.start, f(model.problem.m);
  lm_control control = controls(1);
  dense_levenberg_marquardt(control, model, x.data(), 3, f.data(), 15);
  EXPECT_EQ(lm_budget, control.info);
  EXPECT_EQ(2u, control.nfev);
  EXPECT_EQ(1u, control.njev);
}

// Residuals that ignore the second unknown: its column of the Jacobian is 0.
struct ignoring_model {
  bool failed = false;
  void residuals(const double* x, double* f) {
    f[0] = x[0] - 1.0;
    f[1] = 2.0 * (x[0] - 1.0);
  }
  void jacobian(const double*, double* j) { rows_of(j, {1.0, 0.0, 2.0, 0.0}); }
  void advance(const double* x, const double* p, double* y) const {
    y[0] = x[0] + p[0];
    y[1] = x[1] + p[1];
  }
};

TEST(DenseLevenbergMarquardt, a_zero_column_is_skipped_and_its_unknown_kept) {
  ignoring_model model;
  double x[2] = {5.0, 7.0}, f[2];
  lm_control control = controls();
  dense_levenberg_marquardt(control, model, x, 2, f, 2);
  EXPECT_NEAR(1.0, x[0], 1e-10);
  EXPECT_EQ(7.0, x[1]);
}

TEST(DenseLevenbergMarquardt, the_5_by_9_wrapper_refuses_other_sizes) {
  line_model model;
  std::vector<double> x(4), f(9);
  EXPECT_FALSE(dense_levenberg_marquardt_5x9(model, x, f));
  EXPECT_TRUE(model.trials.empty());
}

}  // namespace
