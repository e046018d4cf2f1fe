// The sub-sample refinement of a keypoint candidate after Lowe (IJCV 2004),
// section 4: a quadratic fit of the differences of Gaussians around the
// sample, moved to the sample nearest its extremum until it settles, then
// the contrast and edge tests.
#pragma once

#include <cstddef>
#include <cstdint>

#include "host/octave_planes.h"
#include "records/sift_records.h"

namespace host {

struct detection_limits {
  uint64_t levels;  // S
  float contrast;
  float edge;
};

// The refined extremum of `candidate` in the differences of `planes`, with
// the sample (index y * width + x) and level it settled at. False when the
// fit is singular, runs out of the octave or of steps, or fails a test.
bool refine_extremum(const octave_planes& planes, const detection_limits& limits, sift_candidate candidate,
                     sift_extremum& result, int64_t& final_index, std::size_t& final_level);

}  // namespace host
