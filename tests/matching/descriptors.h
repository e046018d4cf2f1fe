// Descriptors with chosen distances, for tests of the matcher's rules.
#pragma once

#include <array>
#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

namespace test_support {

using descriptor = std::array<uint8_t, 128>;

// A descriptor whose distance from the all-zero one is `weight`: bytes of
// 255 from the front, then the remainder.
inline descriptor with_weight(uint32_t weight, std::size_t first_byte = 0) {
  descriptor d{};
  for (std::size_t i = first_byte; i < 128 && weight > 0; ++i) {
    const uint32_t part = weight > 255 ? 255 : weight;
    d[i] = static_cast<uint8_t>(part);
    weight -= part;
  }
  return d;
}

// Packed descriptors on a 16-byte boundary, as frame_features keeps them.
class packed_descriptors {
 public:
  explicit packed_descriptors(const std::vector<descriptor>& list) : storage_(128 * list.size() + 16) {
    const auto address = reinterpret_cast<uintptr_t>(storage_.data());
    data_ = storage_.data() + (16 - address % 16) % 16;
    for (std::size_t i = 0; i < list.size(); ++i) std::memcpy(data_ + 128 * i, list[i].data(), 128);
    count_ = list.size();
  }
  const uint8_t* data() const { return count_ ? data_ : nullptr; }
  std::size_t size() const { return count_; }

 private:
  std::vector<uint8_t> storage_;
  uint8_t* data_;
  std::size_t count_;
};

inline std::vector<descriptor> random_descriptors(std::size_t count, unsigned seed) {
  std::mt19937 generator(seed);
  std::vector<descriptor> list(count);
  for (descriptor& d : list) {
    for (uint8_t& byte : d) byte = static_cast<uint8_t>(generator() % 64 == 0 ? 255 : generator() % 40);
  }
  return list;
}

}  // namespace test_support
