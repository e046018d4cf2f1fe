// An alignment as its callers receive it: the engine's transform objects,
// whose numbers are in samples of the frames it aligned, turned into values
// in pixels of the images as given, through each image's frame_scale and
// its group's layout.
#pragma once

#include <vector>

#include <lacewright/alignment.h>

#include "session/image_placement.h"

namespace lacewright_tool {

// `layouts` has one entry per group of the run's results. The answer's
// `run` and `times` are left to the caller.
lacewright::alignment describe(const alignment& run, const std::vector<group_layout>& layouts);

}  // namespace lacewright_tool
