// Camera rotations built from known angles, for the cylindrical tests.
#pragma once

#include <array>
#include <cmath>

using rotation_matrix = std::array<double, 9>;

inline rotation_matrix multiply(const rotation_matrix& a, const rotation_matrix& b) {
  rotation_matrix product{};
  for (int i = 0; i < 3; ++i)
    for (int j = 0; j < 3; ++j)
      for (int k = 0; k < 3; ++k) product[3 * i + j] += a[3 * i + k] * b[3 * k + j];
  return product;
}

// Ry(yaw) Rx(-elevation) Rz(-roll), each a right-handed turn about its axis:
// the optical axis points to phase `yaw` and height tan(elevation) on the
// cylinder, and the image is rolled by `roll`.
inline rotation_matrix camera_rotation(double yaw, double elevation, double roll) {
  const double cy = std::cos(yaw), sy = std::sin(yaw);
  const double cx = std::cos(-elevation), sx = std::sin(-elevation);
  const double cz = std::cos(-roll), sz = std::sin(-roll);
  const rotation_matrix about_y{cy, 0, sy, 0, 1, 0, -sy, 0, cy};
  const rotation_matrix about_x{1, 0, 0, 0, cx, -sx, 0, sx, cx};
  const rotation_matrix about_z{cz, -sz, 0, sz, cz, 0, 0, 0, 1};
  return multiply(multiply(about_y, about_x), about_z);
}
