// A rotation group against ground truth: views rendered from one of the
// shared photographs by a pinhole camera turning about its centre with known
// rotations and focal length, aligned by the whole engine.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

#include "numerics/matrix_3x3.h"
#include "photographs.h"
#include "plugin/lacewright.h"
#include "transforms/cylindrical_transform.h"
#include "rotation_rig.h"
#include "turning_views.h"

namespace {

using namespace test_support;

TEST(RotationGroup, recovers_the_turns_and_the_focal_length_of_rendered_views) {
  const auto paths = photograph_set("uttower");
  if (paths.empty()) GTEST_SKIP() << "no photograph folder (set LACEWRIGHT_DATA_DIR)";
  // Yaw steps with some pitch and roll, in degrees; a photograph of focal
  // length 600 seen by views of focal length 500.
  turning_views views = render_turning_views(read_grey(paths[0]), 600.0, 500.0, 360, 270,
                                             {{1.5, -14.0, 0.5}, {-1.0, -4.5, -1.0}, {2.0, 5.0, 1.5}, {-0.5, 14.5, -0.5}});
  std::vector<AlignFrame> frames;
  for (grey_image& image : views.images) frames.push_back(image.frame(static_cast<int32_t>(frames.size())));
  MultiViewParams params;
  params.requested_type = 1;
  MultiViewAlignMain(&params, &frames);

  ASSERT_EQ(std::vector<int32_t>{4}, params.groupCount);
  ASSERT_EQ(4u, params.transforms.size());
  std::vector<rotation> to_world;
  for (std::size_t k = 0; k < 4; ++k) {
    const auto* cylinder = dynamic_cast<const CylindricalTransform*>(params.transforms[k].get());
    ASSERT_NE(nullptr, cylinder) << k;
    EXPECT_NEAR(views.focal, cylinder->getFocalLength(), 0.01 * views.focal) << k;
    rotation r;
    std::copy(cylinder->rotation, cylinder->rotation + 9, r.begin());
    to_world.push_back(r);
  }
  // Relative turns R_j R_i^T against the recovered C_j^T C_i, C camera to world.
  for (std::size_t i = 0; i < 4; ++i) {
    for (std::size_t j = i + 1; j < 4; ++j) {
      rotation truth, recovered, ri_t, cj_t;
      transpose_3x3(views.rotations[i].data(), ri_t.data());
      multiply_3x3(views.rotations[j].data(), ri_t.data(), truth.data());
      transpose_3x3(to_world[j].data(), cj_t.data());
      multiply_3x3(cj_t.data(), to_world[i].data(), recovered.data());
      EXPECT_LT(angle_between(truth.data(), recovered.data()), 0.1) << i << ", " << j;
    }
  }
}

}  // namespace
