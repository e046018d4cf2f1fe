// Laying a rotation group on a cylinder: which images the cylinder can hold
// with their bounds on it, and, on request, a straightened vertical that
// holds more of them.
#pragma once

#include <array>
#include <cstddef>
#include <vector>

#include "graph/nview_manager.h"
#include "records/align_frame.h"
#include "rotation/refine_cameras.h"

struct surface_fit {
  std::vector<bool> on_cylinder;  // per image
  // Per image on the cylinder: phase_min, height_min, phase_max,
  // height_max; zeros for the others.
  std::vector<std::array<double, 4>> bounds;

  std::size_t count() const;
};

// Walks the group's graph from the reference through the images whose
// rectangles map onto the cylinder without holding a pole of it.
surface_fit place_on_cylinder(const group_cameras& cameras, const std::vector<FrameRect>& rects,
                              const view_graph& graph, std::size_t reference);

// The placement with the current rotations; with `extra_pass`, two
// straightened candidates (the vertical fitted to the cameras' x axes, then
// to their z axes) replace the rotations when they place at least as many
// images.
surface_fit fit_surface(bool extra_pass, const std::vector<FrameRect>& rects, const view_graph& graph,
                        std::size_t reference, group_cameras& cameras);
