// The samples of the robust search: every k-subset of n in lexicographic
// order when there are at most `limit` of them, otherwise drawn at random
// with the process's rand(), 15 bits a call. The generator is never seeded
// here: the order of the rand() calls is part of the results.
//
// Two ways of drawing serve the searches, each kept exactly as their
// results were made with:
//   shuffled_prefix   the whole index array shuffled by
//                     random_shuffle_indices, each shuffle from the last
//                     permutation; the sample is its first k entries
//   selected_subset   selection sampling: each index in turn is taken with
//                     the probability needed / remaining
#pragma once

#include <cstddef>
#include <cstdint>
#include <numeric>
#include <span>
#include <vector>

#include "geometry/random_shuffle_indices.h"
#include "geometry/subset_enumeration.h"
#include "platform/rand_15_bits.h"

struct shuffled_prefix {
  static std::size_t index_count(std::size_t n, std::size_t) { return n; }
  static void draw(std::vector<std::size_t>& indices, std::size_t) { random_shuffle_indices(indices); }
};

struct selected_subset {
  static std::size_t index_count(std::size_t, std::size_t k) { return k; }
  static void draw(std::vector<std::size_t>& indices, std::size_t n) {
    std::size_t needed = indices.size();
    for (std::size_t i = 0; i < n && needed > 0; ++i) {
      const std::size_t remaining = n - i;
      if (rand_15_bits() % remaining < needed) indices[indices.size() - needed--] = i;
    }
  }
};

template <class Draw>
class subset_sampler {
 public:
  // k of n, with k at most n.
  subset_sampler(std::size_t n, std::size_t k, uint64_t limit) : n_(n), k_(k) {
    const uint64_t count = subset_count(n, k);
    random_ = count > limit;
    samples_ = random_ ? limit : count;
    indices_.resize(random_ ? Draw::index_count(n, k) : k);
    std::iota(indices_.begin(), indices_.end(), std::size_t{0});
  }

  uint64_t samples() const { return samples_; }
  bool random() const { return random_; }

  std::span<const std::size_t> next() {
    if (random_) {
      Draw::draw(indices_, n_);
    } else if (started_) {
      advance_subset(indices_, n_);
    }
    started_ = true;
    return {indices_.data(), k_};
  }

 private:
  std::size_t n_, k_;
  bool random_ = false;
  bool started_ = false;
  uint64_t samples_ = 0;
  std::vector<std::size_t> indices_;
};
