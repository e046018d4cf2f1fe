#include "records/frame_features.h"

#include <algorithm>

namespace {

constexpr std::size_t descriptor_bytes = 128;
constexpr std::size_t descriptor_alignment = 16;

uint8_t* aligned_start(std::vector<uint8_t>& storage) {
  const auto address = reinterpret_cast<uintptr_t>(storage.data());
  return storage.data() + (descriptor_alignment - address % descriptor_alignment) % descriptor_alignment;
}

}  // namespace

const uint8_t* descriptors_of(const frame_features& frame) {
  if (frame.features.empty()) return nullptr;
  return aligned_start(const_cast<std::vector<uint8_t>&>(frame.packed_descriptors));
}

void complete_frame_features(frame_features& frame) {
  const std::size_t count = frame.features.size();
  frame.feature_points.resize(count);
  for (std::size_t i = 0; i < count; ++i) frame.feature_points[i] = &frame.features[i];
  frame.packed_descriptors.assign(descriptor_bytes * count + descriptor_alignment, 0);
  uint8_t* slot = aligned_start(frame.packed_descriptors);
  for (const feature_record& feature : frame.features) {
    slot = std::copy_n(feature.descriptor, descriptor_bytes, slot);
  }
}
