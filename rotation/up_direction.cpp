#include "rotation/up_direction.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "geometry/subset_sampler.h"
#include "numerics/rodrigues.h"
#include "numerics/symmetric_eigen.h"

namespace {

constexpr uint64_t iteration_bound = 1000;
constexpr double confidence = 0.99, threshold = 0.1;

double dot(const axis& a, const axis& b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }
axis cross(const axis& a, const axis& b) {
  return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}
axis minus(const axis& a, const axis& b) { return {a[0] - b[0], a[1] - b[1], a[2] - b[2]}; }

struct plane {
  axis normal;
  double offset;  // normal . x = offset on the plane
};

// The plane with the most axes within `threshold` of it, over samples of K
// axes made into planes by `through`; stops once a clean sample has been
// drawn with the confidence.
template <std::size_t K, class Through>
std::optional<plane> search_plane(const std::vector<axis>& axes, Through through, std::vector<bool>& inliers) {
  subset_sampler<K> sampler(axes.size(), iteration_bound);
  std::optional<plane> best;
  std::size_t best_count = 0;
  double log_miss = 0.0;
  for (uint64_t iteration = 1; iteration <= sampler.samples(); ++iteration) {
    const auto& sample = sampler.next();
    const std::optional<plane> candidate = through(sample);
    if (candidate) {
      std::size_t count = 0;
      for (const axis& a : axes) count += std::fabs(dot(candidate->normal, a) - candidate->offset) < threshold;
      if (count > best_count) {
        best = candidate;
        best_count = count;
        const double w = static_cast<double>(count) / static_cast<double>(axes.size());
        log_miss = std::log(1.0 - std::pow(w, static_cast<double>(K)));
      }
    }
    if (std::log(1.0 - confidence) > static_cast<double>(iteration) * log_miss) break;
  }
  if (best) {
    inliers.clear();
    for (const axis& a : axes) inliers.push_back(std::fabs(dot(best->normal, a) - best->offset) < threshold);
  }
  return best;
}

std::optional<plane> normalised(const axis& normal, const axis& point, double smallest) {
  const double length = std::sqrt(dot(normal, normal));
  if (!(length >= smallest)) return std::nullopt;
  const axis unit = {normal[0] / length, normal[1] / length, normal[2] / length};
  return plane{unit, dot(unit, point)};
}

}  // namespace

std::optional<axis> up_from_x_axes(const std::vector<axis>& x_axes) {
  if (x_axes.size() < 2) return std::nullopt;
  std::vector<bool> inliers;
  const std::optional<plane> found = search_plane<2>(
      x_axes,
      [&](const std::array<std::size_t, 2>& s) {
        const std::optional<plane> p = normalised(cross(x_axes[s[0]], x_axes[s[1]]), x_axes[s[0]], 1e-12);
        return p ? std::optional<plane>(plane{p->normal, 0.0}) : std::nullopt;
      },
      inliers);
  if (!found) return std::nullopt;
  double scatter[9] = {};
  for (std::size_t i = 0; i < x_axes.size(); ++i) {
    if (!inliers[i]) continue;
    for (std::size_t r = 0; r < 3; ++r) {
      for (std::size_t c = 0; c < 3; ++c) scatter[3 * r + c] += x_axes[i][r] * x_axes[i][c];
    }
  }
  double values[3], vectors[9];
  if (symmetric_eigen_3x3(scatter, values, vectors) && values[1] >= 1e-4) {
    return axis{vectors[0], vectors[3], vectors[6]};
  }
  return found->normal;
}

std::optional<axis> up_from_z_axes(const std::vector<axis>& z_axes) {
  if (z_axes.size() < 3) return std::nullopt;
  std::vector<bool> inliers;
  const std::optional<plane> found = search_plane<3>(
      z_axes,
      [&](const std::array<std::size_t, 3>& s) {
        const axis& a = z_axes[s[0]];
        return normalised(cross(minus(z_axes[s[1]], a), minus(z_axes[s[2]], a)), a, 1e-6);
      },
      inliers);
  if (!found) return std::nullopt;
  return found->normal;
}

axis oriented_up(const axis& up, const std::vector<axis>& y_axes) {
  const auto against = std::count_if(y_axes.begin(), y_axes.end(), [&](const axis& y) { return dot(y, up) < -0.5; });
  const auto along = std::count_if(y_axes.begin(), y_axes.end(), [&](const axis& y) { return dot(y, up) > 0.5; });
  return against > along ? axis{-up[0], -up[1], -up[2]} : up;
}

std::array<double, 9> turn_onto(const axis& from, const axis& to) {
  const axis turn_axis = cross(from, to);
  const double length = std::sqrt(dot(turn_axis, turn_axis));
  const double angle = std::acos(std::clamp(dot(to, from), -1.0, 1.0));
  double vector[3] = {0.0, 0.0, 0.0};
  if (length > 0.0) {
    for (int k = 0; k < 3; ++k) vector[k] = turn_axis[static_cast<std::size_t>(k)] / length * angle;
  }
  std::array<double, 9> turn;
  rodrigues(vector, turn.data());
  return turn;
}
