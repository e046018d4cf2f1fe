// The groups of a camera turning about its centre: the view graph of the
// rotation pairs, and a rotation group refinement per component.
#pragma once

#include <vector>

#include "records/align_frame.h"
#include "records/pair_table.h"
#include "records/rotation_pair.h"

class MultiViewAligner;

// `rects` is the driver's rectangle of each usable frame and `preferred`
// marks frames preferred as reference; `rotations` and `connected` are the
// pair rotation stage's tables. Every component, linked or alone, appends
// one cylindrical group.
void run_rotation_stage(MultiViewAligner& aligner, const std::vector<FrameRect>& rects,
                        const std::vector<bool>& preferred, const pair_table<rotation_pair>& rotations,
                        const pair_table<bool>& connected);
