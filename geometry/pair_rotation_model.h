// The explanation of a pair's projective motion as a camera that turned
// about its centre: a rotation R and one focal length per image with
// H ~ K1 R K2^-1, K = diag(f, f, 1), in coordinates centred on each image's
// centre. The motion maps points of the second image onto the first.
//
// The constructor does all the work: it centres the motion, finds a start
// in closed form and refines it with the dense solver over the unknowns
// (r0, r1, r2, f1, f2), an axis-angle rotation and the two focal lengths,
// against the nine residuals N - R, N being K1^-1 H K2 scaled to H's
// determinant. Every failure, exceptions included, ends in `failed`; the
// constructor never throws.
#pragma once

#include <array>

#include "geometry/h_matrix_2d.h"
#include "records/lens_record.h"

class pair_rotation_model {
 public:
  // `motion_of_pair` is a projective motion in pixels; the centres are
  // those of the first and the second image, (x, y) in pixels.
  pair_rotation_model(const h_matrix_2d& motion_of_pair, std::array<double, 2> centre_first,
                      std::array<double, 2> centre_second);

  // The model of the dense solver: 5 unknowns, 9 residuals, the Jacobian
  // row-major 9 x 5 and taken with respect to the step of `advance`.
  void residuals(const double* x, double* fvec) const;
  void jacobian(const double* x, double* fjac) const;
  void advance(const double* x, const double* step, double* moved) const;

  h_matrix_2d motion;                       // the motion in centred coordinates
  std::array<double, 9> rotation{};         // R, row by row
  std::array<double, 3> rotation_vector{};  // R as an axis-angle vector
  lens_record camera_first;                 // (f1, f1, centre x, centre y, 0, 0)
  lens_record camera_second;                // likewise with f2
  bool failed = false;
  bool local_update = true;  // rotation steps multiply on the left; else the vectors add

 private:
  void decompose(std::array<double, 2> centre_first, std::array<double, 2> centre_second);
  void centre(std::array<double, 2> centre_first, std::array<double, 2> centre_second);
  bool estimate(std::array<double, 2> centre_first, std::array<double, 2> centre_second, double& f1, double& f2);
  bool zoom_estimate(std::array<double, 2> centre_second, double& f1, double& f2);
  void refine(double f1, double f2);
  void determinant_preserving(double f1, double f2, double n[9]) const;
};
