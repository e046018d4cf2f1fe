#include "transforms/cylinder_point.h"

#include <cmath>
#include <numbers>

cylinder_coordinates CylinderPoint(const double rotation[9], const double focal[2], const double centre[2], double x,
                                   double y) {
  const double* R = rotation;
  const double u = (x - centre[0]) / focal[0];
  const double v = (y - centre[1]) / focal[1];
  const double X = R[0] * u + R[1] * v + R[2];
  const double Y = R[3] * u + R[4] * v + R[5];
  const double Z = R[6] * u + R[7] * v + R[8];
  return {std::atan2(X, Z), Y / std::sqrt(X * X + Z * Z)};
}

double wrap_phase(double phase, double centre) {
  constexpr double pi = std::numbers::pi;
  while (centre - phase > pi) phase += 2.0 * pi;
  while (phase - centre > pi) phase -= 2.0 * pi;
  return phase;
}
