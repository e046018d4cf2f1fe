// The orientation that cameras record in a JPEG's EXIF block instead of
// turning the pixels: a person expects the picture the way it is shown.
#pragma once

#include <cstdint>
#include <span>

#include "tools/image_file.h"

namespace lacewright_tool {

// The EXIF orientation (1 to 8) of a JPEG file's bytes; 1 when the file is
// not a JPEG, has no EXIF block, or the block is damaged.
int exif_orientation(std::span<const uint8_t> file);

// The image as a viewer shows it for `orientation`: 2 to 4 mirror or turn
// it half-way, 5 to 8 also swap its sides. Other values leave it as it is.
pixel_image oriented(const pixel_image& image, int orientation);

}  // namespace lacewright_tool
