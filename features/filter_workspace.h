// The scratch memory of the separable filter, kept from call to call and
// from frame to frame of an extraction run: filtering then works in memory
// that is already mapped and warm instead of faulting in fresh pages for
// every plane.
#pragma once

#include <array>
#include <cstddef>
#include <memory>

class filter_workspace {
 public:
  static constexpr std::size_t buffer_count = 3;

  // Buffer `which` (below buffer_count) with room for `count` floats,
  // starting on a 32-byte boundary. It grows when asked for more and never
  // shrinks; its contents are undefined.
  float* buffer(std::size_t which, std::size_t count);

 private:
  struct block {
    std::unique_ptr<float[]> storage;
    float* aligned = nullptr;
    std::size_t capacity = 0;
  };
  std::array<block, buffer_count> blocks_;
};
