#include "transforms/cylinder_range.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

#include "transforms/cylinder_point.h"

namespace {

using column = std::array<double, 3>;

column column_of(const double R[9], int k) { return {R[k], R[3 + k], R[6 + k]}; }

// Whether the cylinder's axis meets the image plane within a margin around
// the rectangle. Seen from the camera the axis points along the second row
// of R, (R3, R4, R5), and meets the plane at (fx R3 / R5 + cx,
// fy R4 / R5 + cy). Both sides of each comparison are multiplied by R5^2, so
// that no division is made and the sign of R5 does not matter.
bool sees_pole(const double rectangle[4], const double R[9], const double focal[2], const double centre[2]) {
  if (!(std::abs(R[5]) > 1e-6)) return false;
  const double x0 = rectangle[0], y0 = rectangle[1], x1 = rectangle[2], y1 = rectangle[3];
  const double margin = std::max(50.0, 0.1 * std::max(x1 - x0, y1 - y0));
  const double r55 = R[5] * R[5];
  const double pole_x = focal[0] * R[3] * R[5] + centre[0] * r55;
  const double pole_y = focal[1] * R[4] * R[5] + centre[1] * r55;
  return (x0 - margin) * r55 <= pole_x && pole_x <= (x1 + margin) * r55 && (y0 - margin) * r55 <= pole_y &&
         pole_y <= (y1 + margin) * r55;
}

// One side of the rectangle: the coordinate on `fixed_axis` (0 for x, 1 for
// y) is held at `fixed`, the other runs from `low` to `high`.
struct edge {
  int fixed_axis;
  double fixed;
  double low;
  double high;
};

// Where the height along an edge has its stationary point, as a free
// coordinate in pixels; false when the edge has none. The ray along the edge
// is P + t D, t the free offset from the centre and P the ray at t = 0 scaled
// by the fixed axis's focal length; setting the derivative of
// (P.y + t D.y) / |(P.x + t D.x, P.z + t D.z)| to zero gives t in closed form.
// The free offset is taken at the fixed axis's scale, which is exact for
// equal focal lengths and an approximation otherwise.
bool height_extreme_on(const edge& side, const double R[9], const double focal[2], const double centre[2],
                       double* free_coordinate) {
  const int free_axis = 1 - side.fixed_axis;
  const double d = side.fixed - centre[side.fixed_axis];
  const double f = focal[side.fixed_axis];
  const column C = column_of(R, side.fixed_axis);
  const column T = column_of(R, 2);
  const column D = column_of(R, free_axis);
  const column P = {C[0] * d + T[0] * f, C[1] * d + T[1] * f, C[2] * d + T[2] * f};
  const double A = D[0] * P[0] + D[2] * P[2];
  const double denominator = D[1] * A - (D[0] * D[0] + D[2] * D[2]) * P[1];
  if (denominator == 0.0) return false;
  *free_coordinate = (A * P[1] - (P[0] * P[0] + P[2] * P[2]) * D[1]) / denominator + centre[free_axis];
  return true;
}

}  // namespace

CylinderRange::CylinderRange(const double rectangle[4], const double rotation[9], const double focal[2],
                             const double centre[2], double low, double high) {
  constexpr double two_pi = 2.0 * std::numbers::pi;
  if (sees_pole(rectangle, rotation, focal, centre)) return;
  const double x0 = rectangle[0], y0 = rectangle[1], x1 = rectangle[2], y1 = rectangle[3];
  const auto at = [&](double x, double y) { return CylinderPoint(rotation, focal, centre, x, y); };

  const std::array corners = {at(x0, y0), at(x1, y0), at(x1, y1), at(x0, y1)};
  height_min = height_max = corners[0].height;
  for (const cylinder_coordinates& corner : corners) {
    height_min = std::min(height_min, corner.height);
    height_max = std::max(height_max, corner.height);
  }

  // A straight edge is an arc of a great circle, whose height can peak
  // between the corners; its phase cannot turn back, so the corners give the
  // phase range alone.
  const std::array edges = {edge{1, y0, x0, x1}, edge{0, x1, y0, y1}, edge{1, y1, x0, x1}, edge{0, x0, y0, y1}};
  for (const edge& side : edges) {
    double free_coordinate;
    if (!height_extreme_on(side, rotation, focal, centre, &free_coordinate)) continue;
    if (free_coordinate < side.low || free_coordinate > side.high) continue;
    const double height = side.fixed_axis == 1 ? at(free_coordinate, side.fixed).height
                                               : at(side.fixed, free_coordinate).height;
    height_min = std::min(height_min, height);
    height_max = std::max(height_max, height);
  }

  double phase = corners[0].phase;
  while (phase < low) phase += two_pi;
  while (phase > high) phase -= two_pi;
  phase_min = phase_max = phase;
  for (std::size_t k = 1; k < corners.size(); ++k) {
    phase = wrap_phase(corners[k].phase, phase);
    phase_min = std::min(phase_min, phase);
    phase_max = std::max(phase_max, phase);
  }
  valid = true;
}
