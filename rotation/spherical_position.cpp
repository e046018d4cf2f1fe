#include "rotation/spherical_position.h"

#include <cmath>

scene_point spherical_position(const lens_record& lens, const double rotation[9], const image_point& pixel) {
  const double k[3] = {(pixel[0] - lens.cx) / lens.fx, (pixel[1] - lens.cy) / lens.fy, 1.0};
  double ray[3];
  for (int c = 0; c < 3; ++c) ray[c] = rotation[c] * k[0] + rotation[3 + c] * k[1] + rotation[6 + c] * k[2];
  const double norm = std::sqrt(ray[0] * ray[0] + ray[1] * ray[1] + ray[2] * ray[2]);
  return {std::atan2(ray[1], ray[0]), std::asin(ray[2] / norm)};
}
