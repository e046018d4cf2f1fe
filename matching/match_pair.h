// Exhaustive two-way ratio-tested matching of the descriptors of two frames.
//
// Every descriptor of the first frame, in ascending order, is compared with
// every still free descriptor of the second. The nearest must beat the
// runner-up by `ratio`, and, looking back from it, no free descriptor of the
// first frame may come closer and the nearest of them must beat it by the
// same ratio. A matched feature leaves the game at once on both sides, so
// the order decides ties and the test weakens as matching proceeds; the
// result is one to one and in ascending index_a.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "records/feature_match.h"
#include "records/frame_features.h"

// The pair stage's ratio: the float 1.35 (0x3FACCCCD).
inline constexpr float match_ratio = 1.35f;

// The distance of a candidate not yet found.
inline constexpr uint32_t no_distance = 0xFFFFFFFF;

// Appends the matches of `first` against `second` to `out` and returns how
// many. A lone feature on each side is a match by default, with score 0.
std::size_t match_pair(const frame_features& first, const frame_features& second, float ratio,
                       std::vector<feature_match>& out);

// The same on raw descriptor arrays, 128 bytes each, packed.
std::size_t match_pair(const uint8_t* descriptors_a, std::size_t count_a, const uint8_t* descriptors_b,
                       std::size_t count_b, float ratio, std::vector<feature_match>& out);
