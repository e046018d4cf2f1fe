// The polish of a pair's robust motion, as the pair stage runs it: the
// motion normalised, refined against its inliers with the true positions
// of the points as further unknowns when its kind needs a nonlinear
// estimator, and normalised again.
#pragma once

#include "geometry/h_matrix_2d.h"
#include "records/correspondences.h"

// Refines `motion`, which maps points of `second` onto `first`, over the
// correspondences marked in `mask`. When the refiner fails, or cannot
// allocate its blocks, the motion stays as the robust search left it, not
// normalised. Where the size rule leaves nothing to solve, the result is
// the refiner's start, the normalised motion, normalised again.
void refine_pair_motion(const point_list& first, const point_list& second, const bit_mask& mask,
                        h_matrix_2d& motion);
