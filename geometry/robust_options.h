// The settings of the robust planar motion search. The defaults are those
// of the pair stage, apart from the threshold, which the caller sets from
// its pixel tolerance.
#pragma once

#include <cstdint>

struct robust_options {
  uint64_t max_iterations = 1500;  // limit of the samples tried
  double confidence = 0.99;        // wished chance of having drawn a clean sample
  double threshold = 0.0;          // limit of the squared transfer error: 2 t^2 for a tolerance of t pixels
  bool scaled_inlier_cost = true;  // inliers cost residual / threshold, else nothing
};
