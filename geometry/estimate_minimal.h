// The minimal solvers: a planar motion from exactly as many correspondences
// as its kind needs, the hypothesis step of the robust search.
//
// The kind to estimate is the kind `motion` already holds; only its
// parameters are written. The motion maps `second` onto `first`:
// motion(second[i]) is first[i]. No solver allocates memory.
#pragma once

#include "geometry/h_matrix_2d.h"
#include "records/correspondences.h"

// Reads the first number_of_minimum_points() entries of each list, except
// that the projective solver normalises over every entry given. False for a
// degenerate sample, and always for the scale and rotation kinds, with
// `motion` then as it was or partly written. Throws std::invalid_argument
// for an unknown kind.
//
// The similarity solver measures the scale against `first`, so a pair with
// first = s R second yields 1 / s. The affine solver's second row reads
// b2.y and b1.y where the first row reads a2.x and a1.x (a from `first`,
// b from `second`); it is exact when points 1 and 2 keep their y.
bool estimate_minimal(const point_list& first, const point_list& second, h_matrix_2d& motion);
