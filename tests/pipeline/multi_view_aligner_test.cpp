// The aligner's thresholds and fixed limits, as the options choose them.
#include <gtest/gtest.h>

#include <cmath>

#include "pipeline/multi_view_aligner.h"

namespace {

TEST(MultiViewAligner, thresholds_follow_the_refinement_distortion_and_type_options) {
  MultiViewParams params;
  const FrameRect first{0, 0, 480, 640};
  aligner_options options;

  params.requested_type = 1;
  const MultiViewAligner plain(params, homography_projective, first, options);
  EXPECT_EQ(3.0, plain.pair_homography_threshold);
  EXPECT_EQ(3.0, plain.pair_rotation_threshold);
  EXPECT_EQ(2.0, plain.group_homography_threshold);
  EXPECT_EQ(2.0, plain.group_rotation_threshold);
  EXPECT_EQ(40.0, plain.min_rotation_extent_degrees);
  EXPECT_EQ(2.0, plain.spherical_extent_limit);
  EXPECT_EQ(0.8, plain.max_lens_parameter_a);
  EXPECT_EQ(1.5, plain.max_lens_parameter_b);

  options.estimate_distortion = true;
  EXPECT_EQ(5.0, MultiViewAligner(params, homography_projective, first, options).pair_rotation_threshold);
  params.requested_type = 11;
  const MultiViewAligner loose(params, homography_projective, first, options);
  EXPECT_EQ(7.0, loose.pair_homography_threshold);
  EXPECT_EQ(2.0, loose.group_homography_threshold);

  options.nonlinear_refine = false;
  const MultiViewAligner linear(params, homography_projective, first, options);
  EXPECT_EQ(2.0, linear.pair_homography_threshold);
  EXPECT_EQ(2.0, linear.pair_rotation_threshold);
  EXPECT_TRUE(std::isnan(linear.group_rotation_threshold));
}

}  // namespace
