// The rotation explanation of a pair of frames (i, j), i < j, as the pair
// stages leave it for the chaining of motions along the view graph.
#pragma once

#include <array>

#include "solvers/camera_sharing.h"

struct rotation_pair {
  lens_record camera_first;        // frame i
  lens_record camera_second;       // frame j
  std::array<double, 9> rotation;  // takes directions of frame j to directions of frame i
};

static_assert(sizeof(rotation_pair) == 21 * sizeof(double));
