// The first stage of an alignment: a pyramid per frame, keypoints and
// descriptors by the host's jobs, and one frame_features per frame.
#pragma once

#include <cstddef>
#include <vector>

#include "records/align_frame.h"
#include "records/frame_features.h"

// The features of one frame, with the frame's position in the list given.
struct extracted_frame {
  std::size_t frame;
  frame_features_ptr features;
};

// Works through the frames in batches of the host's batch size; at most one
// batch of pyramids exists at a time. Gives nothing for fewer than two
// frames. A frame whose record cannot be made is reported and left out;
// the others follow in frame order, each numbered by its place among them.
std::vector<extracted_frame> extract_features(const std::vector<AlignFrame>& frames);
