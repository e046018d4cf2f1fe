#include "geometry/estimate_least_squares.h"

#include <cmath>
#include <cstddef>

#include "geometry/correspondence_moments.h"
#include "geometry/point_normalization.h"
#include "numerics/dense_matrix.h"
#include "numerics/svd.h"

namespace {

// Below this ratio of the two smallest non-zero singular values the
// projective system has more than one solution.
constexpr double null_space_ratio = 0.0001;

template <class Visit>
void for_each_marked(const point_list& first, const point_list& second, const bit_mask& mask, Visit visit) {
  for (std::size_t i = 0; i < first.size(); ++i) {
    if (mask[i]) visit(first[i], second[i]);
  }
}

bool fit_translation(const point_list& first, const point_list& second, const bit_mask& mask, std::size_t n,
                     h_matrix_2d& motion) {
  double sum_x = 0.0, sum_y = 0.0;
  for_each_marked(first, second, mask, [&](const double* a, const double* b) {
    sum_x += a[0] - b[0];
    sum_y += a[1] - b[1];
  });
  motion.parameters[0] = sum_x / static_cast<double>(n);
  motion.parameters[1] = sum_y / static_cast<double>(n);
  return true;
}

// The centroids of the marked points of each list, and the moments of the
// marked correspondences about them.
struct centred_selection {
  point_frame first;
  point_frame second;
  correspondence_moments moments;
};

centred_selection centre(const point_list& first, const point_list& second, const bit_mask& mask) {
  centred_selection c;
  normalizer_masked(first, mask, c.first.cx, c.first.cy, c.first.scale);
  normalizer_masked(second, mask, c.second.cx, c.second.cy, c.second.scale);
  for_each_marked(first, second, mask, [&](const double* a, const double* b) {
    const double da[2] = {a[0] - c.first.cx, a[1] - c.first.cy};
    const double db[2] = {b[0] - c.second.cx, b[1] - c.second.cy};
    c.moments.add(da, db);
  });
  return c;
}

bool fit_rigid_or_similarity(const centred_selection& c, h_matrix_2d& motion) {
  const correspondence_moments& m = c.moments;
  const double angle = rotation_angle(m);
  const double ca[2] = {c.first.cx, c.first.cy}, cb[2] = {c.second.cx, c.second.cy};
  if (motion.type == homography_rigid) {
    set_turn_and_shift(motion, angle, 1.0, ca, cb);
    return true;
  }
  if (m.first_square < degenerate_limit) return false;
  // Measured against `first` as in the two-point solver, and with the sine
  // term of the opposite sign, which shrinks the estimate by cos 2t. The
  // robust search keeps a refit only when it lowers its cost, so this fit
  // cannot make a pair's motion worse.
  const double scale = (std::cos(angle) * (m.sxx + m.syy) + std::sin(angle) * (m.syx - m.sxy)) / m.first_square;
  set_turn_and_shift(motion, angle, scale, ca, cb);
  return true;
}

// The normal equations of the linear part, solved by the 2 x 2 inverse of
// the second list's scatter.
bool fit_affine(const centred_selection& c, h_matrix_2d& motion) {
  const correspondence_moments& m = c.moments;
  const double g = m.byy * m.bxx - m.bxy * m.bxy;
  if (std::fabs(g) < degenerate_limit) return false;
  const double w00 = m.byy / g, w01 = -m.bxy / g, w11 = m.bxx / g;
  const double a = w00 * m.sxx + w01 * m.syx, b = w01 * m.sxx + w11 * m.syx;
  const double cc = w00 * m.sxy + w01 * m.syy, d = w01 * m.sxy + w11 * m.syy;
  double* p = motion.parameters;
  p[0] = c.first.cx - (a * c.second.cx + b * c.second.cy);
  p[1] = c.first.cy - (cc * c.second.cx + d * c.second.cy);
  p[2] = a;
  p[3] = b;
  p[4] = cc;
  p[5] = d;
  return true;
}

// The three cross-product rows of a' x (H' b') = 0 for one normalised
// correspondence.
void put_cross_product_rows(dense_matrix<double>& system, uint64_t row, const double a[2], const double b[2]) {
  const double rows[3][9] = {
      {b[0], b[1], 1.0, 0.0, 0.0, 0.0, -b[0] * a[0], -b[1] * a[0], -a[0]},
      {0.0, 0.0, 0.0, b[0], b[1], 1.0, -b[0] * a[1], -b[1] * a[1], -a[1]},
      {b[0] * a[1], b[1] * a[1], a[1], -b[0] * a[0], -b[1] * a[0], -a[0], 0.0, 0.0, 0.0},
  };
  for (uint64_t r = 0; r < 3; ++r) {
    for (uint64_t k = 0; k < 9; ++k) system(row + r, k) = rows[r][k];
  }
}

// The direct linear method on normalised points: the matrix is the right
// singular vector of the smallest singular value.
bool fit_projective(const point_list& first, const point_list& second, const bit_mask& mask, std::size_t n,
                    h_matrix_2d& motion) {
  point_frame frame_a, frame_b;
  normalizer_masked(first, mask, frame_a.cx, frame_a.cy, frame_a.scale);
  normalizer_masked(second, mask, frame_b.cx, frame_b.cy, frame_b.scale);
  dense_matrix<double> system(3 * n, 9);
  uint64_t row = 0;
  for_each_marked(first, second, mask, [&](const double* a, const double* b) {
    double an[2], bn[2];
    normalize_point(frame_a, a, an);
    normalize_point(frame_b, b, bn);
    put_cross_product_rows(system, row, an, bn);
    row += 3;
  });
  const svd_right<double> decomposition(system);
  if (decomposition.failed) return false;
  if (decomposition.s[6] * null_space_ratio > decomposition.s[7]) return false;
  denormalize_projective(&decomposition.vt(decomposition.vt.rows - 1, 0), frame_a, frame_b, motion.parameters);
  return true;
}

}  // namespace

bool estimate_least_squares(const point_list& first, const point_list& second, const bit_mask& mask,
                            h_matrix_2d& motion) {
  const std::size_t n = mask.count();
  switch (motion.type) {
    case homography_translation: return n >= 1 && fit_translation(first, second, mask, n, motion);
    case homography_rigid:
    case homography_similarity: return n >= 2 && fit_rigid_or_similarity(centre(first, second, mask), motion);
    case homography_affine: return n >= 3 && fit_affine(centre(first, second, mask), motion);
    case homography_projective: return n >= 4 && fit_projective(first, second, mask, n, motion);
    default: return false;
  }
}
