#include "planar/planar_camera.h"

#include <algorithm>

#include "numerics/matrix_3x3.h"

namespace {

// (u, v) = h (x, y) with the division by the third row, and its
// derivatives by the nine entries (2 x 9) and by the point (2 x 2).
struct mapped_point {
  double u, v;
  double by_h[18];
  double by_point[4];
};

mapped_point map_through(const std::array<double, 9>& h, const double point[2]) {
  const double x = point[0], y = point[1];
  const double w = h[6] * x + h[7] * y + h[8];
  mapped_point m{};
  m.u = (h[0] * x + h[1] * y + h[2]) / w;
  m.v = (h[3] * x + h[4] * y + h[5]) / w;
  const double row[3] = {x / w, y / w, 1.0 / w};
  for (int k = 0; k < 3; ++k) {
    m.by_h[k] = row[k];
    m.by_h[9 + 3 + k] = row[k];
    m.by_h[6 + k] = -m.u * row[k];
    m.by_h[9 + 6 + k] = -m.v * row[k];
  }
  m.by_point[0] = (h[0] - m.u * h[6]) / w;
  m.by_point[1] = (h[1] - m.u * h[7]) / w;
  m.by_point[2] = (h[3] - m.v * h[6]) / w;
  m.by_point[3] = (h[4] - m.v * h[7]) / w;
  return m;
}

}  // namespace

template <bool Robust>
std::size_t planar_camera<Robust>::lens_count() const {
  return lens_code == planar_lens_centre_and_distortion ? 4 : lens_code == planar_lens_distortion ? 2 : 0;
}

template <bool Robust>
void planar_camera<Robust>::pack(double* block) const {
  if (lens_code == planar_lens_centre_and_distortion) block = std::copy(centre.begin(), centre.end(), block);
  if (lens_code != planar_lens_none) block = std::copy(distortion.begin(), distortion.end(), block);
  if (free) std::copy(h.begin(), h.end(), block);
}

template <bool Robust>
void planar_camera<Robust>::unpack(const shared_lens&, const double* block) {
  if (lens_code == planar_lens_centre_and_distortion) {
    std::copy(block, block + 2, centre.begin());
    block += 2;
  }
  if (lens_code != planar_lens_none) {
    std::copy(block, block + 2, distortion.begin());
    block += 2;
  }
  if (free) std::copy(block, block + 9, h.begin());
}

template <bool Robust>
void planar_camera<Robust>::project(const double point[2], double image[2]) const {
  const mapped_point m = map_through(h, point);
  if (lens_code == planar_lens_none) {
    image[0] = m.u;
    image[1] = m.v;
    return;
  }
  const double q = m.u * m.u + m.v * m.v;
  const double f = 1.0 + distortion[0] * q + distortion[1] * q * q;
  image[0] = m.u * f + centre[0];
  image[1] = m.v * f + centre[1];
}

template <bool Robust>
void planar_camera<Robust>::derivatives(const double point[2], double*, std::size_t, double* camera_rows,
                                        std::size_t camera_stride, double point_rows[4]) const {
  const mapped_point m = map_through(h, point);
  // The image by (u, v): the identity without a lens.
  double by_uv[4] = {1.0, 0.0, 0.0, 1.0};
  if (lens_code != planar_lens_none) {
    const double k1 = distortion[0], k2 = distortion[1];
    const double q = m.u * m.u + m.v * m.v;
    const double f = 1.0 + k1 * q + k2 * q * q;
    const double f_q = k1 + 2.0 * k2 * q;
    by_uv[0] = f + 2.0 * m.u * m.u * f_q;
    by_uv[1] = 2.0 * m.u * m.v * f_q;
    by_uv[2] = 2.0 * m.v * m.u * f_q;
    by_uv[3] = f + 2.0 * m.v * m.v * f_q;
    std::size_t column = 0;
    if (lens_code == planar_lens_centre_and_distortion) {
      camera_rows[0] = 1.0;
      camera_rows[camera_stride + 1] = 1.0;
      column = 2;
    }
    camera_rows[column] = m.u * q;
    camera_rows[camera_stride + column] = m.v * q;
    camera_rows[column + 1] = m.u * q * q;
    camera_rows[camera_stride + column + 1] = m.v * q * q;
  }
  const auto chain = [&](const double* by, std::size_t columns, std::size_t stride, double* out, std::size_t out_stride) {
    for (std::size_t c = 0; c < columns; ++c) {
      out[c] = by_uv[0] * by[c] + by_uv[1] * by[stride + c];
      out[out_stride + c] = by_uv[2] * by[c] + by_uv[3] * by[stride + c];
    }
  };
  if (free) chain(m.by_h, 9, 9, camera_rows + lens_count(), camera_stride);
  chain(m.by_point, 2, 2, point_rows, 2);
}

template <bool Robust>
void planar_camera<Robust>::advance(const double* block, const double* step, double* block_new) const {
  for (std::size_t i = 0; i < block_size(); ++i) block_new[i] = block[i] + step[i];
}

template <bool Robust>
std::array<double, 2> planar_camera<Robust>::on_plane(double x, double y) const {
  if (lens_code != planar_lens_none) {
    x -= centre[0];
    y -= centre[1];
  }
  double adjugate[9];
  adjugate_3x3(h.data(), adjugate);
  const double det = determinant_3x3(h.data());
  const double w = (adjugate[6] * x + adjugate[7] * y + adjugate[8]) / det;
  return {(adjugate[0] * x + adjugate[1] * y + adjugate[2]) / det / w, (adjugate[3] * x + adjugate[4] * y + adjugate[5]) / det / w};
}

template struct planar_camera<false>;
template struct planar_camera<true>;
