#include "numerics/rodrigues.h"

#include <cmath>
#include <numbers>
#include <stdexcept>

#include "numerics/matrix_3x3.h"

namespace {

// Below this angle the series forms of A = sin t / t and B = (1 - cos t) / t^2
// are used.
constexpr double small_angle = 1e-6;

// Below this value of 1 - c^2 the angle is taken as 0 or pi.
constexpr double degenerate_sine = 1e-10;

}  // namespace

void rodrigues(const double r[3], double R[9], double dR[27]) {
  const double t2 = r[0] * r[0] + r[1] * r[1] + r[2] * r[2];
  const double t = std::sqrt(t2);
  double A, B, a, b;  // the derivatives of A and B over r[j] are a r[j] and b r[j]
  if (t < small_angle) {
    A = 1.0 - t2 / 6.0;
    B = 0.5 - t2 / 24.0;
    a = -1.0 / 3.0;
    b = -1.0 / 12.0;
  } else {
    A = std::sin(t) / t;
    B = (1.0 - std::cos(t)) / t2;
    a = (std::cos(t) - A) / t2;
    b = (A - 2.0 * B) / t2;
  }
  const double x = r[0], y = r[1], z = r[2];
  R[0] = 1.0 - (y * y + z * z) * B;
  R[4] = 1.0 - (x * x + z * z) * B;
  R[8] = 1.0 - (x * x + y * y) * B;
  R[1] = x * y * B - A * z;
  R[3] = x * y * B + A * z;
  R[2] = A * y + x * z * B;
  R[6] = x * z * B - A * y;
  R[5] = y * z * B - A * x;
  R[7] = y * z * B + A * x;
  if (!dR) return;

  for (int j = 0; j < 3; ++j) {
    const double rj = r[j];
    const double dA = a * rj, dB = b * rj;
    // Derivatives of the coordinates themselves: d r[i] / d r[j].
    const double dx = j == 0, dy = j == 1, dz = j == 2;
    dR[0 * 3 + j] = -2.0 * (y * dy + z * dz) * B - (y * y + z * z) * dB;
    dR[4 * 3 + j] = -2.0 * (x * dx + z * dz) * B - (x * x + z * z) * dB;
    dR[8 * 3 + j] = -2.0 * (x * dx + y * dy) * B - (x * x + y * y) * dB;
    const double dxy = (dx * y + x * dy) * B + x * y * dB;
    const double dxz = (dx * z + x * dz) * B + x * z * dB;
    const double dyz = (dy * z + y * dz) * B + y * z * dB;
    dR[1 * 3 + j] = dxy - (dA * z + A * dz);
    dR[3 * 3 + j] = dxy + (dA * z + A * dz);
    dR[2 * 3 + j] = (dA * y + A * dy) + dxz;
    dR[6 * 3 + j] = dxz - (dA * y + A * dy);
    dR[5 * 3 + j] = dyz - (dA * x + A * dx);
    dR[7 * 3 + j] = dyz + (dA * x + A * dx);
  }
}

namespace {

// A half turn: the axis comes from the diagonal, its signs from the
// symmetric off-diagonal sums.
void half_turn(const double R[9], double c, double r[3]) {
  const double m = std::numbers::pi - std::sqrt(std::fabs(2.0 * c + 2.0));
  r[0] = std::sqrt(R[0] / 2.0 + 0.5) * m;
  r[1] = std::sqrt(R[4] / 2.0 + 0.5) * m;
  r[2] = std::sqrt(R[8] / 2.0 + 0.5) * m;
  const double p = R[3] + R[1], q = R[7] + R[5], s = R[6] + R[2];
  if (p == 0.0 && q == 0.0 && s < 0.0) {
    r[2] = -r[2];
  } else if (p == 0.0 && s == 0.0 && q < 0.0) {
    r[1] = -r[1];
  } else if (q == 0.0 && s == 0.0 && p < 0.0) {
    r[0] = -r[0];
  } else if ((q != 0.0 || s != 0.0) && p < 0.0 && q < 0.0) {
    r[1] = -r[1];
  } else if (((q == 0.0 && s == 0.0) || p >= 0.0) && q < 0.0) {
    if (s < 0.0) r[2] = -r[2];
  } else if (s < 0.0 && p < 0.0) {
    r[0] = -r[0];
  }
}

}  // namespace

void rodrigues_inv(const double R[9], double r[3]) {
  const double trace = R[0] + R[4] + R[8];
  const double c = (trace - 1.0) / 2.0;
  if (c > 1.0001 || c < -1.0001) throw std::runtime_error("rodrigues_inv(): Input is NOT a rotation matrix");
  double w;
  if (1.0 - c * c > degenerate_sine) {
    const double angle = std::acos(c);
    w = angle / (2.0 * std::sin(angle));
  } else if (trace > 0.0) {
    w = 3.0 / (trace + 3.0);  // near the identity, where sin(a) / a tends to 1
  } else {
    half_turn(R, c, r);
    return;
  }
  r[0] = w * (R[7] - R[5]);
  r[1] = w * (R[2] - R[6]);
  r[2] = w * (R[3] - R[1]);
}

void rodrigues_turn(const double current[3], const double turn[3], double moved[3]) {
  double small[9], start[9], product[9];
  rodrigues(turn, small);
  rodrigues(current, start);
  multiply_3x3(small, start, product);
  rodrigues_inv(product, moved);
}
