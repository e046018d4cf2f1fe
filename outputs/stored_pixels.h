// The pixels a file stores against the picture it shows. The tool reads a
// file turned as its EXIF orientation says, but Hugin's tools read the
// stored pixels and carry the turn as the image's roll; every number the
// tool writes into a Hugin project goes from the picture as shown to the
// pixels as stored through here. Mirrored orientations (2, 4, 5, 7) are no
// turn and are written as shown.
#pragma once

#include <array>

#include "session/engine_alignment.h"

namespace lacewright_tool {

struct stored_turn {
  // Row-major 2 x 2: an offset from the middle of the picture as shown to
  // the same point's offset from the middle of the stored pixels.
  std::array<double, 4> offset_map;
  double roll = 0.0;  // degrees that the turn adds to the image's roll

  bool swaps_sides() const { return offset_map[0] == 0.0; }
  point offset(point shown_offset) const;
};

stored_turn stored_turn_of(int orientation);

// The stored pixels' width and height.
point stored_size(const input_image& image);

// A pixel of the picture as shown, as a pixel of the stored file.
point to_stored(const input_image& image, point shown);

}  // namespace lacewright_tool
