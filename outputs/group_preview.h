// A picture of one aligned group, drawn from its layout alone, so that a
// person sees at a glance whether the alignment worked: every image mapped
// onto the group's output plane and blended with weights that fall to zero
// at its edges.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "photographs/image_file.h"
#include "session/image_placement.h"

namespace lacewright_tool {

struct group_picture {
  int width = 0;
  int height = 0;
  double scale = 1.0;        // picture pixels per output pixel
  point origin{0.0, 0.0};    // output point at the picture's top-left corner
  std::vector<uint8_t> rgba;  // 4 bytes a pixel; alpha 0 where no image lies
};

// Draws the laid-out `group` over its layout's bounds, with its longest side
// at most `longest_side` pixels. `pictures` are indexed by image number.
// Empty when no image of the group has a placement.
std::optional<group_picture> draw_group(const alignment& run, const result_group& group, const group_layout& layout,
                                        const std::vector<image_file>& pictures, int longest_side);

// The extensions of the formats a picture is written in, lower case.
const std::vector<std::string>& picture_extensions();

// Whether `path` ends in one of them, in any case.
bool has_picture_extension(const std::string& path);

// The file's bytes of a picture in the format that `path`'s extension names
// (PNG, JPEG, TIFF, WebP; JPEG without the alpha channel, black where no
// image lies). Throws std::runtime_error when libvips cannot encode it.
std::string encode_picture(const group_picture& picture, const std::string& path);

}  // namespace lacewright_tool
