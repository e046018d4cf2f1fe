#include "geometry/point_normalization.h"

#include <cmath>
#include <cstddef>

namespace {

constexpr double sqrt_2 = 1.4142135623730951;

// The centroid and normalising scale of the points that `counted` admits.
// False, with nothing written, when none is admitted.
template <class Counted>
bool normalize_selected(const point_list& points, Counted counted, double& cx, double& cy, double& scale) {
  std::size_t n = 0;
  double sum_x = 0.0, sum_y = 0.0;
  for (std::size_t i = 0; i < points.size(); ++i) {
    if (!counted(i)) continue;
    sum_x += points[i][0];
    sum_y += points[i][1];
    ++n;
  }
  if (n == 0) return false;
  cx = sum_x / static_cast<double>(n);
  cy = sum_y / static_cast<double>(n);
  double spread = 0.0;
  for (std::size_t i = 0; i < points.size(); ++i) {
    if (!counted(i)) continue;
    const double dx = points[i][0] - cx, dy = points[i][1] - cy;
    spread += std::sqrt(dx * dx + dy * dy);
  }
  scale = spread;
  if (spread < least_spread) return false;
  scale = static_cast<double>(n) * sqrt_2 / spread;
  return true;
}

}  // namespace

bool normalizer_all(const point_list& points, double& cx, double& cy, double& scale) {
  return normalize_selected(points, [](std::size_t) { return true; }, cx, cy, scale);
}

bool normalizer_masked(const point_list& points, const bit_mask& mask, double& cx, double& cy, double& scale) {
  cx = cy = scale = 0.0;
  return normalize_selected(points, [&mask](std::size_t i) { return mask[i]; }, cx, cy, scale);
}

void denormalize_projective(const double g[9], const point_frame& first, const point_frame& second, double h[9]) {
  const double sa = first.scale, sb = second.scale;
  h[6] = g[6] * sb;
  h[7] = g[7] * sb;
  h[8] = g[8] - (g[7] * second.cy + g[6] * second.cx) * sb;
  h[0] = (g[0] / sa + g[6] * first.cx) * sb;
  h[1] = (g[1] / sa + g[7] * first.cx) * sb;
  h[3] = (g[3] / sa + g[6] * first.cy) * sb;
  h[4] = (g[4] / sa + g[7] * first.cy) * sb;
  h[2] = (g[2] - (g[0] * second.cx + g[1] * second.cy) * sb) / sa + h[8] * first.cx;
  h[5] = (g[5] - (g[3] * second.cx + g[4] * second.cy) * sb) / sa + h[8] * first.cy;
}
