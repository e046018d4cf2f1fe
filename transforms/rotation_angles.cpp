#include "transforms/rotation_angles.h"

#include <cmath>
#include <numbers>

namespace {

constexpr double pi = std::numbers::pi;

// The limit the decomposition has always compared with: a little above pi/2,
// so that an elevation of exactly pi/2 is left alone.
constexpr double right_angle_limit = 1.5707963267949;

double half_turn(double angle) {
  angle += pi;
  if (angle > 2.0 * pi) angle -= 2.0 * pi;
  return angle;
}

}  // namespace

void RotationAngles(const double R[9], double angles[3]) {
  double a0 = std::atan2(R[2], R[8]);
  double a2 = std::atan2(-R[3], R[4]);
  // R2 + R8 = cos(a1) (sin(a0) + cos(a0)): one division that never meets a
  // vanishing sine or cosine of a0 alone. At a0 near 135 or -45 degrees both
  // sums vanish and rounding decides the sign of their quotient; a negative
  // one throws a1 beyond a right angle, which the turns below take back by
  // the equivalent triple (a0 + pi, pi - a1, a2 + pi).
  double a1 = std::atan2(R[5], (R[8] + R[2]) / (std::sin(a0) + std::cos(a0)));
  if (a1 > right_angle_limit) {
    a0 = half_turn(a0);
    a1 = pi - a1;
    a2 = half_turn(a2);
  } else if (a1 < -right_angle_limit) {
    a0 = half_turn(a0);
    a1 = -pi - a1;
    a2 = half_turn(a2);
  }
  angles[0] = a0;
  angles[1] = a1;
  angles[2] = a2;
}
