#include "features/filter_workspace.h"

#include <cstdint>

namespace {

constexpr std::size_t alignment_floats = 8;  // 32 bytes

}  // namespace

float* filter_workspace::buffer(std::size_t which, std::size_t count) {
  block& b = blocks_.at(which);
  if (count > b.capacity || !b.storage) {
    b.storage.reset(new float[count + alignment_floats]);
    const auto address = reinterpret_cast<uintptr_t>(b.storage.get());
    b.aligned = b.storage.get() + (32 - address % 32) % 32 / sizeof(float);
    b.capacity = count;
  }
  return b.aligned;
}
