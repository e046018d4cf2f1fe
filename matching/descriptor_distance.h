// The distance of two 128-byte descriptors: the sum of the absolute
// differences of their bytes. The largest possible distance is
// 128 * 255 = 32640.
#pragma once

#include <cstdint>

inline constexpr std::size_t descriptor_size = 128;

uint32_t descriptor_distance(const uint8_t* a, const uint8_t* b);
