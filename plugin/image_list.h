// The process-wide list of frames that addImage fills and alignImages uses.
#pragma once

#include <vector>

#include "records/align_frame.h"

// Every frame's pixels belong to the list: allocated with new[], released
// with delete[].
extern std::vector<AlignFrame> imageList;

// Releases every frame's pixels and empties the list, keeping its capacity.
void ClearImages();
