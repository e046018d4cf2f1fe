// Coordinates on the cylinder of a rotation group.
//
// The cylinder's axis is the group's vertical, the image's y axis once
// rotated. A ray (X, Y, Z) lies at phase atan2(X, Z), the angle around the
// axis in radians, and at height Y / sqrt(X^2 + Z^2), the height of its
// crossing with the unit cylinder.
#pragma once

struct cylinder_coordinates {
  double phase;
  double height;
};

// Where the source pixel (x, y) of a camera with row-major `rotation`,
// `focal` lengths and `centre` (pixels, first and second axis) meets the
// cylinder: the ray ((x - cx) / fx, (y - cy) / fy, 1) turned by the rotation.
cylinder_coordinates CylinderPoint(const double rotation[9], const double focal[2], const double centre[2], double x,
                                   double y);

// `phase` moved by whole turns to lie within pi of `centre`.
double wrap_phase(double phase, double centre);
