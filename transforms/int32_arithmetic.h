// The 32-bit integer arithmetic in which rectangles are defined: their
// coordinates, sizes and areas are 32-bit values, and a result that leaves
// that range is saturated or wraps exactly as a 32-bit machine word would,
// without undefined behaviour in between.
#pragma once

#include <algorithm>
#include <cstdint>
#include <limits>

// A whole number held in a double, saturated to the 32-bit range. NaN gives
// the lowest value, which is what the processor's own conversion produces
// for any value it cannot represent.
inline int32_t saturating_int32(double value) {
  if (value > 2147483647.0) return std::numeric_limits<int32_t>::max();
  if (value >= -2147483648.0) return static_cast<int32_t>(value);
  return std::numeric_limits<int32_t>::min();
}

// a - b, saturated to the 32-bit range.
inline int32_t saturating_difference(int32_t a, int32_t b) {
  const int64_t difference = int64_t{a} - int64_t{b};
  return static_cast<int32_t>(std::clamp<int64_t>(difference, std::numeric_limits<int32_t>::min(),
                                                  std::numeric_limits<int32_t>::max()));
}

// a - b, a * b and a + 1 modulo 2^32.
inline int32_t wrapping_difference(int32_t a, int32_t b) {
  return static_cast<int32_t>(static_cast<uint32_t>(a) - static_cast<uint32_t>(b));
}

inline int32_t wrapping_product(int32_t a, int32_t b) {
  return static_cast<int32_t>(static_cast<uint32_t>(a) * static_cast<uint32_t>(b));
}

inline int32_t wrapping_increment(int32_t a) { return static_cast<int32_t>(static_cast<uint32_t>(a) + 1u); }
