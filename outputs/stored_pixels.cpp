#include "outputs/stored_pixels.h"

namespace lacewright_tool {

point stored_turn::offset(point shown_offset) const {
  const std::array<double, 4>& m = offset_map;
  return {m[0] * shown_offset[0] + m[1] * shown_offset[1], m[2] * shown_offset[0] + m[3] * shown_offset[1]};
}

stored_turn stored_turn_of(int orientation) {
  // Orientation 6 is shown after a quarter turn clockwise, 8 after one
  // anticlockwise, 3 upside down.
  switch (orientation) {
    case 3: return {{-1, 0, 0, -1}, 180.0};
    case 6: return {{0, 1, -1, 0}, 90.0};
    case 8: return {{0, -1, 1, 0}, -90.0};
    default: return {{1, 0, 0, 1}, 0.0};
  }
}

point stored_size(const input_image& image) {
  const double w = image.width, h = image.height;
  return stored_turn_of(image.orientation).swaps_sides() ? point{h, w} : point{w, h};
}

point to_stored(const input_image& image, point shown) {
  const point size = stored_size(image);
  const point offset = stored_turn_of(image.orientation)
                           .offset({shown[0] - (image.width - 1) / 2.0, shown[1] - (image.height - 1) / 2.0});
  return {offset[0] + (size[0] - 1) / 2.0, offset[1] + (size[1] - 1) / 2.0};
}

}  // namespace lacewright_tool
