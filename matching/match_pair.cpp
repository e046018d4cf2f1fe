// The reference form of the matcher: plain loops over the engine's own
// distance. The host's batch job computes the same matches with vector
// kernels.
#include "matching/match_pair.h"

#include <algorithm>

#include "matching/descriptor_distance.h"

namespace {

const uint8_t* descriptor(const uint8_t* array, std::size_t index) { return array + index * descriptor_size; }

bool beats_by_ratio(uint32_t runner_up, uint32_t best, float ratio) {
  return static_cast<float>(runner_up) > static_cast<float>(best) * ratio;
}

}  // namespace

std::size_t match_pair(const uint8_t* a, std::size_t n, const uint8_t* b, std::size_t m, float ratio,
                       std::vector<feature_match>& out) {
  if (n == 0 || m == 0) return 0;
  if (n == 1 && m == 1) {
    out.push_back({0, 0, 0.0f, 0});
    return 1;
  }
  std::vector<uint32_t> flags(n + m, 0);
  uint32_t* const used_a = flags.data();
  uint32_t* const used_b = flags.data() + n;
  std::size_t count = 0;
  for (std::size_t i = 0; i < n; ++i) {
    // Forward: the nearest free descriptor of the second frame. Of two
    // equal distances the lower index stays best and the other is second.
    uint32_t best = no_distance, second = no_distance;
    std::size_t j = m;
    for (std::size_t k = 0; k < m; ++k) {
      if (used_b[k]) continue;
      const uint32_t d = descriptor_distance(descriptor(a, i), descriptor(b, k));
      if (d < best) {
        second = best;
        best = d;
        j = k;
      } else {
        second = std::min(second, d);
      }
    }
    if (j == m || !beats_by_ratio(second, best, ratio)) continue;

    // Reverse: no other free descriptor of the first frame may come closer.
    used_a[i] = 1;
    uint32_t reverse = no_distance;
    bool refused = false;
    for (std::size_t k = 0; k < n && !refused; ++k) {
      if (used_a[k]) continue;
      const uint32_t d = descriptor_distance(descriptor(a, k), descriptor(b, j));
      if (d < best) {
        refused = true;
      } else {
        reverse = std::min(reverse, d);
      }
    }
    if (refused || !beats_by_ratio(reverse, best, ratio)) {
      used_a[i] = 0;  // still a competitor in later reverse checks
      continue;
    }
    // The runner-ups' sum wraps in 32 bits, as when one of them was never found.
    const float score = (static_cast<float>(best) * 2.0f) / static_cast<float>(reverse + second);
    out.push_back({i, static_cast<int64_t>(static_cast<int32_t>(j)), score, 0});
    used_b[j] = 1;
    ++count;
  }
  return count;
}

std::size_t match_pair(const frame_features& first, const frame_features& second, float ratio,
                       std::vector<feature_match>& out) {
  return match_pair(descriptors_of(first), first.features.size(), descriptors_of(second), second.features.size(),
                    ratio, out);
}
