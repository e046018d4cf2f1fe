#include "rotation/fit_surface.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>

#include "numerics/matrix_3x3.h"
#include "rotation/up_direction.h"
#include "transforms/cylinder_range.h"

namespace {

// Column c of each camera-to-world rotation: a camera axis in the world.
std::vector<axis> axes_of(const group_cameras& cameras, int c) {
  std::vector<axis> axes;
  const auto column = static_cast<std::size_t>(c);
  for (const auto& r : cameras.rotations) axes.push_back({r[column], r[3 + column], r[6 + column]});
  return axes;
}

// The rotations turned so that `up`, its sign chosen by the cameras' y
// axes, becomes the reference camera's y axis.
group_cameras straightened(const group_cameras& cameras, const axis& up, std::size_t reference) {
  const std::vector<axis> y_axes = axes_of(cameras, 1);
  const std::array<double, 9> turn = turn_onto(oriented_up(up, y_axes), y_axes[reference]);
  group_cameras result = cameras;
  for (std::size_t i = 0; i < cameras.rotations.size(); ++i) {
    multiply_3x3(turn.data(), cameras.rotations[i].data(), result.rotations[i].data());
  }
  return result;
}

}  // namespace

std::size_t surface_fit::count() const {
  return static_cast<std::size_t>(std::count(on_cylinder.begin(), on_cylinder.end(), true));
}

surface_fit place_on_cylinder(const group_cameras& cameras, const std::vector<FrameRect>& rects,
                              const view_graph& graph, std::size_t reference) {
  constexpr double whole_line = std::numeric_limits<double>::max();
  const std::size_t images = cameras.rotations.size();
  surface_fit fit{std::vector<bool>(images, false), std::vector<std::array<double, 4>>(images, {0, 0, 0, 0})};
  std::vector<bool> reached(images, false);
  std::vector<std::size_t> pending = {reference};
  reached[reference] = true;
  while (!pending.empty()) {
    const std::size_t image = pending.back();
    pending.pop_back();
    const FrameRect& r = rects[image];
    const double rectangle[4] = {static_cast<double>(r.left), static_cast<double>(r.top), static_cast<double>(r.right),
                                 static_cast<double>(r.bottom)};
    const lens_record& lens = cameras.lenses[image];
    const double focal[2] = {lens.fx, lens.fy}, centre[2] = {lens.cx, lens.cy};
    const CylinderRange range(rectangle, cameras.rotations[image].data(), focal, centre, -whole_line, whole_line);
    if (!range.valid) continue;
    fit.on_cylinder[image] = true;
    fit.bounds[image] = {range.phase_min, range.height_min, range.phase_max, range.height_max};
    for (const auto next : boost::make_iterator_range(boost::adjacent_vertices(image, graph))) {
      if (!reached[next]) {
        reached[next] = true;
        pending.push_back(next);
      }
    }
  }
  return fit;
}

surface_fit fit_surface(bool extra_pass, const std::vector<FrameRect>& rects, const view_graph& graph,
                        std::size_t reference, group_cameras& cameras) {
  surface_fit best = place_on_cylinder(cameras, rects, graph, reference);
  if (!extra_pass) return best;
  // Both candidates straighten the rotations as they came.
  const group_cameras start = cameras;
  bool took_x_axes = false;
  if (const std::optional<axis> up = up_from_x_axes(axes_of(start, 0))) {
    group_cameras candidate = straightened(start, *up, reference);
    surface_fit fit = place_on_cylinder(candidate, rects, graph, reference);
    if (fit.count() >= best.count()) {
      cameras = std::move(candidate);
      best = std::move(fit);
      took_x_axes = true;
    }
  }
  if (const std::optional<axis> up = up_from_z_axes(axes_of(start, 2))) {
    group_cameras candidate = straightened(start, *up, reference);
    surface_fit fit = place_on_cylinder(candidate, rects, graph, reference);
    if (fit.count() > best.count() || (fit.count() == best.count() && !took_x_axes)) {
      cameras = std::move(candidate);
      best = std::move(fit);
    }
  }
  return best;
}
