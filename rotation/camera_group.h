// The cameras of a rotation group as the group refinements keep them,
// rotations camera-to-world beside lens values of any lens model, and the
// way to and from the adjusters' cameras, which hold their own rotations.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "numerics/matrix_3x3.h"
#include "rotation/camera_refusal.h"

template <class Lens>
struct camera_group {
  std::vector<std::array<double, 9>> rotations;  // camera-to-world: the transpose of a camera's own
  std::vector<Lens> lenses;
};

inline std::array<double, 9> transposed(const std::array<double, 9>& m) {
  std::array<double, 9> t;
  transpose_3x3(m.data(), t.data());
  return t;
}

// One adjuster camera per image in `mode`, with the robust threshold; the
// reference camera's rotation is held fixed, which fixes the world frame.
// Nothing when a camera cannot be made (a rotation that is none, a mode the
// type does not handle): the stage has then failed.
template <class Camera, class Lens>
std::optional<std::vector<Camera>> cameras_for(const camera_group<Lens>& cameras, std::size_t reference,
                                               int32_t mode, double threshold) {
  return unless_refused([&] {
    std::vector<Camera> result;
    for (std::size_t i = 0; i < cameras.rotations.size(); ++i) {
      result.emplace_back(transposed(cameras.rotations[i]), cameras.lenses[i], mode, i != reference);
      result.back().robust_threshold = threshold;
    }
    return result;
  });
}

// The adjusted cameras' rotations and lenses into the group.
template <class Adjuster, class Lens>
void write_back(const Adjuster& adjusted, camera_group<Lens>& cameras) {
  for (std::size_t i = 0; i < adjusted.cameras.size(); ++i) {
    transpose_3x3(adjusted.cameras[i].rotation, cameras.rotations[i].data());
    cameras.lenses[i] = adjusted.cameras[i].lens();
  }
}
