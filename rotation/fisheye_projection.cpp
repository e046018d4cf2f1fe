#include "rotation/fisheye_projection.h"

#include <cmath>

namespace {

// Closer to the centre than this a pixel is the centre, and its ray the axis.
constexpr double centre_pixel = 0.001;
// Closer to the axis than this a ray is the axis.
constexpr double axis_ray = 1e-6;

}  // namespace

std::unique_ptr<fisheye_projection_base> fisheye_equidist5::clone() const {
  return std::make_unique<fisheye_equidist5>(*this);
}

double fisheye_equidist5::radius(double theta) const {
  return theta * ((((p0 * theta + p1) * theta + p2) * theta + p3) * theta + p4);
}

double fisheye_equidist5::radius_to_angle(double rho) const {
  double theta = rho / p4;
  for (int step = 0; step < 5; ++step) {
    const double h = ((p0 * theta + p1) * theta + p2) * theta + p3;
    theta = (rho - theta * theta * h) / p4;
  }
  return theta;
}

void fisheye_equidist5::image_to_ray(double u, double v, double& x, double& y, double max_angle) const {
  const double du = u - cx, dv = v - cy;
  if (std::fabs(du) < centre_pixel && std::fabs(dv) < centre_pixel) {
    x = y = 0.0;
    return;
  }
  const double rho = std::hypot(du, dv);
  double theta = radius_to_angle(rho);
  if (theta > max_angle) theta = max_angle;
  const double scale = std::tan(theta) / rho;
  x = scale * du;
  y = scale * dv;
}

void fisheye_equidist5::ray_to_image(double x, double y, double z, double& u, double& v) const {
  if (std::fabs(x) <= axis_ray && std::fabs(y) <= axis_ray) {
    u = cx;
    v = cy;
    return;
  }
  const double r = std::sqrt(x * x + y * y);
  const double scale = radius(std::atan(r / z)) / r;
  u = scale * x + cx;
  v = scale * y + cy;
}

double fisheye_equidist5::image_to_angle(double u, double v) const {
  return radius_to_angle(std::hypot(u - cx, v - cy));
}
