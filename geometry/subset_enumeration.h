// The exhaustive side of the robust search: how many k-subsets of n there
// are, and the walk through them in lexicographic order.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

// n choose k by the running product over the smaller of k and n - k: start
// from n, then for d from 2 multiply by n - d + 1 and divide by d, in 64-bit
// unsigned arithmetic. The intermediate product may wrap for huge n; the
// counts that matter (at most a few thousand) are exact. Needs k <= n.
uint64_t subset_count(uint64_t n, uint64_t k);

// Moves `subset`, k increasing indices below n, to the next subset in
// lexicographic order. Past the last subset the entries run beyond n - 1;
// the caller stops at subset_count first.
void advance_subset(std::vector<std::size_t>& subset, std::size_t n);
