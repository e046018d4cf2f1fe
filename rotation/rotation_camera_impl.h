// The members of rotation_camera, for the files that instantiate it over
// their lens models.
#pragma once

#include <algorithm>
#include <cmath>

#include "numerics/rodrigues.h"
#include "rotation/rotation_camera.h"

namespace rotation_camera_detail {

// d(point) and its derivatives by longitude and latitude.
inline void direction_of(const double point[2], double d[3], double by_longitude[3], double by_latitude[3]) {
  const double cl = std::cos(point[0]), sl = std::sin(point[0]), cb = std::cos(point[1]), sb = std::sin(point[1]);
  d[0] = cb * cl;
  d[1] = cb * sl;
  d[2] = sb;
  if (!by_longitude) return;
  by_longitude[0] = -cb * sl;
  by_longitude[1] = cb * cl;
  by_longitude[2] = 0.0;
  by_latitude[0] = -sb * cl;
  by_latitude[1] = -sb * sl;
  by_latitude[2] = cb;
}

inline void apply(const double m[9], const double v[3], double out[3]) {
  for (int r = 0; r < 3; ++r) out[r] = m[3 * r] * v[0] + m[3 * r + 1] * v[1] + m[3 * r + 2] * v[2];
}

// The derivatives of R by a rotation in front of it: [e_k]x R, whose rows
// for k = 0, 1, 2 are (0, -r3, r2), (r3, 0, -r1), (-r2, r1, 0).
inline void local_derivatives(const double r[9], double derivative[27]) {
  for (int k = 0; k < 3; ++k) {
    for (int row = 0; row < 3; ++row) {
      for (int column = 0; column < 3; ++column) {
        double value = 0.0;
        const int next = (row + 1) % 3, after = (row + 2) % 3;
        if (k == next) value = r[3 * after + column];
        if (k == after) value = -r[3 * next + column];
        derivative[3 * (3 * row + column) + k] = value;
      }
    }
  }
}

}  // namespace rotation_camera_detail

template <class Projection, bool Robust>
rotation_camera<Projection, Robust>::rotation_camera(const std::array<double, 9>& rotation_matrix,
                                                     const lens_type& lens, int32_t sharing, bool free)
    : lens_type(lens), mode(sharing), rotation_free(free), layout_(Projection::layout_of(sharing)) {
  rodrigues_inv(rotation_matrix.data(), rodrigues);
  refresh_rotation();
}

template <class Projection, bool Robust>
rotation_camera<Projection, Robust>::rotation_camera(const std::array<double, 3>& rodrigues_vector,
                                                     const lens_type& lens, int32_t sharing, bool free)
    : lens_type(lens), mode(sharing), rotation_free(free), layout_(Projection::layout_of(sharing)) {
  std::copy(rodrigues_vector.begin(), rodrigues_vector.end(), rodrigues);
  refresh_rotation();
}

template <class Projection, bool Robust>
void rotation_camera<Projection, Robust>::refresh_rotation() {
  if (local_rotation) {
    ::rodrigues(rodrigues, rotation);
    rotation_camera_detail::local_derivatives(rotation, rotation_derivative);
  } else {
    ::rodrigues(rodrigues, rotation, rotation_derivative);
  }
}

template <class Projection, bool Robust>
std::size_t rotation_camera<Projection, Robust>::block_size() const {
  return static_cast<std::size_t>(layout_.camera_count) + (rotation_free ? 3 : 0);
}

template <class Projection, bool Robust>
void rotation_camera<Projection, Robust>::pack(double* block) const {
  // Backwards, so that with one focal length for both axes fx is the value
  // written, as in the shared block.
  for (int q = Projection::quantity_count - 1; q >= 0; --q) {
    const lens_slot& slot = layout_.slots[q];
    if (slot.from == lens_slot::camera_block) block[slot.position] = Projection::value(lens(), q);
  }
  if (rotation_free) std::copy(rodrigues, rodrigues + 3, block + layout_.camera_count);
}

template <class Projection, bool Robust>
void rotation_camera<Projection, Robust>::unpack(const shared_record& shared, const double* block) {
  for (int q = 0; q < Projection::quantity_count; ++q) {
    const lens_slot& slot = layout_.slots[q];
    if (slot.from == lens_slot::camera_block) Projection::value(lens_values(), q) = block[slot.position];
    if (slot.from == lens_slot::shared_block) Projection::value(lens_values(), q) = Projection::value(shared, q);
  }
  if (!rotation_free) return;
  std::copy(block + layout_.camera_count, block + layout_.camera_count + 3, rodrigues);
  refresh_rotation();
}

template <class Projection, bool Robust>
void rotation_camera<Projection, Robust>::set_frame(const double points_frame[9]) {
  std::copy(points_frame, points_frame + 9, frame_);
}

template <class Projection, bool Robust>
void rotation_camera<Projection, Robust>::ray(const double point[2], double e[3], double y[3]) const {
  double d[3];
  rotation_camera_detail::direction_of(point, d, nullptr, nullptr);
  rotation_camera_detail::apply(frame_, d, e);
  rotation_camera_detail::apply(rotation, e, y);
}

template <class Projection, bool Robust>
void rotation_camera<Projection, Robust>::project(const double point[2], double image[2]) const {
  double e[3], y[3];
  ray(point, e, y);
  Projection::image(lens(), y, image, nullptr, nullptr);
}

template <class Projection, bool Robust>
void rotation_camera<Projection, Robust>::residual(const double point[2], const double measured[2],
                                                   double r[2]) const {
  double e[3], y[3], image[2];
  ray(point, e, y);
  if (!Projection::sees(y)) {
    r[0] = r[1] = 0.0;
    return;
  }
  Projection::image(lens(), y, image, nullptr, nullptr);
  r[0] = image[0] - measured[0];
  r[1] = image[1] - measured[1];
}

template <class Projection, bool Robust>
void rotation_camera<Projection, Robust>::derivatives(const double point[2], double* shared_rows,
                                                      std::size_t shared_stride, double* camera_rows,
                                                      std::size_t camera_stride, double point_rows[4]) const {
  using rotation_camera_detail::apply;
  constexpr int count = Projection::quantity_count;
  double d[3], by_longitude[3], by_latitude[3], e[3], y[3];
  rotation_camera_detail::direction_of(point, d, by_longitude, by_latitude);
  apply(frame_, d, e);
  apply(rotation, e, y);
  if (!Projection::sees(y)) return;  // a residual held at zero: the rows stay zero
  double image[2], by_ray[6], by_lens[2 * count];
  Projection::image(lens(), y, image, by_ray, by_lens);
  const auto through_ray = [&](const double dy[3], int row) {
    return by_ray[3 * row] * dy[0] + by_ray[3 * row + 1] * dy[1] + by_ray[3 * row + 2] * dy[2];
  };

  for (int q = 0; q < count; ++q) {
    const lens_slot& slot = layout_.slots[q];
    if (slot.from == lens_slot::camera_block) {
      camera_rows[slot.position] += by_lens[q];
      camera_rows[camera_stride + slot.position] += by_lens[count + q];
    } else if (slot.from == lens_slot::shared_block && slot.follows) {
      shared_rows[slot.position] += by_lens[q];
      shared_rows[shared_stride + slot.position] += by_lens[count + q];
    }
  }
  if (rotation_free) {
    for (int k = 0; k < 3; ++k) {
      double turned[9], dy[3];
      for (int entry = 0; entry < 9; ++entry) turned[entry] = rotation_derivative[3 * entry + k];
      apply(turned, e, dy);
      for (int row = 0; row < 2; ++row) camera_rows[row * camera_stride + layout_.camera_count + k] = through_ray(dy, row);
    }
  }
  for (int c = 0; c < 2; ++c) {
    double moved[3], dy[3];
    apply(frame_, c == 0 ? by_longitude : by_latitude, moved);
    apply(rotation, moved, dy);
    for (int row = 0; row < 2; ++row) point_rows[2 * row + c] = through_ray(dy, row);
  }
}

template <class Projection, bool Robust>
void rotation_camera<Projection, Robust>::advance(const double* block, const double* step, double* block_new) const {
  const int lens_count = layout_.camera_count;
  for (int i = 0; i < lens_count; ++i) block_new[i] = block[i] + step[i];
  if (!rotation_free) return;
  const double* current = block + lens_count;
  const double* turn = step + lens_count;
  double* moved = block_new + lens_count;
  if (!local_rotation) {
    for (int k = 0; k < 3; ++k) moved[k] = current[k] + turn[k];
    return;
  }
  rodrigues_turn(current, turn, moved);
}
