// The grey value of a four-byte pixel whose first byte is unused and whose
// other three are red, green and blue.
#pragma once

#include <cstdint>

// Single precision in exactly this order, then clamped and truncated (not
// rounded): the weights and the order decide the last bit of the result.
inline uint8_t GreyFromPixel(const uint8_t* pixel) {
  const float grey = (pixel[1] * 0.3f + pixel[2] * 0.59f) + pixel[3] * 0.11f;
  if (grey >= 255.0f) return 255;
  if (grey <= 0.0f) return 0;
  return static_cast<uint8_t>(grey);
}
