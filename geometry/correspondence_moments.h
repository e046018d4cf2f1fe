// The sums over centred correspondences from which the closed-form rigid,
// similarity and affine estimators are built, and the pieces they share.
// In the sums, da is a difference of points of `first` and db the matching
// difference of points of `second`.
#pragma once

#include "geometry/h_matrix_2d.h"

// Below this a squared length, a determinant or a normalising scale counts
// as degenerate, and the estimate is refused.
inline constexpr double degenerate_limit = 1e-8;

struct correspondence_moments {
  void add(const double da[2], const double db[2]);

  double sxx = 0.0;  // sum db.x da.x
  double syy = 0.0;  // sum db.y da.y
  double sxy = 0.0;  // sum db.x da.y
  double syx = 0.0;  // sum db.y da.x
  double first_square = 0.0;  // sum |da|^2
  double bxx = 0.0;  // sum db.x^2
  double byy = 0.0;  // sum db.y^2
  double bxy = 0.0;  // sum db.x db.y
};

// The angle of the rotation that best turns the db onto the da; 0 when the
// sums vanish.
double rotation_angle(const correspondence_moments& moments);

// Writes the shift and angle of a rigid motion, or the shift, angle and
// scale of a similarity, so that the motion turns by `angle`, scales by
// `scale` (1 for rigid) and carries the point `second_centre` onto
// `first_centre`.
void set_turn_and_shift(h_matrix_2d& motion, double angle, double scale, const double first_centre[2],
                        const double second_centre[2]);
