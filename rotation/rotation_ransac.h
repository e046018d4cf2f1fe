// The random sample search for the rotation and focal lengths of a pair:
// three matches to a sample, solved in closed form, each candidate scored
// by a truncated symmetric transfer error.
#pragma once

#include <cstdint>
#include <vector>

#include "rotation/three_point_rotation.h"

// A match of a pair: its position in image 1 and in image 2.
struct point_match {
  image_point first;
  image_point second;
};

struct rotation_search {
  rotation_estimate best;
  std::vector<uint8_t> inliers;  // 1 per inlying match, in match order
  double best_cost = 0.0;
  std::size_t inlier_count = 0;
  bool failed = true;
};

// At most 1000 samples: every subset of three in lexicographic order when
// there are that few, else random subsets drawn with the process's rand()
// (never seeded here). The search stops once a clean sample has been drawn
// with confidence 0.99. A match is an inlier of a candidate when its
// squared forward plus backward transfer error is at most 2 t^2, t being
// `threshold` in pixels; an outlier costs 2 t^2, an inlier its error. Ties
// go to the later candidate. Fails with fewer than 3 matches or inliers.
rotation_search rotation_ransac(const std::vector<point_match>& matches, double scale_1, double scale_2,
                                const image_point& centre_1, const image_point& centre_2, double threshold);
