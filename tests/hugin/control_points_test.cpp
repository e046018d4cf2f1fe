// Control points from the engine's inlier matches: from the frames the
// engine aligned to the files' pixels as stored, which Hugin reads.
#include <gtest/gtest.h>

#include "hugin/control_points.h"

namespace {

using namespace lacewright_tool;

TEST(ControlPoints, go_from_frame_samples_to_the_stored_pixels_of_each_file) {
  alignment run;
  // Both frames are quarter-size copies; the second file is stored lying
  // on its side and shown upright (EXIF orientation 6).
  run.images = {{"wide.jpg", 2400, 1800, 1, {2}}, {"upright.jpg", 1800, 2400, 6, {2}}};
  run.pairs = {{0, 1, 2, true, {{{10.0, 20.0}, {100.0, 50.0}}, {{0.0, 0.0}, {0.0, 0.0}}}}};
  const std::vector<hugin_control_point> points = control_points_of(run);
  ASSERT_EQ(2u, points.size());
  EXPECT_EQ(0u, points[0].n);
  EXPECT_EQ(1u, points[0].N);
  // Sample 10 of a frame halved twice is the middle of pixels 40 to 43.
  EXPECT_EQ(41.5, points[0].x);
  EXPECT_EQ(81.5, points[0].y);
  // Shown pixel (401.5, 201.5) of the upright picture is stored at column
  // 201.5 and row 1799 - 401.5 of the file.
  EXPECT_EQ(201.5, points[0].X);
  EXPECT_EQ(1397.5, points[0].Y);
  EXPECT_EQ(1.5, points[1].x);
  EXPECT_EQ(1.5, points[1].y);
  EXPECT_EQ(1.5, points[1].X);
  EXPECT_EQ(1797.5, points[1].Y);
}

TEST(ControlPoints, keep_the_engine_order_of_pairs_and_the_images_of_each) {
  alignment run;
  run.images = {{"a", 100, 80, 1, {}}, {"b", 100, 80, 1, {}}, {"c", 100, 80, 1, {}}};
  run.pairs = {{0, 1, 9, false, {}}, {0, 2, 1, true, {{{1, 2}, {3, 4}}}}, {1, 2, 2, true, {{{5, 6}, {7, 8}}, {{9, 10}, {11, 12}}}}};
  const std::vector<hugin_control_point> points = control_points_of(run);
  ASSERT_EQ(3u, points.size());
  EXPECT_EQ(0u, points[0].n);
  EXPECT_EQ(2u, points[0].N);
  EXPECT_EQ(1u, points[2].n);
  EXPECT_EQ(2u, points[2].N);
  EXPECT_EQ(9.0, points[2].x);
  EXPECT_EQ(12.0, points[2].Y);
}

}  // namespace
