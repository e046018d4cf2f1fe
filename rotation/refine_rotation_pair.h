// The nonlinear refinement of a pair's rotation and focal lengths: a bundle
// adjustment of two cameras over one scene point per inlying match. The
// adjuster is given the fixed camera first, held at the unit rotation: with
// robust residuals that is image 1's, without them image 2's.
#pragma once

#include <cstdint>
#include <vector>

#include "rotation/rotation_ransac.h"
#include "solvers/camera_sharing.h"

struct rotation_refinement {
  bool robust = true;             // residuals through the robust map of radius `robust_threshold`
  double robust_threshold = 2.0;  // pixels
};

// Refines `estimate` (image 1 to image 2) from the matches marked in
// `inliers`. On success writes the refined estimate and both cameras' lens
// values and returns true; on failure, or when a focal length is not
// positive, leaves them as they were and returns false.
bool refine_rotation_pair(const std::vector<point_match>& matches, const std::vector<uint8_t>& inliers,
                          const image_point& centre_1, const image_point& centre_2,
                          const rotation_refinement& options, rotation_estimate& estimate, lens_record& lens_1,
                          lens_record& lens_2);

