#include "rotation/rotation_camera.h"

#include <cmath>
#include <stdexcept>
#include <string>

#include "mvg/rodrigues.h"

namespace {

// d(point) and its derivatives by longitude and latitude.
void direction_of(const double point[2], double d[3], double by_longitude[3], double by_latitude[3]) {
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

void apply(const double m[9], const double v[3], double out[3]) {
  for (int r = 0; r < 3; ++r) out[r] = m[3 * r] * v[0] + m[3 * r + 1] * v[1] + m[3 * r + 2] * v[2];
}

// The derivatives of R by a rotation in front of it: [e_k]x R, whose rows
// for k = 0, 1, 2 are (0, -r3, r2), (r3, 0, -r1), (-r2, r1, 0).
void local_derivatives(const double r[9], double derivative[27]) {
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

}  // namespace

void pinhole_projection::image(const lens_record& lens, const double y[3], double out[2], double* by_ray,
                               double* by_lens) {
  const double u = y[0] / y[2], v = y[1] / y[2];
  out[0] = lens.fx * u + lens.cx;
  out[1] = lens.fy * v + lens.cy;
  if (!by_ray) return;
  const double a = lens.fx / y[2], b = lens.fy / y[2];
  const double ray[6] = {a, 0.0, -a * u, 0.0, b, -b * v};
  const double partials[12] = {u, 0.0, 1.0, 0.0, 0.0, 0.0,  //
                               0.0, v, 0.0, 1.0, 0.0, 0.0};
  std::copy(ray, ray + 6, by_ray);
  std::copy(partials, partials + 12, by_lens);
}

void radial_projection::image(const lens_record& lens, const double y[3], double out[2], double* by_ray,
                              double* by_lens) {
  const double u = y[0] / y[2], v = y[1] / y[2];
  const double rho = u * u + v * v;
  const double g = (lens.k2 * rho + lens.k1) * rho + 1.0;
  out[0] = lens.fx * g * u + lens.cx;
  out[1] = lens.fy * g * v + lens.cy;
  if (!by_ray) return;
  // By (u, v), then through (u, v) by y.
  const double g_rho = 2.0 * lens.k2 * rho + lens.k1;
  const double g_u = 2.0 * u * g_rho, g_v = 2.0 * v * g_rho;
  const double by_uv[4] = {lens.fx * (g + u * g_u), lens.fx * u * g_v, lens.fy * v * g_u, lens.fy * (g + v * g_v)};
  for (int row = 0; row < 2; ++row) {
    by_ray[3 * row] = by_uv[2 * row] / y[2];
    by_ray[3 * row + 1] = by_uv[2 * row + 1] / y[2];
    by_ray[3 * row + 2] = -(by_uv[2 * row] * u + by_uv[2 * row + 1] * v) / y[2];
  }
  const double partials[12] = {g * u, 0.0, 1.0, 0.0, lens.fx * u * rho, lens.fx * u * rho * rho,  //
                               0.0, g * v, 0.0, 1.0, lens.fy * v * rho, lens.fy * v * rho * rho};
  std::copy(partials, partials + 12, by_lens);
}

template <class Projection, bool Robust>
rotation_camera<Projection, Robust>::rotation_camera(const std::array<double, 9>& rotation_matrix,
                                                     const lens_record& lens, int32_t sharing, bool free)
    : fx(lens.fx), fy(lens.fy), cx(lens.cx), cy(lens.cy), k1(lens.k1), k2(lens.k2), mode(sharing), rotation_free(free),
      layout_(lens_layout_of(checked_mode(sharing))) {
  rodrigues_inv(rotation_matrix.data(), rodrigues);
  refresh_rotation();
}

template <class Projection, bool Robust>
rotation_camera<Projection, Robust>::rotation_camera(const std::array<double, 3>& rodrigues_vector,
                                                     const lens_record& lens, int32_t sharing, bool free)
    : fx(lens.fx), fy(lens.fy), cx(lens.cx), cy(lens.cy), k1(lens.k1), k2(lens.k2), mode(sharing), rotation_free(free),
      layout_(lens_layout_of(checked_mode(sharing))) {
  std::copy(rodrigues_vector.begin(), rodrigues_vector.end(), rodrigues);
  refresh_rotation();
}

template <class Projection, bool Robust>
int32_t rotation_camera<Projection, Robust>::checked_mode(int32_t sharing) {
  if (sharing < Projection::first_mode || sharing > Projection::last_mode) {
    throw std::invalid_argument(std::string(Projection::name) + "::ctor(): unsupported camera sharing mode " +
                                std::to_string(sharing));
  }
  return sharing;
}

template <class Projection, bool Robust>
void rotation_camera<Projection, Robust>::refresh_rotation() {
  if (local_rotation) {
    ::rodrigues(rodrigues, rotation);
    local_derivatives(rotation, rotation_derivative);
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
  for (int q = lens_quantity_count - 1; q >= 0; --q) {
    const lens_slot& slot = layout_.slots[q];
    if (slot.from == lens_slot::camera_block) block[slot.position] = lens_value(*this, q);
  }
  if (rotation_free) std::copy(rodrigues, rodrigues + 3, block + layout_.camera_count);
}

template <class Projection, bool Robust>
void rotation_camera<Projection, Robust>::unpack(const shared_lens& shared, const double* block) {
  for (int q = 0; q < lens_quantity_count; ++q) {
    const lens_slot& slot = layout_.slots[q];
    if (slot.from == lens_slot::camera_block) lens_value(*this, q) = block[slot.position];
    if (slot.from == lens_slot::shared_block) lens_value(*this, q) = lens_value(shared, q);
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
  direction_of(point, d, nullptr, nullptr);
  apply(frame_, d, e);
  apply(rotation, e, y);
}

template <class Projection, bool Robust>
void rotation_camera<Projection, Robust>::project(const double point[2], double image[2]) const {
  double e[3], y[3];
  ray(point, e, y);
  Projection::image(lens(), y, image, nullptr, nullptr);
}

template <class Projection, bool Robust>
void rotation_camera<Projection, Robust>::derivatives(const double point[2], double* shared_rows,
                                                      std::size_t shared_stride, double* camera_rows,
                                                      std::size_t camera_stride, double point_rows[4]) const {
  double d[3], by_longitude[3], by_latitude[3], e[3], y[3];
  direction_of(point, d, by_longitude, by_latitude);
  apply(frame_, d, e);
  apply(rotation, e, y);
  double image[2], by_ray[6], by_lens[12];
  Projection::image(lens(), y, image, by_ray, by_lens);
  const auto through_ray = [&](const double dy[3], int row) {
    return by_ray[3 * row] * dy[0] + by_ray[3 * row + 1] * dy[1] + by_ray[3 * row + 2] * dy[2];
  };

  for (int q = 0; q < lens_quantity_count; ++q) {
    const lens_slot& slot = layout_.slots[q];
    if (slot.from == lens_slot::camera_block) {
      camera_rows[slot.position] += by_lens[q];
      camera_rows[camera_stride + slot.position] += by_lens[6 + q];
    } else if (slot.from == lens_slot::shared_block && slot.follows) {
      shared_rows[slot.position] += by_lens[q];
      shared_rows[shared_stride + slot.position] += by_lens[6 + q];
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

template struct rotation_camera<pinhole_projection, false>;
template struct rotation_camera<pinhole_projection, true>;
template struct rotation_camera<radial_projection, true>;
