// The engine's one source of randomness: the runtime library's rand(), of
// which only the lowest 15 bits count. Fifteen bits are all that every
// runtime library's rand() promises (RAND_MAX is at least 32767), so
// drawing no more keeps the samples, and with them the pair results, the
// same whatever the library gives above them. The generator is never seeded
// here; the order of the calls is part of the results.
#pragma once

#include <cstdint>

// The largest value of a draw.
inline constexpr uint32_t rand_15_bits_max = 0x7FFF;

// One call of rand(), its bits above the lowest 15 dropped.
uint32_t rand_15_bits();
