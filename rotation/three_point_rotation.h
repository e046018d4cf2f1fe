// The minimal solver of a camera turning about its centre with unknown
// focal lengths: from three matches it gives the focal lengths of both
// images and the rotation between them. The principal points are known.
//
// The angle between two rays is the same in both cameras; for three rays
// that gives three equations in x = s^2 and y = t^2, where s and t are the
// focal lengths in units of the image scales. Eliminating x leaves a
// quintic in y; each of its real roots gives x from the sum of the three
// quadratics, and each solution a rotation by orthogonal Procrustes.
#pragma once

#include <array>
#include <cstddef>

using image_point = std::array<double, 2>;

// One solution: the focal lengths in pixels and the rotation that takes a
// ray ((x - cx) / f, (y - cy) / f, 1) of image 1 to one of image 2.
struct rotation_estimate {
  double focal_1 = 0.0;
  double focal_2 = 0.0;
  std::array<double, 9> rotation{};  // row-major
};

// Up to 10 solutions (5 roots, 2 focal lengths each).
struct rotation_candidates {
  std::array<rotation_estimate, 10> solutions;
  std::size_t count = 0;
};

// The solutions for the matches points_1[k] <-> points_2[k]. The scales
// normalise positions about the centres (cx + cy of each image is a good
// one). Nothing throws: any numerical failure leaves no candidate.
rotation_candidates solve_three_point_rotation(const std::array<image_point, 3>& points_1,
                                               const std::array<image_point, 3>& points_2, double scale_1,
                                               double scale_2, const image_point& centre_1,
                                               const image_point& centre_2);
