// The engine's one representation of a planar motion: a kind and the
// parameters of that kind. It maps points of the second image of a pair
// onto the first, and is copied freely as a plain value.
//
// Parameters by kind, in storage order:
//   translation  tx, ty                  (x + tx, y + ty)
//   scale        s                       (s x, s y)
//   rotation     angle (radians)         rotation about the origin
//   rigid        tx, ty, angle           rotation, then shift
//   similarity   tx, ty, angle, s        rotation and scale, then shift
//   affine       tx, ty, a, b, c, d      (a x + b y + tx, c x + d y + ty)
//   projective   h0 ... h8               the 3 x 3 matrix row by row
#pragma once

#include <cstdint>

#include "records/homography_type.h"

// The kind and its facts. Each fact throws std::invalid_argument for a kind
// outside 1 to 7.
class h_matrix_2d_base {
 public:
  explicit h_matrix_2d_base(HomographyType kind = homography_projective) : type(kind) {}

  int parameter_count() const;
  int number_of_minimum_points() const;  // correspondences of a minimal sample
  bool need_nonlinear_estimator() const;

  HomographyType type;
};

class h_matrix_2d : public h_matrix_2d_base {
 public:
  explicit h_matrix_2d(HomographyType kind = homography_projective) : h_matrix_2d_base(kind) {}

  static h_matrix_2d identity(HomographyType kind);

  // Maps `in` to `out`; a zero projective denominator is not guarded.
  void operator()(const double in[2], double out[2]) const;

  // Scales a projective matrix to determinant 1 (through the signed cube
  // root); a determinant of 0 or not a number, and the other kinds, are
  // left as they are.
  void normalize();

  bool is_invertible() const;

  // The inverse, of the same kind. For a singular value only the kind is
  // written: callers that can meet one ask is_invertible first.
  h_matrix_2d inverse() const;

  // The Jacobians of the mapped point at `point`: over the parameters (2 x
  // parameter_count, row stride `parameter_stride`) and over the point
  // (2 x 2, row stride `point_stride`). Either may be null.
  void derivatives(const double point[2], double* jacobian_parameters, int parameter_stride,
                   double* jacobian_point, int point_stride) const;

  double parameters[9] = {};
};

// b first, then a, in a's kind; b's kind is not looked at.
h_matrix_2d compose_same(const h_matrix_2d& a, const h_matrix_2d& b);

// b first, then a, promoted to their common kind.
h_matrix_2d operator*(const h_matrix_2d& a, const h_matrix_2d& b);

// Whether `from` promotes to `to` (equal kinds do).
bool can_convert(HomographyType from, HomographyType to);

// The kind both promote to, looked at from a's side (not symmetric for
// scale).
HomographyType common_type(HomographyType a, HomographyType b);
inline HomographyType common_type(const h_matrix_2d& a, const h_matrix_2d& b) { return common_type(a.type, b.type); }

// The value promoted to `target`; an impossible promotion gives the value
// back unchanged, kind included.
h_matrix_2d convert(const h_matrix_2d& source, HomographyType target);
