// The first stage of an alignment: a pyramid per frame, keypoints and
// descriptors by the host's jobs, and one frame_features per usable frame in
// the aligner.
#pragma once

#include <vector>

#include "sources/align_frame.h"

class MultiViewAligner;

// Works through the frames in batches of the host's batch size; at most one
// batch of pyramids exists at a time. Does nothing with fewer than two
// frames. Appends to the aligner's features, sheet_ids, reduction_levels and
// frame_rects, and counts frame_count up, frame by frame.
void extract_features(MultiViewAligner& aligner, const std::vector<AlignFrame>& frames);
