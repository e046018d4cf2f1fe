#include "rotation/up_direction.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <span>

#include "geometry/robust_search.h"
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

// The plane of the cameras' axes as a kernel of the robust search: samples
// of K axes made into a plane by `through`; a candidate replaces the best
// only with more axes within `threshold` of it.
template <std::size_t K, class Through>
class plane_kernel {
 public:
  using model = plane;
  using inlier_set = std::vector<bool>;
  // These searches are the rotation pairs' kind, drawn and stopped as
  // those are: a sample of axes too close to span a plane still ends its
  // iteration with the test.
  static constexpr bool confidence_test_after_failed_sample = true;

  plane_kernel(const std::vector<axis>& axes, Through through) : axes_(axes), through_(through) {}

  std::size_t sample_size() const { return K; }
  std::size_t data_size() const { return axes_.size(); }
  inlier_set inlier_storage() const { return inlier_set(axes_.size()); }

  candidate_list<plane, 1> fit(std::span<const std::size_t> sample) const {
    candidate_list<plane, 1> candidates;
    if (const std::optional<plane> found = through_(sample)) candidates.add(*found);
    return candidates;
  }

  search_score score(const plane& candidate, inlier_set& inliers) const {
    search_score result;
    for (std::size_t i = 0; i < axes_.size(); ++i) {
      inliers[i] = std::fabs(dot(candidate.normal, axes_[i]) - candidate.offset) < threshold;
      result.inliers += inliers[i];
    }
    return result;
  }

  bool improves(const search_score& candidate, const search_score* best) const {
    return candidate.inliers > (best ? best->inliers : 0);
  }

 private:
  const std::vector<axis>& axes_;
  Through through_;
};

// The plane with the most axes within `threshold` of it, and which axes
// those are.
template <std::size_t K, class Through>
std::optional<plane> search_plane(const std::vector<axis>& axes, Through through, std::vector<bool>& inliers) {
  const plane_kernel<K, Through> kernel(axes, through);
  subset_sampler<selected_subset> sampler(axes.size(), K, iteration_bound);
  auto found = robust_search(kernel, sampler, confidence);
  if (found.best) inliers = std::move(found.inliers);
  return found.best;
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
      [&](std::span<const std::size_t> s) {
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
      [&](std::span<const std::size_t> s) {
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
