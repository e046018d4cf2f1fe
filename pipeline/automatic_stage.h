// The groups of the automatic request: each component of the planar view
// graph is refined on one plane, or, when its frames turned far enough
// about one centre, as a rotation group.
#pragma once

#include <vector>

#include "geometry/h_matrix_2d.h"
#include "records/align_frame.h"
#include "records/pair_table.h"
#include "records/rotation_pair.h"

class MultiViewAligner;

// `rects` is the driver's rectangle of each usable frame and `preferred`
// marks frames preferred as reference. The tables are those of the pair
// motion stage: each pair's homography and whether it was accepted, and its
// rotation explanation and whether it has one. A planar component whose frames are one rotation component turning
// by at least min_rotation_extent_degrees between the reference's optical
// axis and another's becomes a rotation group, on a cylinder or a sphere.
// Two planar components of one rotation component each report it.
void run_automatic_stage(MultiViewAligner& aligner, const std::vector<FrameRect>& rects,
                         const std::vector<bool>& preferred, const pair_table<h_matrix_2d>& pair_motions,
                         const pair_table<bool>& pair_set, const pair_table<rotation_pair>& pair_rotations,
                         const pair_table<bool>& rotation_set);
