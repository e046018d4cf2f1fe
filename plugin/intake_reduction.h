// How intake reduces a frame: halved while both sides exceed the limit, so
// that the engine never sees more than 760 samples on the smaller side.
// Callers that decode images themselves read this to decode no larger than
// intake would keep.
#pragma once

#include <cstdint>

// Frames are halved until one side is at most this many samples.
inline constexpr int32_t intake_side_limit = 760;

// How many times intake halves a frame of `width` by `height` samples; each
// halving truncates both sides.
constexpr int intake_halvings(int32_t width, int32_t height) {
  int halvings = 0;
  for (; width > intake_side_limit && height > intake_side_limit; width /= 2, height /= 2) ++halvings;
  return halvings;
}
