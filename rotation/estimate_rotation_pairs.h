// The pair rotation stage of a camera turning about its centre: for every
// pair of frames the rotation and both focal lengths, found by a sampling
// search over three-point solutions and refined by bundle adjustment, and
// whether the pair counts as connected.
#pragma once

#include <cstdint>

#include "records/pair_matches.h"
#include "records/pair_table.h"
#include "records/rotation_pair.h"
#include "rotation/refine_rotation_pair.h"

// How the pairs are searched and refined.
struct rotation_pair_options {
  double threshold = 3.0;  // inlier radius of the search, pixels
  rotation_refinement refinement;
};

// For i from the first frame to the last but one and j > i, in that order
// (the order of the rand() calls is part of the result): pair_lists[i]
// receives one record per j and connected[i] one bit. A pair is connected
// when the search succeeds with more than 5.9 + 0.22 n inliers of its n
// matches and the refinement succeeds; then its matches' inlier marks and
// count are set from the search. Other pairs get a clear bit and a zero
// record, and keep their marks. `pairs` holds the matches of the
// `frame_count` frames; both tables are sized by frame_count - 1 rows,
// which with no frames ends in std::length_error.
void estimate_rotation_pairs(const pair_table<pair_matches_ptr>& pairs, uint64_t frame_count,
                             const rotation_pair_options& options, pair_table<rotation_pair>& pair_lists,
                             pair_table<bool>& connected);
