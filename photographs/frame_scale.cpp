#include "photographs/frame_scale.h"

#include <cmath>
#include <stdexcept>
#include <string>

namespace lacewright_tool {

double frame_scale::factor() const { return std::ldexp(1.0, level); }

point frame_scale::to_given(point sample) const {
  const double f = factor(), offset = (f - 1.0) / 2.0;
  return {f * sample[0] + offset, f * sample[1] + offset};
}

point frame_scale::to_reduced(point pixel) const {
  const double f = factor(), offset = (f - 1.0) / 2.0;
  return {(pixel[0] - offset) / f, (pixel[1] - offset) / f};
}

double frame_scale::length_to_given(double length) const { return factor() * length; }

matrix3 frame_scale::to_given_map() const {
  const double f = factor(), offset = (f - 1.0) / 2.0;
  return {f, 0.0, offset, 0.0, f, offset, 0.0, 0.0, 1.0};
}

matrix3 frame_scale::to_reduced_map() const {
  const double f = factor(), offset = (f - 1.0) / 2.0;
  return {1.0 / f, 0.0, -offset / f, 0.0, 1.0 / f, -offset / f, 0.0, 0.0, 1.0};
}

frame_scale frame_scale::between(int width, int height, int reduced_width, int reduced_height) {
  for (int level = 0; level < 31 && (width >> level) > 0; ++level) {
    if ((width >> level) == reduced_width && (height >> level) == reduced_height) return {level};
  }
  throw std::invalid_argument("frame_scale: " + std::to_string(reduced_width) + " x " +
                              std::to_string(reduced_height) + " is no halving of " + std::to_string(width) +
                              " x " + std::to_string(height));
}

}  // namespace lacewright_tool
