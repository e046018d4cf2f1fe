// The polish of a pair's planar motion against its inlier correspondences:
// the reprojection error is minimised with the true positions of the
// points in the second image as further unknowns, so that both images'
// measurements carry noise (the Gold Standard error of Hartley and
// Zisserman's Multiple View Geometry).
//
// Unknowns: the motion's parameters, then one 2-vector per marked
// correspondence, its point in the second image. Residuals, each pair in
// (x, y) order: first p_i - b_i for every point, then H(p_i) - a_i, with a
// and b the measured points of the first and second image and H mapping
// the second image onto the first.
//
// The object is the sparse solver's model and does all its work in its
// constructor: the points are eliminated block by block and only the
// motion's p x p system is solved densely.
#pragma once

#include <cstddef>
#include <vector>

#include "geometry/h_matrix_2d.h"
#include "numerics/dense_matrix.h"
#include "records/correspondences.h"
#include "solvers/lm_control.h"
#include "solvers/point_elimination.h"

class pair_homography_refiner {
 public:
  // Refines `motion` over the correspondences (first[i], second[i]) whose
  // bit is set in `mask`. The three have one entry per correspondence;
  // other lengths throw std::invalid_argument. With fewer residuals than
  // unknowns (for the projective kind: fewer than five points) nothing is
  // solved and the start stands.
  pair_homography_refiner(const point_list& first, const point_list& second, const bit_mask& mask,
                          const h_matrix_2d& motion);

  // The motion held by the first p unknowns, of the kind refined.
  h_matrix_2d refined_motion() const;

  // The model of the sparse solver.
  std::size_t unknown_count() const { return p + 2 * n; }
  std::size_t residual_count() const { return 4 * n; }
  void residuals(const double* at, double* fvec) const;
  void jacobian(const double* at, const double* fvec);
  void column_norms(double* acnorm) const;
  void gradient(const double* fvec, double* g) const;
  double quadratic_form(const double* step) const;
  void make_X(const double* d);
  void Xinv_b(const double* b, double* y);
  bool full_rank() const { return rank_ == static_cast<int>(p); }
  void advance(const double* at, const double* step, double* moved) const;

  std::size_t n = 0;  // marked correspondences
  std::size_t p = 0;  // parameters of the motion's kind
  HomographyType kind;
  std::vector<double> x;             // the motion's parameters, then each marked point of the second image
  std::vector<double> measurements;  // the marked points of the second image, then those of the first
  bool failed = false;
  bool out_of_memory = false;  // the blocks could not be allocated; nothing was solved
  lm_control control;

  // The blocks at the last Jacobian evaluation, all row-major. The
  // residuals p_i - b_i have the unit point Jacobian and no motion
  // Jacobian, which are not stored. Point i's own block V_i (the unit
  // matrix included) and its block W_i against the motion are the point
  // elimination's T_i and C_i.
  std::vector<double> jacobian_motion;  // 2 n x p: the two rows of H(p_i) over the motion
  std::vector<double> jacobian_point;   // n blocks 2 x 2: H(p_i) over p_i
  std::vector<double> normal_motion;    // p x p: U
  point_elimination points;
 private:
  void start(const point_list& first, const point_list& second, const bit_mask& mask, const h_matrix_2d& motion);
  bool allocate_blocks();
  void solve();
  h_matrix_2d motion_at(const double* at) const;
  const double* point_at(const double* at, std::size_t i) const { return at + p + 2 * i; }

  dense_matrix<double> reduced_;  // p x p: U + d - sum W_i^T (V_i + d_i)^-1 W_i
  dense_vector<double> reduced_rhs_, reduced_solution_;
  int rank_ = 0;
};
