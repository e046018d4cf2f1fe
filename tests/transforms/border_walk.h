// Brute-force extremes of a map along a rectangle's border, to hold bounds
// routines against.
#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

#include "transforms/cylinder_point.h"

// Calls visit(x, y) at evenly spaced points around the rectangle x0, y0, x1,
// y1: from (x0, y0) through (x1, y0), (x1, y1) and (x0, y1) back to the
// start, `steps` points to a side.
template <class Visit>
void walk_border(const double rectangle[4], Visit visit, int steps = 20000) {
  const double x0 = rectangle[0], y0 = rectangle[1], x1 = rectangle[2], y1 = rectangle[3];
  const std::array<std::array<double, 2>, 5> path = {{{x0, y0}, {x1, y0}, {x1, y1}, {x0, y1}, {x0, y0}}};
  for (int side = 0; side < 4; ++side)
    for (int i = 0; i < steps; ++i) {
      const double t = static_cast<double>(i) / steps;
      visit(path[side][0] + t * (path[side + 1][0] - path[side][0]),
            path[side][1] + t * (path[side + 1][1] - path[side][1]));
    }
}

struct cylinder_extremes {
  double phase_min, height_min, phase_max, height_max;
};

// The extremes of `to_cylinder` (a pixel's cylinder_coordinates) around the
// border, the phase unwrapped continuously from that of (x0, y0).
template <class Map>
cylinder_extremes walk_cylinder_border(const double rectangle[4], Map to_cylinder) {
  const cylinder_coordinates start = to_cylinder(rectangle[0], rectangle[1]);
  cylinder_extremes found{start.phase, start.height, start.phase, start.height};
  double phase = start.phase;
  walk_border(rectangle, [&](double x, double y) {
    const cylinder_coordinates point = to_cylinder(x, y);
    phase += std::remainder(point.phase - phase, 2 * std::numbers::pi);
    found = {std::min(found.phase_min, phase), std::min(found.height_min, point.height),
             std::max(found.phase_max, phase), std::max(found.height_max, point.height)};
  });
  return found;
}
