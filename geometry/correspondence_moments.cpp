#include "geometry/correspondence_moments.h"

#include <cmath>

void correspondence_moments::add(const double da[2], const double db[2]) {
  sxx += db[0] * da[0];
  syy += db[1] * da[1];
  sxy += db[0] * da[1];
  syx += db[1] * da[0];
  first_square += da[0] * da[0] + da[1] * da[1];
  bxx += db[0] * db[0];
  byy += db[1] * db[1];
  bxy += db[0] * db[1];
}

double rotation_angle(const correspondence_moments& m) { return std::atan2(m.sxy - m.syx, m.syy + m.sxx); }

void set_turn_and_shift(h_matrix_2d& motion, double angle, double scale, const double first_centre[2],
                        const double second_centre[2]) {
  const double c = std::cos(angle), s = std::sin(angle);
  double* p = motion.parameters;
  p[0] = first_centre[0] - scale * (c * second_centre[0] - s * second_centre[1]);
  p[1] = first_centre[1] - scale * (s * second_centre[0] + c * second_centre[1]);
  p[2] = angle;
  if (motion.type == homography_similarity) p[3] = scale;
}
