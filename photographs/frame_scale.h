// Pixels of an image as given against the samples of a copy reduced by
// halving: the frame the engine aligned, or the picture the tool decoded.
// One sample of the copy is the mean of a 2^level by 2^level block of the
// image as given, so sample x lies at 2^level x + (2^level - 1) / 2, with
// x = 0 at the centre of the first sample or pixel. Every number the tool
// writes goes through this one conversion.
#pragma once

#include <array>

namespace lacewright_tool {

using point = std::array<double, 2>;
using matrix3 = std::array<double, 9>;  // row-major, homogeneous

struct frame_scale {
  int level = 0;  // how many times the copy was halved

  // Pixels of the image as given per sample of the copy.
  double factor() const;
  point to_given(point sample) const;
  point to_reduced(point pixel) const;
  double length_to_given(double length) const;
  // The homogeneous map of to_given and its inverse.
  matrix3 to_given_map() const;
  matrix3 to_reduced_map() const;

  // The scale of a copy of `reduced_width` by `reduced_height` made by
  // halving an image of `width` by `height`, each halving truncating both
  // sides. Throws std::invalid_argument when no such halving gives it.
  static frame_scale between(int width, int height, int reduced_width, int reduced_height);
};

}  // namespace lacewright_tool
