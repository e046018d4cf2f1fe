// A rotation group against ground truth: views rendered from one of the
// shared photographs by a pinhole camera turning about its centre with known
// rotations and focal length, aligned by the whole engine.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>
#include <vector>

#include "mvg/matrix_3x3.h"
#include "mvg/rodrigues.h"
#include "photographs.h"
#include "sources/lacewright.h"
#include "transforms/cylindrical_transform.h"

namespace {

using namespace test_support;
using rotation = std::array<double, 9>;

constexpr double degree = std::numbers::pi / 180.0;

// The photograph is the view of a camera of focal length 600 at the unit
// rotation; view k turns by yaw, pitch and roll and has focal length 500.
struct rendered_views {
  std::vector<grey_image> images;
  std::vector<rotation> rotations;  // world to camera
  double focal = 500.0;
};

rendered_views render_views(const grey_image& photograph) {
  const double source_focal = 600.0;
  const double sx = (photograph.width - 1) / 2.0, sy = (photograph.height - 1) / 2.0;
  const int width = 360, height = 270;
  const double cx = (width - 1) / 2.0, cy = (height - 1) / 2.0;
  const std::array<std::array<double, 3>, 4> turns = {
      {{1.5, -14.0, 0.5}, {-1.0, -4.5, -1.0}, {2.0, 5.0, 1.5}, {-0.5, 14.5, -0.5}}};  // pitch, yaw, roll in degrees
  rendered_views views;
  for (const auto& turn : turns) {
    const double vector[3] = {turn[0] * degree, turn[1] * degree, turn[2] * degree};
    rotation r;
    rodrigues(vector, r.data());
    // H = K R K0^-1 takes photograph pixels to view pixels.
    const double k0_inverse[9] = {1 / source_focal, 0, -sx / source_focal, 0, 1 / source_focal, -sy / source_focal, 0, 0, 1};
    const double k[9] = {views.focal, 0, cx, 0, views.focal, cy, 0, 0, 1};
    double kr[9], h[9];
    multiply_3x3(k, r.data(), kr);
    multiply_3x3(kr, k0_inverse, h);
    homography map;
    std::copy(h, h + 9, map.begin());
    views.images.push_back(warp(photograph, map, width, height));
    views.rotations.push_back(r);
  }
  return views;
}

double angle_between(const rotation& a, const rotation& b) {
  double trace = 0.0;
  for (std::size_t k = 0; k < 9; ++k) trace += a[k] * b[k];
  return std::acos(std::clamp((trace - 1.0) / 2.0, -1.0, 1.0)) / degree;
}

TEST(RotationGroup, recovers_the_turns_and_the_focal_length_of_rendered_views) {
  const auto paths = photograph_set("uttower");
  if (paths.empty()) GTEST_SKIP() << "no photograph folder (set LACEWRIGHT_DATA_DIR)";
  rendered_views views = render_views(read_grey(paths[0]));
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
      EXPECT_LT(angle_between(truth, recovered), 0.1) << i << ", " << j;
    }
  }
}

}  // namespace
