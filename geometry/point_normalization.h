// The normalising similarity of a point set, used by the projective
// estimators to condition their systems: the points are moved to their mean
// and scaled so that their mean distance from the origin is the square root
// of 2. A point p is normalised as ((p.x - cx) scale, (p.y - cy) scale).
#pragma once

#include "records/correspondences.h"

// Below this summed distance from the mean a set has no spread to scale.
inline constexpr double least_spread = 1e-8;

// Over all of `points`. False for a set without spread, with `scale` then
// holding the summed distance; false for an empty set, with nothing written.
bool normalizer_all(const point_list& points, double& cx, double& cy, double& scale);

// Over the points that `mask` marks. As above, except that an empty
// selection sets cx, cy and scale to 0.
bool normalizer_masked(const point_list& points, const bit_mask& mask, double& cx, double& cy, double& scale);

// The mean and scale of one normalised set.
struct point_frame {
  double cx = 0.0;
  double cy = 0.0;
  double scale = 0.0;
};

inline void normalize_point(const point_frame& frame, const double point[2], double out[2]) {
  out[0] = (point[0] - frame.cx) * frame.scale;
  out[1] = (point[1] - frame.cy) * frame.scale;
}

// Turns a projective matrix between normalised sets, h' with
// a' = h' b', back into the matrix between the original points:
// h = T_first^-1 h' T_second. No determinant normalisation happens.
void denormalize_projective(const double normalised[9], const point_frame& first, const point_frame& second,
                            double h[9]);
