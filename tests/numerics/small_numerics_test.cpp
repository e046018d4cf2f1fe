// Rodrigues maps, determinants and quadratic roots: exact cases, finite
// differences and round trips.
#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <stdexcept>
#include <vector>

#include "allocation_counter.h"
#include "numerics/matrix_3x3.h"
#include "numerics/quadratic_roots.h"
#include "numerics/rodrigues.h"

namespace {

constexpr double pi = std::numbers::pi;

template <class Exception, class Call>
void expect_message(Call call, const char* text) {
  try {
    call();
    FAIL() << "no exception";
  } catch (const Exception& error) {
    EXPECT_STREQ(text, error.what());
  }
}

TEST(Rodrigues, the_zero_vector_is_the_identity_and_a_quarter_turn_about_z_is_exact) {
  const double zero[3] = {0, 0, 0}, quarter[3] = {0, 0, pi / 2};
  double R[9];
  rodrigues(zero, R);
  EXPECT_EQ((std::vector<double>{1, 0, 0, 0, 1, 0, 0, 0, 1}), std::vector<double>(R, R + 9));
  rodrigues(quarter, R);
  const double expected[9] = {0, -1, 0, 1, 0, 0, 0, 0, 1};
  for (int i = 0; i < 9; ++i) EXPECT_NEAR(expected[i], R[i], 1e-15);
}

TEST(Rodrigues, derivatives_agree_with_finite_differences_in_both_regimes) {
  const double vectors[][3] = {{0.3, -0.7, 1.1}, {2.5, 0.1, -0.4}, {2e-7, -1e-7, 3e-7}, {0.0, 0.0, 0.0}};
  for (const auto& r : vectors) {
    double R[9], dR[27];
    rodrigues(r, R, dR);
    for (int j = 0; j < 3; ++j) {
      const double h = 1e-7;
      double plus[3] = {r[0], r[1], r[2]}, minus[3] = {r[0], r[1], r[2]};
      plus[j] += h;
      minus[j] -= h;
      double Rp[9], Rm[9];
      rodrigues(plus, Rp);
      rodrigues(minus, Rm);
      for (int k = 0; k < 9; ++k) EXPECT_NEAR((Rp[k] - Rm[k]) / (2 * h), dR[3 * k + j], 1e-7) << k << ", " << j;
    }
  }
}

TEST(Rodrigues, the_inverse_recovers_the_vector_near_zero_in_general_and_near_a_half_turn) {
  const struct {
    double r[3], tolerance;
  } cases[] = {{{1e-9, -2e-9, 3e-9}, 2e-6},
               {{0.3, -0.7, 1.1}, 2e-6},
               {{-1.2, 0.4, 0.9}, 2e-6},
               {{0.0, pi - 1e-7, 0.0}, 2e-6},
               {{(pi - 1e-6) / std::sqrt(2.0), (pi - 1e-6) / std::sqrt(2.0), 0.0}, 2e-6},
               {{pi, 0.0, 0.0}, 2e-6},
               {{0.0, pi, 0.0}, 1e-7},
               {{0.0, 0.0, pi}, 2e-6}};
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << c.r[0] << ", " << c.r[1] << ", " << c.r[2]);
    double R[9], back[3];
    rodrigues(c.r, R);
    rodrigues_inv(R, back);
    for (int i = 0; i < 3; ++i) EXPECT_NEAR(c.r[i], back[i], c.tolerance);
  }
}

TEST(Rodrigues, a_trace_just_beyond_three_is_the_identity_and_further_is_no_rotation) {
  const double nearly[9] = {1.0001, 0, 0, 0, 1, 0, 0, 0, 1};  // trace 3.0001
  double r[3] = {9, 9, 9};
  rodrigues_inv(nearly, r);
  EXPECT_EQ((std::vector<double>{0, 0, 0}), std::vector<double>(r, r + 3));
  const double beyond[9] = {1.01, 0, 0, 0, 1, 0, 0, 0, 1};
  expect_message<std::runtime_error>([&] { rodrigues_inv(beyond, r); }, "rodrigues_inv(): Input is NOT a rotation matrix");
}

TEST(Matrix3x3, determinant_adjugate_and_product) {
  const double m[9] = {2, -1, 0, 1, 3, 4, 0, 5, -2};
  EXPECT_EQ(-54.0, determinant_3x3(m));
  double adjugate[9], product[9];
  adjugate_3x3(m, adjugate);
  multiply_3x3(m, adjugate, product);
  for (int i = 0; i < 9; ++i) EXPECT_EQ(i % 4 == 0 ? -54.0 : 0.0, product[i]);
  EXPECT_EQ(-54.0, determinant(view_3x3(m)));
  const double two[4] = {3, 1, 4, 2};
  EXPECT_EQ(2.0, determinant(matrix_view<const double>{2, 2, two}));
  const double sixteen[16] = {};
  expect_message<std::runtime_error>([&] { determinant(matrix_view<const double>{4, 4, sixteen}); }, "yet to implement");
  expect_message<std::runtime_error>([&] { determinant(matrix_view<const double>{2, 3, sixteen}); },
                                     "determinant can be only calculated for square matrices");
}

TEST(QuadraticRoots, real_complex_and_degenerate_cases) {
  double re[2], im[2];
  // Far-apart roots without cancellation: x^2 - 1e8 x + 1.
  ASSERT_EQ(2, quadratic_roots_real(1.0, -1e8, 1.0, re, im));
  EXPECT_DOUBLE_EQ(1e8, re[0]);
  EXPECT_DOUBLE_EQ(1e-8, re[1]);
  // c0 = 0 gives 0 and -c1 / c2, whatever the sign of c1.
  ASSERT_EQ(2, quadratic_roots_real(0.0, 3.0, 2.0, re, im));
  EXPECT_EQ(0.0, re[0]);
  EXPECT_EQ(-1.5, re[1]);
  ASSERT_EQ(2, quadratic_roots_real(0.0, -3.0, 2.0, re, im));
  EXPECT_EQ(1.5, re[1]);
  // x^2 + 2x + 5: -1 +- 2i, the first above the axis.
  ASSERT_EQ(0, quadratic_roots_real(5.0, 2.0, 1.0, re, im));
  EXPECT_EQ(-1.0, re[0]);
  EXPECT_EQ(2.0, im[0]);
  EXPECT_EQ(-2.0, im[1]);
  expect_message<std::runtime_error>([&] { quadratic_roots_real(1.0, 1.0, 1e-17, re, im); },
                                     "quadratic_roots_real(): the coefficient of the highest power is zero");
}

TEST(SmallNumerics, fixed_size_routines_allocate_nothing) {
  const double r[3] = {0.3, -0.7, 1.1};
  double R[9], dR[27], back[3], adjugate[9], product[9], re[2], im[2];
  const std::size_t count = test_support::allocations_during([&] {
    rodrigues(r, R, dR);
    rodrigues_inv(R, back);
    adjugate_3x3(R, adjugate);
    multiply_3x3(R, adjugate, product);
    determinant_3x3(product);
    quadratic_roots_real(1.0, -3.0, 2.0, re, im);
  });
  EXPECT_EQ(0u, count);
}

}  // namespace
