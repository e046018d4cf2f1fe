// The elimination of scene points from the damped normal equations of a
// sparse problem, (J^T J + diag(d)) y = b, whose unknowns end with one
// 2-vector per point: the bundle adjusters' scene points and the pair
// refiner's true point positions. Each point's own block is 2 x 2, so it
// is inverted in closed form, and only the remaining (reduced) unknowns
// are solved densely.
//
// Legend. r stands for the reduced unknowns, which come first in the
// unknown vector; point j's unknowns follow them at 2 j.
//   T_j      2 x 2     point j's own block of J^T J
//   C_c      2 x w_c   a coupling: point j(c)'s rows of J^T J against the w_c
//                      reduced unknowns from column o_c on. The bundle
//                      adjusters have P_j (against the shared block) and
//                      Q_o (against the camera of observation o); the pair
//                      refiner has W_i (against the motion).
//   Tinv_j   2 x 2     (T_j + diag(d_j))^-1, d_j the damping of point j
//   Y_c      2 x w_c   Tinv_j(c) C_c: the bundle adjusters' YA_j and YB_o
// Eliminating the points leaves
//   X s = b_r - sum_c Y_c^T b_j(c),  X = N_rr + D_r - sum C_a^T Y_b
// over the pairs (a, b) of couplings of one point, then
//   y_j = Tinv_j b_j - sum over the couplings c of j of Y_c s(o_c).
// The models form X themselves, block by block in an order of their own
// (the order of the sums is part of their results), with `subtract`; the
// right side and the back-substitution take the couplings in the order in
// which they were laid out.
#pragma once

#include <cstddef>
#include <vector>

class point_elimination {
 public:
  struct coupling {
    std::size_t point;
    std::size_t offset;  // o_c, the first reduced unknown it couples to
    std::size_t width;   // w_c
  };

  // Sizes every block once: `point_count` points and the couplings, in the
  // order the sums take them.
  void lay_out(std::size_t point_count, std::vector<coupling> couplings);

  std::size_t point_count() const { return point_count_; }
  const std::vector<coupling>& couplings() const { return couplings_; }

  // The blocks the model fills at each Jacobian evaluation.
  double* T(std::size_t j) { return blocks_.data() + 4 * j; }
  const double* T(std::size_t j) const { return blocks_.data() + 4 * j; }
  double* C(std::size_t c) { return blocks_.data() + c_offsets_[c]; }
  const double* C(std::size_t c) const { return blocks_.data() + c_offsets_[c]; }

  // Tinv and Y for the damping of the points, `point_damping` holding two
  // entries per point.
  void eliminate(const double* point_damping);

  // X's block of the couplings a (rows) and b (columns) loses C_a^T Y_b;
  // `stride` is X's row length.
  void subtract(double* x, std::size_t stride, std::size_t a, std::size_t b) const;

  // The reduced right side loses sum_c Y_c^T b_j(c); `point_rhs` holds two
  // entries per point.
  void reduce(double* reduced_rhs, const double* point_rhs) const;

  // The points' part of the solution from the reduced one.
  void back_substitute(const double* point_rhs, const double* reduced_solution, double* point_solution) const;

 private:
  const double* Tinv(std::size_t j) const { return blocks_.data() + tinv_offset_ + 4 * j; }
  double* Y(std::size_t c) { return blocks_.data() + y_offsets_[c]; }
  const double* Y(std::size_t c) const { return blocks_.data() + y_offsets_[c]; }

  std::size_t point_count_ = 0;
  std::vector<coupling> couplings_;
  std::vector<std::size_t> c_offsets_, y_offsets_;
  std::size_t tinv_offset_ = 0;
  std::vector<double> blocks_;  // T, C, Tinv and Y, one allocation
};
