#include "host/extremum_refinement.h"

#include <algorithm>
#include <cmath>

namespace host {
namespace {

constexpr int refinement_steps = 5;

// The first and second derivatives of D at an inner sample.
struct local_fit {
  double g[3];     // d/dx, d/dy, d/ds
  double h[3][3];  // Hessian
  double value;
};

local_fit fit_at(const octave_planes& planes, int64_t x, int64_t y, std::size_t l) {
  const auto d = [&](std::size_t level, int64_t dx, int64_t dy) {
    return static_cast<double>(planes.difference(level, x + dx, y + dy));
  };
  local_fit f;
  f.value = d(l, 0, 0);
  f.g[0] = 0.5 * (d(l, 1, 0) - d(l, -1, 0));
  f.g[1] = 0.5 * (d(l, 0, 1) - d(l, 0, -1));
  f.g[2] = 0.5 * (d(l + 1, 0, 0) - d(l - 1, 0, 0));
  f.h[0][0] = d(l, 1, 0) + d(l, -1, 0) - 2.0 * f.value;
  f.h[1][1] = d(l, 0, 1) + d(l, 0, -1) - 2.0 * f.value;
  f.h[2][2] = d(l + 1, 0, 0) + d(l - 1, 0, 0) - 2.0 * f.value;
  f.h[0][1] = f.h[1][0] = 0.25 * (d(l, 1, 1) - d(l, -1, 1) - d(l, 1, -1) + d(l, -1, -1));
  f.h[0][2] = f.h[2][0] = 0.25 * (d(l + 1, 1, 0) - d(l + 1, -1, 0) - d(l - 1, 1, 0) + d(l - 1, -1, 0));
  f.h[1][2] = f.h[2][1] = 0.25 * (d(l + 1, 0, 1) - d(l + 1, 0, -1) - d(l - 1, 0, 1) + d(l - 1, 0, -1));
  return f;
}

// Solves H offset = -g by Cramer's rule; false for a singular Hessian.
bool quadratic_offset(const local_fit& f, double offset[3]) {
  const auto& h = f.h;
  const double det = h[0][0] * (h[1][1] * h[2][2] - h[1][2] * h[2][1]) -
                     h[0][1] * (h[1][0] * h[2][2] - h[1][2] * h[2][0]) +
                     h[0][2] * (h[1][0] * h[2][1] - h[1][1] * h[2][0]);
  if (det == 0.0 || !std::isfinite(det)) return false;
  for (int c = 0; c < 3; ++c) {
    double m[3][3];
    for (int r = 0; r < 3; ++r) {
      for (int k = 0; k < 3; ++k) m[r][k] = k == c ? -f.g[r] : h[r][k];
    }
    offset[c] = (m[0][0] * (m[1][1] * m[2][2] - m[1][2] * m[2][1]) - m[0][1] * (m[1][0] * m[2][2] - m[1][2] * m[2][0]) +
                 m[0][2] * (m[1][0] * m[2][1] - m[1][1] * m[2][0])) /
                det;
  }
  return true;
}

// The sub-sample position of a converged fit, with the contrast and edge
// tests.
bool accept(const local_fit& f, const double offset[3], int64_t x, int64_t y, int64_t l,
            const detection_limits& limits, sift_extremum& result) {
  const double contrast = f.value + 0.5 * (f.g[0] * offset[0] + f.g[1] * offset[1] + f.g[2] * offset[2]);
  if (std::fabs(contrast) < limits.contrast) return false;
  const double trace = f.h[0][0] + f.h[1][1];
  const double det = f.h[0][0] * f.h[1][1] - f.h[0][1] * f.h[1][0];
  if (det <= 0.0 || trace * trace >= limits.edge * det) return false;
  result = {static_cast<float>(x + offset[0]), static_cast<float>(y + offset[1]),
            static_cast<float>(l + offset[2]), static_cast<float>(std::fabs(contrast))};
  return true;
}

// The integer nearest to a bounded offset, halves away from zero.
int64_t nearest(double offset) { return static_cast<int64_t>(offset + (offset < 0.0 ? -0.5 : 0.5)); }

// Whether the offset stays within the octave's extent. A near-singular
// Hessian sends it far beyond, even beyond what an integer holds, so this is
// asked before the offset is rounded to a sample.
bool within_octave(const double offset[3], const octave_planes& planes, const detection_limits& limits) {
  return std::fabs(offset[0]) <= static_cast<double>(planes.width()) &&
         std::fabs(offset[1]) <= static_cast<double>(planes.height()) &&
         std::fabs(offset[2]) <= static_cast<double>(limits.levels);
}

}  // namespace

// Moves the candidate to the sample nearest the quadratic's extremum until
// the offset is within half a sample in each direction, then applies the
// contrast and edge tests. The levels' blur steps are not exactly
// geometric, so a fit can send the search back and forth between two
// neighbouring levels; the extremum then lies between them, and the fit is
// taken where it is, its offset held to half a sample.
bool refine_extremum(const octave_planes& planes, const detection_limits& limits, sift_candidate candidate,
                     sift_extremum& result, int64_t& final_index, std::size_t& final_level) {
  const auto w = static_cast<uint64_t>(planes.width());
  int64_t x = static_cast<int64_t>(candidate.position % w), y = static_cast<int64_t>(candidate.position / w);
  auto l = static_cast<int64_t>(candidate.level);
  int64_t previous[3] = {-1, -1, -1};
  for (int step = 0; step < refinement_steps; ++step) {
    const local_fit f = fit_at(planes, x, y, static_cast<std::size_t>(l));
    double offset[3];
    if (!quadratic_offset(f, offset)) return false;
    const auto settle = [&] {
      if (!accept(f, offset, x, y, l, limits, result)) return false;
      final_index = y * planes.width() + x;
      final_level = static_cast<std::size_t>(l);
      return true;
    };
    const auto moves = [](double d) { return std::fabs(d) >= 0.5; };
    if (!moves(offset[0]) && !moves(offset[1]) && !moves(offset[2])) return settle();
    if (!within_octave(offset, planes, limits)) return false;
    const int64_t next[3] = {x + nearest(offset[0]), y + nearest(offset[1]), l + nearest(offset[2])};
    if (next[0] == previous[0] && next[1] == previous[1] && next[2] == previous[2]) {
      for (double& d : offset) d = std::clamp(d, -0.5, 0.5);
      return settle();
    }
    previous[0] = x;
    previous[1] = y;
    previous[2] = l;
    x = next[0];
    y = next[1];
    l = next[2];
    if (x < 1 || y < 1 || x > planes.width() - 2 || y > planes.height() - 2 || l < 1 ||
        l > static_cast<int64_t>(limits.levels)) {
      return false;
    }
  }
  return false;
}

}  // namespace host
