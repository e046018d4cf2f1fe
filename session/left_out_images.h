// The images that an alignment leaves out of every group of two or more,
// each with the reason a person can act on: a file given twice or with the
// same pixels as another, a blank picture, no match with any other image,
// matches too few or too scattered to fit one motion, or a group refinement
// that could not keep it.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include <lacewright/alignment.h>

#include "session/engine_alignment.h"

namespace lacewright_tool {

// The duplicates dropped before the run, then the aligned images in no
// group of two or more, in the order given.
std::vector<lacewright::left_out_image> left_out_images(const alignment& run);

}  // namespace lacewright_tool
