// Where image pixels land on a rotation group's cylinder, and the range of
// a rectangle checked against a dense walk along its border.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <numbers>
#include <utility>

#include "border_walk.h"
#include "camera_rotation.h"
#include "transforms/cylinder_point.h"
#include "transforms/cylinder_range.h"

namespace {

constexpr double pi = std::numbers::pi;
constexpr double unbounded = std::numeric_limits<double>::max();
constexpr double rectangle[4] = {0.0, 0.0, 640.0, 480.0};
constexpr double focal[2] = {500.0, 500.0};
constexpr double off_centre[2] = {300.0, 260.0};

TEST(CylinderPoint, the_optical_axis_lies_at_the_cameras_yaw_and_elevation) {
  const double unequal_focal[2] = {800.0, 820.0};
  const double centre[2] = {319.5, 239.5};
  const rotation_matrix R = camera_rotation(0.7, 0.3, -0.4);
  const cylinder_coordinates axis = CylinderPoint(R.data(), unequal_focal, centre, 319.5, 239.5);
  EXPECT_NEAR(0.7, axis.phase, 1e-15);
  EXPECT_NEAR(std::tan(0.3), axis.height, 1e-15);

  // Without rotation a pixel's phase is atan(u) and its height
  // v / sqrt(1 + u^2), with u, v its normalised offsets from the centre.
  const rotation_matrix identity = camera_rotation(0, 0, 0);
  const cylinder_coordinates corner = CylinderPoint(identity.data(), unequal_focal, centre, 0.0, 479.0);
  const double u = -319.5 / 800.0, v = 239.5 / 820.0;
  EXPECT_NEAR(std::atan(u), corner.phase, 1e-15);
  EXPECT_NEAR(v / std::sqrt(1 + u * u), corner.height, 1e-15);
}

TEST(CylinderPoint, phases_wrap_by_whole_turns_to_within_pi_of_the_centre) {
  EXPECT_DOUBLE_EQ(3.5 - 2 * pi, wrap_phase(3.5, 0.0));
  EXPECT_DOUBLE_EQ(-10.0 + 4 * pi, wrap_phase(-10.0, 0.0));
  EXPECT_DOUBLE_EQ(3.5, wrap_phase(3.5, pi));
  EXPECT_EQ(pi, wrap_phase(pi, 0.0));  // exactly pi away stays
  EXPECT_EQ(-pi, wrap_phase(-pi, 0.0));
}

struct camera_case {
  const char* name;
  double yaw, elevation, roll;
  bool extreme_height_mid_edge;  // the walk finds a height beyond every corner's
};

// On the cylinder a horizontal edge bows away from the equator, so a level or
// tilted image has height extremes between its corners; a rolled one has
// them at corners. Yaw pi puts the image across the phase seam at +-pi.
constexpr camera_case cases[] = {
    {"level", 0.0, 0.0, 0.0, true},
    {"turned", 0.5, 0.0, 0.0, true},
    {"tilted up", 0.0, -0.4, 0.0, true},
    {"tilted down and rolled", 0.3, 0.5, 0.2, true},
    {"steep", -1.0, 0.9, -0.3, true},
    {"across the seam", pi, 0.3, 0.1, true},
    {"rolled", 0.2, 0.0, 0.6, false},
    {"rolled and tilted up", 0.0, -0.3, 0.7, false},
};

TEST(CylinderRange, matches_a_dense_walk_along_the_border) {
  for (const camera_case& camera : cases) {
    SCOPED_TRACE(camera.name);
    const rotation_matrix R = camera_rotation(camera.yaw, camera.elevation, camera.roll);
    const CylinderRange range(rectangle, R.data(), focal, off_centre, -unbounded, unbounded);
    const cylinder_extremes walked = walk_cylinder_border(
        rectangle, [&](double x, double y) { return CylinderPoint(R.data(), focal, off_centre, x, y); });
    ASSERT_TRUE(range.valid);
    EXPECT_NEAR(walked.phase_min, range.phase_min, 1e-9);
    EXPECT_NEAR(walked.phase_max, range.phase_max, 1e-9);
    EXPECT_NEAR(walked.height_min, range.height_min, 1e-7);
    EXPECT_NEAR(walked.height_max, range.height_max, 1e-7);
    EXPECT_LT(range.phase_max - range.phase_min, 2 * pi);

    double corner_min = unbounded, corner_max = -unbounded;
    for (const auto& [x, y] : {std::pair{0.0, 0.0}, {640.0, 0.0}, {640.0, 480.0}, {0.0, 480.0}}) {
      const double height = CylinderPoint(R.data(), focal, off_centre, x, y).height;
      corner_min = std::min(corner_min, height);
      corner_max = std::max(corner_max, height);
    }
    const bool beyond_corners = walked.height_min < corner_min - 1e-4 || walked.height_max > corner_max + 1e-4;
    EXPECT_EQ(camera.extreme_height_mid_edge, beyond_corners);
  }
}

TEST(CylinderRange, a_range_across_the_seam_leaves_the_interval_of_atan2) {
  const double centre[2] = {320.0, 240.0};
  const rotation_matrix R = camera_rotation(pi, 0.0, 0.0);
  const CylinderRange range(rectangle, R.data(), focal, centre, -unbounded, unbounded);
  ASSERT_TRUE(range.valid);
  // A (left) is at pi - atan(0.64), the others follow it past pi.
  EXPECT_NEAR(pi - std::atan(0.64), range.phase_min, 1e-12);
  EXPECT_NEAR(pi + std::atan(0.64), range.phase_max, 1e-12);
}

TEST(CylinderRange, the_first_corner_is_moved_by_whole_turns_into_the_window) {
  const rotation_matrix R = camera_rotation(0.2, 0.1, 0.0);
  const CylinderRange free(rectangle, R.data(), focal, off_centre, -unbounded, unbounded);
  const CylinderRange above(rectangle, R.data(), focal, off_centre, 1.0, 1.0 + 2 * pi);
  const CylinderRange below(rectangle, R.data(), focal, off_centre, -10.0, -10.0 + 2 * pi);
  EXPECT_NEAR(free.phase_min + 2 * pi, above.phase_min, 1e-12);
  EXPECT_NEAR(free.phase_max + 2 * pi, above.phase_max, 1e-12);
  EXPECT_NEAR(free.phase_min - 2 * pi, below.phase_min, 1e-12);
  EXPECT_NEAR(free.phase_max - 2 * pi, below.phase_max, 1e-12);
  EXPECT_EQ(free.height_min, above.height_min);
  EXPECT_EQ(free.height_max, below.height_max);
}

// Looking straight along the axis puts the pole at the centre; the margin
// around the rectangle is a tenth of its longer side (64 pixels around
// 640 x 480) and its edge counts as inside. The test needs the axis to lean
// towards the image plane by more than 1e-6; below that the range is taken
// whatever the other entries say. A range that is not valid is all zeros.
TEST(CylinderRange, a_camera_that_sees_a_pole_or_its_margin_has_no_range) {
  const rotation_matrix along_axis = {1, 0, 0, 0, 0, 1, 0, -1, 0};
  const double wide[4] = {0.0, 0.0, 1000.0, 480.0};
  struct pole_case {
    const char* name;
    rotation_matrix R;
    double centre_x, centre_y;
    const double* rectangle;
    bool valid;
  };
  const pole_case poles[] = {
      {"looking up", camera_rotation(0.3, -pi / 2, 0.1), 320.0, 240.0, rectangle, false},
      {"looking down", camera_rotation(0.3, pi / 2, 0.1), 320.0, 240.0, rectangle, false},
      {"tilted up by 1.2", camera_rotation(0.3, -1.2, 0.1), 320.0, 240.0, rectangle, false},
      {"tilted up by 0.9", camera_rotation(0.3, -0.9, 0.1), 320.0, 240.0, rectangle, true},
      {"right margin", along_axis, 704.0, 240.0, rectangle, false},
      {"left margin", along_axis, -64.0, 240.0, rectangle, false},
      {"bottom margin", along_axis, 320.0, 544.0, rectangle, false},
      {"top margin", along_axis, 320.0, -64.0, rectangle, false},
      {"past the right margin", along_axis, 704.0001, 240.0, rectangle, true},
      {"past the left margin", along_axis, -64.0001, 240.0, rectangle, true},
      {"past the bottom margin", along_axis, 320.0, 544.0001, rectangle, true},
      {"past the top margin", along_axis, 320.0, -64.0001, rectangle, true},
      {"a wide rectangle's margin", along_axis, 1100.0, 240.0, wide, false},
      {"past a wide rectangle's margin", along_axis, 1100.5, 240.0, wide, true},
      {"axis 1e-6 from the plane", {1, 0, 0, 0, 0, 1e-6, 0, -1, 0}, 320.0, 240.0, rectangle, true},
      {"axis past 1e-6", {1, 0, 0, 0, 0, 1.0000001e-6, 0, -1, 0}, 320.0, 240.0, rectangle, false},
  };
  for (const pole_case& c : poles) {
    SCOPED_TRACE(c.name);
    const double centre[2] = {c.centre_x, c.centre_y};
    const CylinderRange range(c.rectangle, c.R.data(), focal, centre, -unbounded, unbounded);
    EXPECT_EQ(c.valid, range.valid);
    if (!c.valid) {
      EXPECT_EQ((std::array{0.0, 0.0, 0.0, 0.0}),
                (std::array{range.phase_min, range.height_min, range.phase_max, range.height_max}));
    }
  }
}

}  // namespace
