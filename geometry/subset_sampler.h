// The samples of the small random searches: every subset of K of n in
// lexicographic order when there are at most `limit` of them, otherwise
// subsets drawn with the process's rand(), 15 bits a call, by selection
// sampling (each index in turn taken with the probability needed /
// remaining). The generator is never seeded here: the order of the rand()
// calls is part of the results.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "platform/rand_15_bits.h"

template <std::size_t K>
class subset_sampler {
 public:
  subset_sampler(std::size_t n, uint64_t limit) : n_(n) {
    // C(n, K) by running products, exact at every step.
    uint64_t count = n >= K ? 1 : 0;
    for (std::size_t d = 1; d <= K && count > 0; ++d) count = count * (n - d + 1) / d;
    exhaustive_ = count <= limit;
    samples_ = exhaustive_ ? count : limit;
    for (std::size_t k = 0; k < K; ++k) subset_[k] = k;
  }

  // How many samples the search draws.
  uint64_t samples() const { return samples_; }

  // The next sample.
  const std::array<std::size_t, K>& next() {
    if (!exhaustive_) {
      draw();
    } else if (started_) {
      advance();
    }
    started_ = true;
    return subset_;
  }

 private:
  void advance() {
    std::size_t k = K;
    while (k > 0 && subset_[k - 1] == n_ - K + k - 1) --k;
    if (k == 0) return;  // the last subset; the sample count stops the caller first
    ++subset_[k - 1];
    for (std::size_t q = k; q < K; ++q) subset_[q] = subset_[q - 1] + 1;
  }

  void draw() {
    std::size_t needed = K;
    for (std::size_t i = 0; i < n_ && needed > 0; ++i) {
      const std::size_t remaining = n_ - i;
      if (rand_15_bits() % remaining < needed) subset_[K - needed--] = i;
    }
  }

  std::size_t n_;
  bool exhaustive_ = true;
  bool started_ = false;
  uint64_t samples_ = 0;
  std::array<std::size_t, K> subset_{};
};
