// Views rendered from a photograph by a pinhole camera turning about its
// centre: the photograph is the view of a camera of focal length
// `source_focal` at the unit rotation, and each view turns by a Rodrigues
// vector (degrees about x, y, z) and has focal length `focal`.
#pragma once

#include <algorithm>
#include <array>
#include <numbers>
#include <vector>

#include "numerics/matrix_3x3.h"
#include "numerics/rodrigues.h"
#include "photographs.h"

namespace test_support {

struct turning_views {
  std::vector<grey_image> images;
  std::vector<std::array<double, 9>> rotations;  // world to camera
  double focal = 0.0;
};

inline turning_views render_turning_views(const grey_image& photograph, double source_focal, double focal, int width,
                                          int height, const std::vector<std::array<double, 3>>& turns) {
  constexpr double degree = std::numbers::pi / 180.0;
  const double sx = (photograph.width - 1) / 2.0, sy = (photograph.height - 1) / 2.0;
  const double cx = (width - 1) / 2.0, cy = (height - 1) / 2.0;
  turning_views views;
  views.focal = focal;
  for (const auto& turn : turns) {
    const double vector[3] = {turn[0] * degree, turn[1] * degree, turn[2] * degree};
    std::array<double, 9> r;
    rodrigues(vector, r.data());
    // H = K R K0^-1 takes photograph pixels to view pixels.
    const double k0_inverse[9] = {1 / source_focal, 0, -sx / source_focal, 0, 1 / source_focal, -sy / source_focal,
                                  0, 0, 1};
    const double k[9] = {focal, 0, cx, 0, focal, cy, 0, 0, 1};
    double kr[9], h[9];
    multiply_3x3(k, r.data(), kr);
    multiply_3x3(kr, k0_inverse, h);
    homography map;
    std::copy(h, h + 9, map.begin());
    views.images.push_back(warp(photograph, map, width, height));
    views.rotations.push_back(r);
  }
  return views;
}

}  // namespace test_support
