// The least-squares solvers: a planar motion fitted to every correspondence
// that a mask marks, the refit step of the robust search.
//
// The kind to estimate is the kind `motion` already holds; only its
// parameters are written. The motion maps `second` onto `first`.
#pragma once

#include "geometry/h_matrix_2d.h"
#include "records/correspondences.h"

// `mask` has the lists' length. Needs at least 1 marked correspondence for
// translation, 2 for rigid and similarity, 3 for affine and 4 for
// projective; scale, rotation and any other kind give false. False also
// for a degenerate selection, and for a projective system whose null space
// is more than one-dimensional. The projective result is not normalised to
// determinant 1.
//
// As in the two-point solver the similarity scale is measured against
// `first`, and its sine term enters with the opposite sign, so for
// first = s R(t) second the estimate is cos(2 t) / s.
bool estimate_least_squares(const point_list& first, const point_list& second, const bit_mask& mask,
                            h_matrix_2d& motion);
