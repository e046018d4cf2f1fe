// The robust search for the planar motion of a pair from correspondences
// with many wrong members, and the mask of those that agree with it.
//
// Samples of the minimal size are solved in closed form and scored by the
// MSAC rule: an inlier (symmetric transfer error strictly below the
// threshold) adds its error over the threshold, an outlier adds 1. When
// there are at most max_iterations subsets, every one is tried in
// lexicographic order; otherwise the samples are successive shuffles of all
// the indices, drawn with the process's rand() (never seeded here: the
// order of the rand() calls is part of the result). The search stops once
// a new best sample fits every correspondence or, with the newest best
// model's inlier share w, once the count of samples passes
// log(1 - confidence) / log(1 - w^k). A random search that runs out of
// samples first fails, whatever its best model. The winner is refitted by
// least squares on its inliers, and the refit replaces it only if it lowers
// the cost.
#pragma once

#include "geometry/h_matrix_2d.h"
#include "geometry/robust_options.h"
#include "records/correspondences.h"

// `motion` carries the kind to estimate and keeps it. On true, `mask`
// (sized to the lists' length) marks the inliers and `motion` holds the
// parameters; on false neither is to be used. False for a kind whose
// minimal sample has more than four correspondences, with fewer
// correspondences than the minimal sample, or with fewer inliers. Throws
// std::invalid_argument for an unknown kind.
bool robust_estimate(const robust_options& options, const point_list& first, const point_list& second,
                     bit_mask& mask, h_matrix_2d& motion);
