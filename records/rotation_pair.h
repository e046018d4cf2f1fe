// The rotation records of the view graph: what the pair stages say of a
// pair, and what chaining them gives each image.
#pragma once

#include <array>

#include "records/lens_record.h"

// The rotation explanation of a pair of frames (i, j), i < j.
struct rotation_pair {
  lens_record camera_first;        // frame i
  lens_record camera_second;       // frame j
  std::array<double, 9> rotation;  // takes directions of frame j to directions of frame i
};

static_assert(sizeof(rotation_pair) == 21 * sizeof(double));

// An image's camera and rotation within its component.
struct rotation_motion {
  lens_record camera;
  std::array<double, 9> rotation;  // row-major
};
