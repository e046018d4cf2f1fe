// The pair rotation stage of a camera turning about its centre: for every
// pair of frames the rotation and both focal lengths, found by a sampling
// search over three-point solutions and refined by bundle adjustment, and
// whether the pair counts as connected.
#pragma once

#include "matching/pair_table.h"
#include "mvg/rotation_pair.h"

class MultiViewAligner;

// For i from the first frame to the last but one and j > i, in that order
// (the order of the rand() calls is part of the result): pair_lists[i]
// receives one record per j and connected[i] one bit. A pair is connected
// when the search succeeds with more than 5.9 + 0.22 n inliers of its n
// matches and the refinement succeeds; then its matches' inlier marks and
// count are set from the search. Other pairs get a clear bit and a zero
// record, and keep their marks. Both tables are sized by frame_count - 1
// rows, which with no frames ends in std::length_error.
void estimate_rotation_pairs(MultiViewAligner& aligner, pair_table<rotation_pair>& pair_lists,
                             pair_table<bool>& connected);
