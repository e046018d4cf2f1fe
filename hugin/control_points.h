// The inlier matches of an alignment's accepted pairs as Hugin control
// points: each position goes from the frame the engine aligned to the image
// as given (frame_scale) and on to the file's pixels as stored, which is
// what Hugin reads.
#pragma once

#include <vector>

#include "session/engine_alignment.h"
#include "hugin/hugin_project_file.h"

namespace lacewright_tool {

// Pair by pair in the engine's order, every inlier of a pair in match
// order; image numbers are the run's.
std::vector<hugin_control_point> control_points_of(const alignment& run);

}  // namespace lacewright_tool
