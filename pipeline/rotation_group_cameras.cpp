#include "pipeline/rotation_group_cameras.h"

#include <utility>

namespace {
rotation_group_observer& observer() {
  static rotation_group_observer installed;
  return installed;
}
}  // namespace

void observe_rotation_groups(rotation_group_observer installed) { observer() = std::move(installed); }

void report_rotation_group(std::span<const group_camera> cameras) {
  if (observer()) observer()(cameras);
}
