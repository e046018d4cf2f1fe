// Cody's approximations of erf, erfc and exp(x^2) erfc(x), with the limits of
// the single-precision routine.
#include <gtest/gtest.h>

#include <cmath>

#include "numerics/error_function.h"

namespace {

double erf_of(double x) { return error_function(x, error_function_mode::erf); }
double erfc_of(double x) { return error_function(x, error_function_mode::erfc); }
double scaled_of(double x) { return error_function(x, error_function_mode::scaled_erfc); }

TEST(ErrorFunction, agrees_with_the_library_functions_across_all_three_ranges) {
  // Below 0.46875, up to 4, and beyond 4 up to the single-precision limit.
  for (double x = -9.1; x <= 9.1; x += 0.0137) {
    EXPECT_NEAR(std::erf(x), erf_of(x), 4e-16) << x;
    EXPECT_NEAR(std::erfc(x), erfc_of(x), 4e-16 * std::max(1.0, std::erfc(x))) << x;
    if (x > -9.0) {
      const double scaled = std::exp(x * x) * std::erfc(x);
      EXPECT_NEAR(scaled, scaled_of(x), 2e-13 * scaled) << x;
    }
  }
  EXPECT_NEAR(std::erfc(9.19), erfc_of(9.19), 1e-13 * std::erfc(9.19));
}

TEST(ErrorFunction, known_values) {
  const auto near = [](double expected, double actual) { return std::fabs(expected - actual) <= 4e-16 * expected; };
  EXPECT_PRED2(near, 0.5204998778130465, erf_of(0.5));
  EXPECT_PRED2(near, 0.8427007929497149, erf_of(1.0));
  EXPECT_PRED2(near, 0.004677734981047266, erfc_of(2.0));
  EXPECT_PRED2(near, 1.5374597944280349e-12, erfc_of(5.0));
  EXPECT_PRED2(near, 0.2108063640611436, scaled_of(2.5));
}

TEST(ErrorFunction, single_precision_limits_apply) {
  // erfc is 0 from 9.194 on, so erf is 1 and erfc of the negative is 2.
  EXPECT_EQ(0.0, erfc_of(9.194));
  EXPECT_EQ(0.0, erfc_of(30.0));
  EXPECT_GT(erfc_of(9.19), 0.0);
  EXPECT_EQ(1.0, erf_of(9.5));
  EXPECT_EQ(-1.0, erf_of(-9.5));
  EXPECT_EQ(2.0, erfc_of(-9.5));
  // The scaled form overflows to 3.4e38 below -9.382, is 1 / (sqrt(pi) x)
  // from 2900 on and 0 from 4.79e37 on.
  EXPECT_EQ(3.40e38, scaled_of(-9.4));
  EXPECT_LT(scaled_of(-9.38), 3.40e38);
  EXPECT_EQ(5.6418958354775628695e-1 / 3000.0, scaled_of(3000.0));
  EXPECT_EQ(0.0, scaled_of(5e37));
  // Below 5.96e-8 the square is taken as 0: erf(x) is x A4 / B4.
  EXPECT_EQ(1e-9 * 3.20937758913846947e03 / 2.84423683343917062e03, erf_of(1e-9));
  EXPECT_EQ(1.0, scaled_of(0.0));
}

TEST(ErrorFunction, any_other_mode_gives_the_scaled_complement) {
  EXPECT_EQ(scaled_of(1.7), error_function(1.7, static_cast<error_function_mode>(7)));
}

}  // namespace
