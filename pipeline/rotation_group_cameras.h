// The cameras of each rotation group, for callers in the engine's own
// process. A group placed on a sphere gets transforms without numbers (the
// host renders it from what else it knows), so a caller that draws or
// exports such a group installs an observer here and is told every group's
// refined cameras as it is written, whatever its surface.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <span>

#include "transforms/simple_camera_parameters.h"

struct group_camera {
  int32_t sheet = 0;                // the frame's `index`
  SimpleCameraParameters camera;    // in pixels of the full-size image
  std::array<double, 9> rotation{};  // camera to group, row-major
};

using rotation_group_observer = std::function<void(std::span<const group_camera>)>;

// Installs the process's observer; an empty one stops the reports.
void observe_rotation_groups(rotation_group_observer observer);

// Tells the observer, if there is one, of a group's cameras.
void report_rotation_group(std::span<const group_camera> cameras);
