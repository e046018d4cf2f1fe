// The projective map of the unit square onto a quadrilateral, by the
// classical closed-form construction: (0, 0), (1, 0), (1, 1) and (0, 1) go
// to the corners P0, P1, P2, P3, and (u, v) to
//
//   ((a u + b v + P0.x) / w, (d u + e v + P0.y) / w),  w = g u + h v + 1.
#pragma once

#include <array>

class square_to_quad {
 public:
  // `quad` is x, y of P0 to P3: top-left, top-right, bottom-right,
  // bottom-left. A parallelogram gives an affine map. A quadrilateral whose
  // projective part cannot be solved (P1, P2 and P3 on one line) collapses
  // the whole square onto the origin.
  explicit square_to_quad(const double quad[8]);

  std::array<double, 2> operator()(double u, double v) const;

  // The same map as a row-major 3 x 3 matrix on homogeneous points, for
  // callers that compose or invert it.
  std::array<double, 9> matrix() const;

 private:
  double a_ = 0.0, b_ = 0.0, d_ = 0.0, e_ = 0.0, g_ = 0.0, h_ = 0.0;
  double x0_ = 0.0, y0_ = 0.0;
  bool collapsed_ = false;
};
