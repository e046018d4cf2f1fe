#include "rotation/rotation_camera.h"

#include <stdexcept>
#include <string>

#include "rotation/rotation_camera_impl.h"

lens_layout checked_lens_layout(int32_t mode, int32_t first, int32_t last, const char* camera_name) {
  if (mode < first || mode > last) {
    throw std::invalid_argument(std::string(camera_name) + "::ctor(): unsupported camera sharing mode " +
                                std::to_string(mode));
  }
  return lens_layout_of(mode);
}

void pinhole_projection::image(const lens_record& lens, const double y[3], double out[2], double* by_ray,
                               double* by_lens) {
  const double u = y[0] / y[2], v = y[1] / y[2];
  out[0] = lens.fx * u + lens.cx;
  out[1] = lens.fy * v + lens.cy;
  if (!by_ray) return;
  const double a = lens.fx / y[2], b = lens.fy / y[2];
  const double ray[6] = {a, 0.0, -a * u, 0.0, b, -b * v};
  const double partials[12] = {u, 0.0, 1.0, 0.0, 0.0, 0.0,  //
                               0.0, v, 0.0, 1.0, 0.0, 0.0};
  std::copy(ray, ray + 6, by_ray);
  std::copy(partials, partials + 12, by_lens);
}

void radial_projection::image(const lens_record& lens, const double y[3], double out[2], double* by_ray,
                              double* by_lens) {
  const double u = y[0] / y[2], v = y[1] / y[2];
  const double rho = u * u + v * v;
  const double g = (lens.k2 * rho + lens.k1) * rho + 1.0;
  out[0] = lens.fx * g * u + lens.cx;
  out[1] = lens.fy * g * v + lens.cy;
  if (!by_ray) return;
  // By (u, v), then through (u, v) by y.
  const double g_rho = 2.0 * lens.k2 * rho + lens.k1;
  const double g_u = 2.0 * u * g_rho, g_v = 2.0 * v * g_rho;
  const double by_uv[4] = {lens.fx * (g + u * g_u), lens.fx * u * g_v, lens.fy * v * g_u, lens.fy * (g + v * g_v)};
  for (int row = 0; row < 2; ++row) {
    by_ray[3 * row] = by_uv[2 * row] / y[2];
    by_ray[3 * row + 1] = by_uv[2 * row + 1] / y[2];
    by_ray[3 * row + 2] = -(by_uv[2 * row] * u + by_uv[2 * row + 1] * v) / y[2];
  }
  const double partials[12] = {g * u, 0.0, 1.0, 0.0, lens.fx * u * rho, lens.fx * u * rho * rho,  //
                               0.0, g * v, 0.0, 1.0, lens.fy * v * rho, lens.fy * v * rho * rho};
  std::copy(partials, partials + 12, by_lens);
}

template struct rotation_camera<pinhole_projection, false>;
template struct rotation_camera<pinhole_projection, true>;
template struct rotation_camera<radial_projection, true>;
