// The images that an alignment leaves out of every group of two or more,
// each with the reason a person can act on: a file given twice or with the
// same pixels as another, a blank picture, no match with any other image,
// matches too few or too scattered to fit one motion, or a group refinement
// that could not keep it.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "tools/engine_alignment.h"

namespace lacewright_tool {

struct left_out_image {
  std::string file;
  std::optional<std::size_t> image;  // its number among the images aligned; none when it was not handed in
  std::string reason;                // "duplicate", "blank", "no match", "too few inliers", "not kept by its group"
  std::string duplicate_of;          // the file a duplicate repeats
};

// The duplicates dropped before the run, then the aligned images in no
// group of two or more, in the order given.
std::vector<left_out_image> left_out_images(const alignment& run);

// Whether at least one group holds two images or more.
bool aligned_any(const alignment& run);

}  // namespace lacewright_tool
