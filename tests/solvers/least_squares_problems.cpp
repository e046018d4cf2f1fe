#include "least_squares_problems.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "solvers/minpack.h"

namespace test_support {

void rows_of(double* j, std::initializer_list<double> entries) { std::copy(entries.begin(), entries.end(), j); }

lm_control minpack_test_control(uint64_t maxfev) {
  lm_control control;
  control.xtol = 1.49012e-8;  // the square root of machine precision
  control.ftol = 1.49012e-8;
  control.gtol = 0.0;
  control.maxfev = maxfev;
  return control;
}

void expect_published_norm(const least_squares_problem& problem, const double* f) {
  const double norm = minpack::enorm(problem.m, f);
  if (problem.final_norm == 0.0) {
    EXPECT_LT(norm, 1e-8) << problem.name;
  } else {
    EXPECT_NEAR(problem.final_norm, norm, 1e-6 * problem.final_norm) << problem.name;
  }
}

std::vector<least_squares_problem> published_problems() {
  std::vector<least_squares_problem> problems;

  problems.push_back({"Rosenbrock", 2, 2, {-1.2, 1.0}, 0.0,
                      [](const double* x, double* f) {
                        f[0] = 10.0 * (x[1] - x[0] * x[0]);
                        f[1] = 1.0 - x[0];
                      },
                      [](const double* x, double* j) { rows_of(j, {-20.0 * x[0], 10.0, -1.0, 0.0}); }});

  problems.push_back({"Powell singular", 4, 4, {3.0, -1.0, 0.0, 1.0}, 0.0,
                      [](const double* x, double* f) {
                        f[0] = x[0] + 10.0 * x[1];
                        f[1] = std::sqrt(5.0) * (x[2] - x[3]);
                        f[2] = (x[1] - 2.0 * x[2]) * (x[1] - 2.0 * x[2]);
                        f[3] = std::sqrt(10.0) * (x[0] - x[3]) * (x[0] - x[3]);
                      },
                      [](const double* x, double* j) {
                        const double a = x[1] - 2.0 * x[2], b = x[0] - x[3];
                        rows_of(j, {1, 10, 0, 0, 0, 0, std::sqrt(5.0), -std::sqrt(5.0), 0, 2 * a, -4 * a, 0,
                                    2 * std::sqrt(10.0) * b, 0, 0, -2 * std::sqrt(10.0) * b});
                      }});

  problems.push_back({"Freudenstein-Roth", 2, 2, {0.5, -2.0}, 0.6998875e+01,
                      [](const double* x, double* f) {
                        f[0] = -13.0 + x[0] + ((5.0 - x[1]) * x[1] - 2.0) * x[1];
                        f[1] = -29.0 + x[0] + ((x[1] + 1.0) * x[1] - 14.0) * x[1];
                      },
                      [](const double* x, double* j) {
                        rows_of(j, {1.0, x[1] * (10.0 - 3.0 * x[1]) - 2.0, 1.0, x[1] * (2.0 + 3.0 * x[1]) - 14.0});
                      }});

  static const double bard_y[15] = {0.14, 0.18, 0.22, 0.25, 0.29, 0.32, 0.35, 0.39,
                                    0.37, 0.58, 0.73, 0.96, 1.34, 2.10, 4.39};
  problems.push_back({"Bard", 3, 15, {1.0, 1.0, 1.0}, 0.9063596e-01,
                      [](const double* x, double* f) {
                        for (int i = 0; i < 15; ++i) {
                          const double u = i + 1, v = 15 - i, w = std::min(u, v);
                          f[i] = bard_y[i] - (x[0] + u / (v * x[1] + w * x[2]));
                        }
                      },
                      [](const double* x, double* j) {
                        for (int i = 0; i < 15; ++i) {
                          const double u = i + 1, v = 15 - i, w = std::min(u, v), d = v * x[1] + w * x[2];
                          rows_of(j + 3 * i, {-1.0, u * v / (d * d), u * w / (d * d)});
                        }
                      }});

  static const double kowalik_y[11] = {0.1957, 0.1947, 0.1735, 0.1600, 0.0844, 0.0627,
                                       0.0456, 0.0342, 0.0323, 0.0235, 0.0246};
  static const double kowalik_u[11] = {4.0, 2.0, 1.0, 0.5, 0.25, 0.167, 0.125, 0.1, 0.0833, 0.0714, 0.0625};
  problems.push_back({"Kowalik-Osborne", 4, 11, {0.25, 0.39, 0.415, 0.39}, 0.1753584e-01,
                      [](const double* x, double* f) {
                        for (int i = 0; i < 11; ++i) {
                          const double u = kowalik_u[i];
                          f[i] = kowalik_y[i] - x[0] * (u * u + u * x[1]) / (u * u + u * x[2] + x[3]);
                        }
                      },
                      [](const double* x, double* j) {
                        for (int i = 0; i < 11; ++i) {
                          const double u = kowalik_u[i], num = u * u + u * x[1], den = u * u + u * x[2] + x[3];
                          rows_of(j + 4 * i, {-num / den, -x[0] * u / den, x[0] * num * u / (den * den),
                                              x[0] * num / (den * den)});
                        }
                      }});

  problems.push_back({"Brown-Dennis", 4, 20, {25.0, 5.0, -5.0, -1.0}, 0.2929543e+03,
                      [](const double* x, double* f) {
                        for (int i = 0; i < 20; ++i) {
                          const double t = (i + 1) / 5.0;
                          const double a = x[0] + t * x[1] - std::exp(t), b = x[2] + x[3] * std::sin(t) - std::cos(t);
                          f[i] = a * a + b * b;
                        }
                      },
                      [](const double* x, double* j) {
                        for (int i = 0; i < 20; ++i) {
                          const double t = (i + 1) / 5.0;
                          const double a = x[0] + t * x[1] - std::exp(t), b = x[2] + x[3] * std::sin(t) - std::cos(t);
                          rows_of(j + 4 * i, {2 * a, 2 * a * t, 2 * b, 2 * b * std::sin(t)});
                        }
                      }});

  static const double osborne_y[33] = {0.844, 0.908, 0.932, 0.936, 0.925, 0.908, 0.881, 0.850, 0.818, 0.784, 0.751,
                                       0.718, 0.685, 0.658, 0.628, 0.603, 0.580, 0.558, 0.538, 0.522, 0.506, 0.490,
                                       0.478, 0.467, 0.457, 0.448, 0.438, 0.431, 0.424, 0.420, 0.414, 0.411, 0.406};
  problems.push_back({"Osborne 1", 5, 33, {0.5, 1.5, -1.0, 0.01, 0.02}, 0.7392493e-02,
                      [](const double* x, double* f) {
                        for (int i = 0; i < 33; ++i) {
                          const double t = 10.0 * i;
                          f[i] = osborne_y[i] - (x[0] + x[1] * std::exp(-t * x[3]) + x[2] * std::exp(-t * x[4]));
                        }
                      },
                      [](const double* x, double* j) {
                        for (int i = 0; i < 33; ++i) {
                          const double t = 10.0 * i, e3 = std::exp(-t * x[3]), e4 = std::exp(-t * x[4]);
                          rows_of(j + 5 * i, {-1.0, -e3, -e4, t * x[1] * e3, t * x[2] * e4});
                        }
                      }});
  return problems;
}

}  // namespace test_support
