// The automatic request against ground truth: views of a flat photograph
// from a camera that moves and tilts come back as a planar group whose
// quadrilaterals are the true ones; views of a turning camera come back as
// a rotation group when they turn far enough, and as a planar one when not.
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "photographs.h"
#include "plugin/lacewright.h"
#include "transforms/distort_transform.h"
#include "turning_views.h"

namespace {

using namespace test_support;

void align_automatic(std::vector<grey_image>& images, MultiViewParams& params) {
  std::vector<AlignFrame> frames;
  for (grey_image& image : images) frames.push_back(image.frame(static_cast<int32_t>(frames.size())));
  params.requested_type = -1;
  MultiViewAlignMain(&params, &frames);
}

TEST(AutomaticGroup, views_of_a_plane_get_the_true_quadrilaterals) {
  const auto paths = photograph_set("uttower");
  if (paths.empty()) GTEST_SKIP() << "no photograph folder (set LACEWRIGHT_DATA_DIR)";
  const grey_image photograph = read_grey(paths[0]);
  // Photograph to view: a shift along the facade, a zoom and a slight tilt.
  const std::vector<homography> to_view = {{0.8, 0.02, -60, -0.01, 0.8, -80, 1e-5, 2e-5, 1},
                                           {0.82, 0.0, -230, 0.0, 0.79, -90, -2e-5, 1e-5, 1},
                                           {0.78, -0.02, -390, 0.02, 0.8, -70, 3e-5, -1e-5, 1}};
  std::vector<grey_image> images;
  for (const homography& h : to_view) images.push_back(warp(photograph, h, 400, 300));
  MultiViewParams params;
  align_automatic(images, params);

  ASSERT_EQ(std::vector<int32_t>{3}, params.groupCount);
  ASSERT_EQ(std::vector<int32_t>{0}, params.transformType);
  const auto reference = static_cast<std::size_t>(params.refSheetID[0]);
  for (std::size_t k = 0; k < 3; ++k) {
    if (k == reference) {
      EXPECT_EQ(nullptr, params.transforms[k]);
      continue;
    }
    const auto* planar = dynamic_cast<const DistortTransform*>(params.transforms[k].get());
    ASSERT_NE(nullptr, planar) << k;
    // The true corner of view k in the reference view: through the photograph.
    const homography back = inverse(to_view[k]);
    const double corners[4][2] = {{0, 0}, {400, 0}, {400, 300}, {0, 300}};
    for (int c = 0; c < 4; ++c) {
      const auto on_photo = apply(back, corners[c][0], corners[c][1]);
      const auto truth = apply(to_view[reference], on_photo[0], on_photo[1]);
      EXPECT_NEAR(truth[0], planar->quad[2 * c], 1.0) << k << ", corner " << c;
      EXPECT_NEAR(truth[1], planar->quad[2 * c + 1], 1.0) << k << ", corner " << c;
    }
  }
}

TEST(AutomaticGroup, a_turn_past_forty_degrees_is_a_rotation_group_and_a_smaller_one_planar) {
  const auto paths = photograph_set("uttower");
  if (paths.empty()) GTEST_SKIP() << "no photograph folder (set LACEWRIGHT_DATA_DIR)";
  const grey_image photograph = read_grey(paths[0]);
  // A wide reading of the photograph (focal length 200) so that views of
  // focal length 250 can turn by 63 degrees within it.
  turning_views wide = render_turning_views(photograph, 200.0, 250.0, 240, 180,
                                            {{1.0, -42.0, 0.5}, {-0.5, -21.0, -0.5}, {0.5, 0.0, 0.0}, {-1.0, 21.0, 0.5}});
  MultiViewParams turning;
  align_automatic(wide.images, turning);
  ASSERT_EQ(std::vector<int32_t>{4}, turning.groupCount);
  EXPECT_NE(0, turning.transformType[0]);  // on a cylinder or a sphere

  turning_views narrow = render_turning_views(photograph, 600.0, 500.0, 360, 270,
                                              {{1.5, -14.0, 0.5}, {-1.0, -4.5, -1.0}, {2.0, 5.0, 1.5}, {-0.5, 14.5, -0.5}});
  MultiViewParams planar;
  align_automatic(narrow.images, planar);
  ASSERT_EQ(std::vector<int32_t>{4}, planar.groupCount);
  EXPECT_EQ(0, planar.transformType[0]);
}

}  // namespace
