#include "numerics/error_function.h"

#include <cmath>

namespace {

// The limits of the single-precision version of the routine. Below
// `x_small` the argument's square is taken as 0; beyond `x_big` erfc is 0;
// below `x_negative` the scaled form overflows to `x_infinity`; beyond
// `x_huge` the scaled form is 1 / (sqrt(pi) x), and beyond `x_max` it is 0.
constexpr double x_small = 5.96e-8;
constexpr double threshold = 0.46875;  // between the first and second forms
constexpr double second_range_end = 4.0;
constexpr double x_big = 9.194;
constexpr double x_negative = -9.382;
constexpr double x_infinity = 3.40e38;
constexpr double x_huge = 2.90e3;
constexpr double x_max = 4.79e37;
constexpr double inverse_sqrt_pi = 5.6418958354775628695e-1;

// erf on |x| <= 0.46875: x A(x^2) / B(x^2).
constexpr double a[5] = {3.16112374387056560e00, 1.13864154151050156e02, 3.77485237685302021e02,
                         3.20937758913846947e03, 1.85777706184603153e-1};
constexpr double b[4] = {2.36012909523441209e01, 2.44024637934444173e02, 1.28261652607737228e03,
                         2.84423683343917062e03};
// erfc on 0.46875 < |x| <= 4: exp(-x^2) C(x) / D(x).
constexpr double c[9] = {5.64188496988670089e-1, 8.88314979438837594e00, 6.61191906371416295e01,
                         2.98635138197400131e02, 8.81952221241769090e02, 1.71204761263407058e03,
                         2.05107837782607147e03, 1.23033935479799725e03, 2.15311535474403846e-8};
constexpr double d[8] = {1.57449261107098347e01, 1.17693950891312499e02, 5.37181101862009858e02,
                         1.62138957456669019e03, 3.29079923573345963e03, 4.36261909014324716e03,
                         3.43936767414372164e03, 1.23033935480374942e03};
// erfc on |x| > 4: exp(-x^2) / x (1/sqrt(pi) + P(1/x^2) / (x^2 Q(1/x^2))).
constexpr double p[6] = {3.05326634961232344e-1, 3.60344899949804439e-1, 1.25781726111229246e-1,
                         1.60837851487422766e-2, 6.58749161529837803e-4, 1.63153871373020978e-2};
constexpr double q[5] = {2.56852019228982242e00, 1.87295284992346047e00, 5.27905102951428412e-1,
                         6.05183413124413191e-2, 2.33520497626869185e-3};

// exp(-y^2) or exp(y^2), formed from y rounded towards zero to a multiple
// of 1/16, so that the large part of the square is exact and the small part
// y^2 - coarse^2 loses nothing.
double exp_square(double y, double sign) {
  const double coarse = std::trunc(y * 16.0) / 16.0;
  const double rest = (y - coarse) * (y + coarse);
  return std::exp(sign * coarse * coarse) * std::exp(sign * rest);
}

double exp_minus_square(double y) { return exp_square(y, -1.0); }

// |x| <= 0.46875: erf(x) itself.
double small_argument_erf(double x, double y) {
  const double y_squared = y > x_small ? y * y : 0.0;
  double numerator = a[4] * y_squared;
  double denominator = y_squared;
  for (int i = 0; i < 3; ++i) {
    numerator = (numerator + a[i]) * y_squared;
    denominator = (denominator + b[i]) * y_squared;
  }
  return x * (numerator + a[3]) / (denominator + b[3]);
}

// 0.46875 < y <= 4: exp(y^2) erfc(y).
double middle_argument_scaled_erfc(double y) {
  double numerator = c[8] * y;
  double denominator = y;
  for (int i = 0; i < 7; ++i) {
    numerator = (numerator + c[i]) * y;
    denominator = (denominator + d[i]) * y;
  }
  return (numerator + c[7]) / (denominator + d[7]);
}

// y > 4: exp(y^2) erfc(y).
double large_argument_scaled_erfc(double y) {
  const double inverse_square = 1.0 / (y * y);
  double numerator = p[5] * inverse_square;
  double denominator = inverse_square;
  for (int i = 0; i < 4; ++i) {
    numerator = (numerator + p[i]) * inverse_square;
    denominator = (denominator + q[i]) * inverse_square;
  }
  const double correction = inverse_square * (numerator + p[4]) / (denominator + q[4]);
  return (inverse_sqrt_pi - correction) / y;
}

// erfc(|x|), or its scaled form, for |x| above the first range.
double complement_of_magnitude(double y, bool scaled) {
  if (y <= second_range_end) {
    const double value = middle_argument_scaled_erfc(y);
    return scaled ? value : exp_minus_square(y) * value;
  }
  if (y >= x_big) {
    if (!scaled || y >= x_max) return 0.0;
    if (y >= x_huge) return inverse_sqrt_pi / y;
  }
  const double value = large_argument_scaled_erfc(y);
  return scaled ? value : exp_minus_square(y) * value;
}

}  // namespace

double error_function(double x, error_function_mode mode) {
  const double y = std::fabs(x);
  if (y <= threshold) {
    const double erf = small_argument_erf(x, y);
    if (mode == error_function_mode::erf) return erf;
    const double erfc = 1.0 - erf;
    return mode == error_function_mode::erfc ? erfc : std::exp(y > x_small ? y * y : 0.0) * erfc;
  }
  const bool scaled = mode != error_function_mode::erf && mode != error_function_mode::erfc;
  const double complement = complement_of_magnitude(y, scaled);
  switch (mode) {
    case error_function_mode::erf: {
      const double erf = (0.5 - complement) + 0.5;
      return x < 0.0 ? -erf : erf;
    }
    case error_function_mode::erfc:
      return x < 0.0 ? 2.0 - complement : complement;
    default:
      if (x >= 0.0) return complement;
      if (x < x_negative) return x_infinity;
      // exp(x^2) erfc(x) = 2 exp(x^2) - exp(x^2) erfc(-x).
      const double exp_x_squared = exp_square(x, 1.0);
      return (exp_x_squared + exp_x_squared) - complement;
  }
}

