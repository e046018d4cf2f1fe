// The work and result elements of the keypoint jobs, stored in the pyramid
// record's lists. The engine only counts them.
#pragma once

#include <cstdint>

namespace host {

// A sample that is an extremum of its 3 x 3 x 3 neighbourhood.
struct sift_candidate {
  uint32_t position;  // y * width + x in the octave's plane
  uint32_t level;     // difference-of-Gaussian level, 1 to S
};

// A candidate after sub-sample refinement and the contrast and edge tests.
struct sift_extremum {
  float x;         // octave samples
  float y;
  float level;     // fractional level within the octave
  float response;  // |D| at the refined position
};

// A keypoint with one orientation; a location with several dominant
// orientations gives several keypoints.
struct sift_keypoint {
  float x;      // octave samples
  float y;
  float level;  // fractional level within the octave
  float angle;  // radians, of the dominant gradient direction
};

static_assert(sizeof(sift_candidate) == 8);
static_assert(sizeof(sift_extremum) == 16);
static_assert(sizeof(sift_keypoint) == 16);

}  // namespace host
