// Point correspondences as the planar estimators read them: two lists of
// equal length with pointers to (x, y) pairs of doubles that the lists do
// not own, aligned by index; and a mask marking some of them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

using point_list = std::vector<const double*>;

// A packed bit vector: bit i in word i / 32 at place i % 32; bits beyond
// the size are 0.
class bit_mask {
 public:
  bit_mask() = default;
  explicit bit_mask(std::size_t bits) : bits_(bits), words_((bits + 31) / 32, 0u) {}

  std::size_t size() const { return bits_; }
  bool operator[](std::size_t i) const { return (words_[i / 32] >> (i % 32)) & 1u; }
  void set(std::size_t i, bool value) {
    const uint32_t bit = 1u << (i % 32);
    words_[i / 32] = value ? words_[i / 32] | bit : words_[i / 32] & ~bit;
  }
  std::size_t count() const {
    std::size_t total = 0;
    for (const uint32_t word : words_) total += static_cast<std::size_t>(__builtin_popcount(word));
    return total;
  }
  const std::vector<uint32_t>& words() const { return words_; }

  friend bool operator==(const bit_mask&, const bit_mask&) = default;

 private:
  std::size_t bits_ = 0;
  std::vector<uint32_t> words_;
};
