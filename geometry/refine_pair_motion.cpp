#include "geometry/refine_pair_motion.h"

#include "geometry/pair_homography_refiner.h"

void refine_pair_motion(const point_list& first, const point_list& second, const bit_mask& mask,
                        h_matrix_2d& motion) {
  if (!motion.need_nonlinear_estimator()) return;
  h_matrix_2d working = motion;
  working.normalize();
  const pair_homography_refiner refiner(first, second, mask, working);
  // A refiner without memory for its blocks solved nothing; like one that
  // failed, it leaves the robust search's motion to the pair.
  if (refiner.failed || refiner.out_of_memory) return;
  motion = refiner.refined_motion();
  motion.normalize();
}
