// The pair motion stage of the automatic request: for every pair of frames
// a projective motion found robustly among the matches, accepted by the
// share of its inliers and refined, and its explanation as a camera that
// turned about its centre.
#pragma once

#include <cstdint>

#include "geometry/h_matrix_2d.h"
#include "records/pair_matches.h"
#include "records/pair_table.h"
#include "records/rotation_pair.h"
#include "rotation/refine_rotation_pair.h"

// How the pairs are searched and how their rotations are refined.
struct pair_estimation_options {
  double threshold = 3.0;  // inlier radius of the robust search, pixels
  rotation_refinement refinement;
};

// For i from the first frame to the last but one and j > i, in that order
// (the order of the rand() calls is part of the result). A pair is accepted
// when the robust search succeeds with more than 5.9 + 0.22 m inliers of
// its m matches; its matches' inlier marks and count are then set, and its
// motion (mapping frame j onto frame i) refined. An accepted pair has a
// rotation explanation when its motion decomposes into a rotation and two
// focal lengths and the two cameras refine. Every table gets a position
// per pair; a cleared bit's position holds a placeholder. `pairs` holds
// the matches of the `frame_count` frames; the tables are sized by
// frame_count - 1 rows, which with no frames ends in std::length_error.
void estimate_pairs(const pair_table<pair_matches_ptr>& pairs, uint64_t frame_count,
                    const pair_estimation_options& options, pair_table<h_matrix_2d>& pair_motions,
                    pair_table<bool>& pair_set, pair_table<rotation_pair>& pair_rotations,
                    pair_table<bool>& rotation_set);

// The same walk for motions of one kind, without the rotation explanation.
void estimate_pairs_of_kind(const pair_table<pair_matches_ptr>& pairs, uint64_t frame_count,
                            const pair_estimation_options& options, HomographyType kind,
                            pair_table<h_matrix_2d>& pair_motions, pair_table<bool>& pair_set);
