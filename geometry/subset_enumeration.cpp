#include "geometry/subset_enumeration.h"

uint64_t subset_count(uint64_t n, uint64_t k) {
  const uint64_t r = 2 * k > n ? n - k : k;
  if (r == 0) return 1;
  uint64_t count = n;
  for (uint64_t d = 2; d <= r; ++d) count = count * (n - d + 1) / d;
  return count;
}

void advance_subset(std::vector<std::size_t>& subset, std::size_t n) {
  const std::size_t k = subset.size();
  ++subset[k - 1];
  // An entry one past its highest value, n - k + p, carries into the entry
  // before it, and the entries from it on restart right after that one.
  for (std::size_t p = k - 1; p >= 1; --p) {
    if (subset[p] != n - k + p + 1) continue;
    ++subset[p - 1];
    for (std::size_t q = p; q < k; ++q) subset[q] = subset[q - 1] + 1;
  }
}
