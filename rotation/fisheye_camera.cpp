#include "rotation/fisheye_camera.h"

#include <algorithm>
#include <cmath>

#include "rotation/rotation_camera_impl.h"

namespace {

// Within this of the axis in both components a ray images at the centre.
constexpr double axis_ray = 0.001;

}  // namespace

void fisheye_polynomial_projection::image(const fisheye_lens& lens, const double y[3], double out[2], double* by_ray,
                                          double* by_lens) {
  if (std::fabs(y[0]) < axis_ray && std::fabs(y[1]) < axis_ray) {
    out[0] = lens.cx;
    out[1] = lens.cy;
    if (!by_ray) return;
    std::fill(by_ray, by_ray + 6, 0.0);
    const double partials[10] = {0.0, 0.0, 0.0, 1.0, 0.0,  //
                                 0.0, 0.0, 0.0, 0.0, 1.0};
    std::copy(partials, partials + 10, by_lens);
    return;
  }
  const double r = std::hypot(y[0], y[1]);
  const double theta = std::atan2(r, y[2]);
  const double radius = theta * ((lens.a0 * theta + lens.a1) * theta + lens.a2);
  const double s = radius / r;  // image radius per unit of r
  out[0] = s * y[0] + lens.cx;
  out[1] = s * y[1] + lens.cy;
  if (!by_ray) return;
  // s depends on y through r and theta: ds/dy_j = R'(theta) dtheta/dy_j / r
  // - R(theta) / r^2 dr/dy_j.
  const double slope = (3.0 * lens.a0 * theta + 2.0 * lens.a1) * theta + lens.a2;  // R'(theta)
  const double q = r * r + y[2] * y[2];
  const double theta_by_r = y[2] / q, theta_by_z = -r / q;
  const double s_by_r = (slope * theta_by_r - s) / r;
  const double s_by[3] = {s_by_r * y[0] / r, s_by_r * y[1] / r, slope * theta_by_z / r};
  for (int row = 0; row < 2; ++row) {
    for (int j = 0; j < 3; ++j) by_ray[3 * row + j] = y[row] * s_by[j] + (row == j ? s : 0.0);
  }
  const double t3 = theta * theta * theta / r, t2 = theta * theta / r, t1 = theta / r;
  const double partials[10] = {t3 * y[0], t2 * y[0], t1 * y[0], 1.0, 0.0,  //
                               t3 * y[1], t2 * y[1], t1 * y[1], 0.0, 1.0};
  std::copy(partials, partials + 10, by_lens);
}

template struct rotation_camera<fisheye_polynomial_projection, false>;
template struct rotation_camera<fisheye_polynomial_projection, true>;
