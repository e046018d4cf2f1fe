#include "geometry/estimate_minimal.h"

#include <cmath>

#include "geometry/correspondence_moments.h"
#include "geometry/point_normalization.h"
#include "numerics/matrix_3x3.h"

namespace {

// A triangle of normalised points whose determinant is within this of 0 is
// taken as collinear.
constexpr double collinear_limit = 1e-7;

bool solve_translation(const point_list& first, const point_list& second, h_matrix_2d& motion) {
  if (motion.type != homography_translation) return false;
  motion.parameters[0] = first[0][0] - second[0][0];
  motion.parameters[1] = first[0][1] - second[0][1];
  return true;
}

// Rigid and similarity from two correspondences: the turn of the segment
// b0 b1 onto a0 a1, about the midpoints.
bool solve_two_points(const point_list& first, const point_list& second, h_matrix_2d& motion) {
  const double da[2] = {first[0][0] - first[1][0], first[0][1] - first[1][1]};
  const double db[2] = {second[0][0] - second[1][0], second[0][1] - second[1][1]};
  const double ma[2] = {(first[0][0] + first[1][0]) / 2, (first[0][1] + first[1][1]) / 2};
  const double mb[2] = {(second[0][0] + second[1][0]) / 2, (second[0][1] + second[1][1]) / 2};
  correspondence_moments moments;
  moments.add(da, db);
  const double angle = rotation_angle(moments);
  if (motion.type == homography_rigid) {
    set_turn_and_shift(motion, angle, 1.0, ma, mb);
    return true;
  }
  const double length_a = da[0] * da[0] + da[1] * da[1];
  if (length_a < degenerate_limit) return false;
  // The turned db projected on da, over |da|^2 rather than |db|^2: the
  // estimate is the reciprocal of the true scale, which stays close to it
  // for the near-unit scales between overlapping photographs.
  const double c = std::cos(angle), s = std::sin(angle);
  const double scale = ((c * db[0] - s * db[1]) * da[0] + (s * db[0] + c * db[1]) * da[1]) / length_a;
  set_turn_and_shift(motion, angle, scale, ma, mb);
  return true;
}

// The linear part carries the differences b0 - b2, b1 - b2 onto a0 - a2,
// a1 - a2. The second row reads b2.y and b1.y where the first row reads
// a2.x and a1.x: the affine hypotheses of the pair stage have always been
// built so, and the least-squares refit on their inliers, which reads
// `first` throughout, is what the pair keeps when it scores better.
bool solve_affine(const point_list& first, const point_list& second, h_matrix_2d& motion) {
  const double *a0 = first[0], *a1 = first[1], *a2 = first[2];
  const double *b0 = second[0], *b1 = second[1], *b2 = second[2];
  const double m00 = b0[0] - b2[0], m01 = b1[0] - b2[0];
  const double m10 = b0[1] - b2[1], m11 = b1[1] - b2[1];
  const double e = m00 * m11 - m01 * m10;
  if (std::fabs(e) < degenerate_limit) return false;
  const double p00 = m11 / e, p01 = -m01 / e, p10 = -m10 / e, p11 = m00 / e;
  const double a = p00 * (a0[0] - a2[0]) + p10 * (a1[0] - a2[0]);
  const double b = p01 * (a0[0] - a2[0]) + p11 * (a1[0] - a2[0]);
  const double c = p00 * (a0[1] - b2[1]) + p10 * (b1[1] - b2[1]);
  const double d = p01 * (a0[1] - b2[1]) + p11 * (b1[1] - b2[1]);
  double* p = motion.parameters;
  p[0] = a0[0] - (a * b0[0] + b * b0[1]);
  p[1] = a0[1] - (c * b0[0] + d * b0[1]);
  p[2] = a;
  p[3] = b;
  p[4] = c;
  p[5] = d;
  return true;
}

// The matrix that carries the projective basis (1,0,0), (0,1,0), (0,0,1),
// (1,1,1) onto the four normalised points, up to scale: the columns are
// points 0 to 2, each weighted by the coordinate of point 3 in their frame.
// The weights come from the adjugate, so nothing is divided. False when
// points 0, 1 and 2 are collinear; point 3 is not tested.
bool basis_to_points(const point_list& points, const point_frame& frame, double basis[9]) {
  double p[4][2];
  for (int i = 0; i < 4; ++i) normalize_point(frame, points[i], p[i]);
  const double triangle[9] = {p[0][0], p[1][0], p[2][0], p[0][1], p[1][1], p[2][1], 1.0, 1.0, 1.0};
  if (std::fabs(determinant_3x3(triangle)) < collinear_limit) return false;
  double adjugate[9];
  adjugate_3x3(triangle, adjugate);
  for (int j = 0; j < 3; ++j) {
    const double weight = adjugate[3 * j] * p[3][0] + adjugate[3 * j + 1] * p[3][1] + adjugate[3 * j + 2];
    for (int r = 0; r < 3; ++r) basis[3 * r + j] = triangle[3 * r + j] * weight;
  }
  return true;
}

// Four correspondences through the projective basis of each list, on
// normalised points so that the determinant tests mean the same at any
// image size. The result is left at whatever determinant it comes with.
bool solve_projective(const point_list& first, const point_list& second, h_matrix_2d& motion) {
  point_frame frame_a, frame_b;
  normalizer_all(first, frame_a.cx, frame_a.cy, frame_a.scale);
  normalizer_all(second, frame_b.cx, frame_b.cy, frame_b.scale);
  if (frame_a.scale < degenerate_limit || frame_b.scale < degenerate_limit) return false;
  double basis_a[9], basis_b[9];
  if (!basis_to_points(first, frame_a, basis_a) || !basis_to_points(second, frame_b, basis_b)) return false;
  double inverse_b[9], normalised[9];
  adjugate_3x3(basis_b, inverse_b);
  multiply_3x3(basis_a, inverse_b, normalised);
  denormalize_projective(normalised, frame_a, frame_b, motion.parameters);
  return true;
}

}  // namespace

bool estimate_minimal(const point_list& first, const point_list& second, h_matrix_2d& motion) {
  switch (motion.number_of_minimum_points()) {
    case 1: return solve_translation(first, second, motion);
    case 2: return solve_two_points(first, second, motion);
    case 3: return solve_affine(first, second, motion);
    default: return solve_projective(first, second, motion);
  }
}
