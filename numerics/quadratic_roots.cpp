#include "numerics/quadratic_roots.h"

#include <cmath>
#include <stdexcept>

int quadratic_roots_real(double c0, double c1, double c2, double real[2], double imaginary[2]) {
  constexpr double epsilon = 2.220446049250313e-16;
  if (std::fabs(c2) < epsilon) {
    throw std::runtime_error("quadratic_roots_real(): the coefficient of the highest power is zero");
  }
  imaginary[0] = imaginary[1] = 0.0;
  if (std::fabs(c0) < epsilon) {
    real[0] = 0.0;
    real[1] = -c1 / c2;
    return 2;
  }
  const double discriminant = c1 * c1 - 4.0 * c2 * c0;
  if (discriminant < 0.0) {
    real[0] = real[1] = -c1 / (2.0 * c2);
    imaginary[0] = std::fabs(std::sqrt(-discriminant) / (2.0 * c2));  // the first root above the axis
    imaginary[1] = -imaginary[0];
    return 0;
  }
  // q and c1 share their sign, so c1 + s never cancels.
  const double s = c1 < 0.0 ? -std::sqrt(discriminant) : std::sqrt(discriminant);
  const double q = -(c1 + s) / 2.0;
  real[0] = q / c2;
  real[1] = c0 / q;
  return 2;
}
