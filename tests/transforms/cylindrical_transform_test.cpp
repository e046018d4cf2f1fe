// The cylindrical transform: its values, offset, output bounds and printout.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <numbers>
#include <string>
#include <utility>

#include "border_walk.h"
#include "camera_rotation.h"
#include "transforms/cylindrical_transform.h"

namespace {

constexpr double pi = std::numbers::pi;

SimpleCameraParameters camera(double fx, double fy, double cx, double cy, double k1 = 0.0, double k2 = 0.0) {
  SimpleCameraParameters parameters;
  parameters.focal_length()[0] = fx;
  parameters.focal_length()[1] = fy;
  parameters.image_center()[0] = cx;
  parameters.image_center()[1] = cy;
  parameters.distortion()[0] = k1;
  parameters.distortion()[1] = k2;
  return parameters;
}

CylindricalTransform transform(const SimpleCameraParameters& lens, const rotation_matrix& R, double phase_range,
                               double scale_0 = 700.0, double scale_1 = 650.0) {
  return CylindricalTransform(lens, R.data(), scale_0, scale_1, phase_range, 812.25, 403.75);
}

TEST(CylindricalTransform, reports_its_first_focal_length_and_the_sines_of_yaw_and_elevation_times_each_as_offset) {
  const CylindricalTransform turned =
      transform(camera(800.0, 820.0, 319.5, 239.5), camera_rotation(0.3, -0.2, 0.1), 0.0);
  double first = 0.0, second = 0.0;
  turned.getOffset(&first, &second);
  EXPECT_NEAR(std::sin(0.3) * 800.0, first, 1e-12);
  EXPECT_NEAR(std::sin(-0.2) * 820.0, second, 1e-12);
  EXPECT_EQ(800.0, turned.getFocalLength());
}

// left = ceil(value): value in (left - 1, left]; the tolerance absorbs the
// walk's sampling error.
void expect_rounded_up(int32_t bound, double value) {
  EXPECT_LT(bound - 1, value + 1e-6) << value;
  EXPECT_GE(bound, value - 1e-6) << value;
}

// right = floor(value) + 1: value in [right - 1, right).
void expect_rounded_down_exclusive(int32_t bound, double value) {
  EXPECT_LE(bound - 1, value + 1e-6) << value;
  EXPECT_GT(bound, value - 1e-6) << value;
}

struct bounds_case {
  const char* name;
  double yaw, elevation, roll, phase_range;
};

TEST(CylindricalTransform, bounds_cover_a_dense_walk_along_the_source_border) {
  constexpr bounds_case cases[] = {
      {"level", 0.0, 0.0, 0.0, 0.0},
      {"turned from the group's middle", 0.8, 0.0, 0.0, 0.3},
      {"tilted up", -0.2, -0.45, 0.0, -0.2},
      {"tilted down and rolled", 0.3, 0.5, 0.25, 0.0},
      {"rolled", 0.1, 0.0, 0.6, 0.0},
      {"across the seam", pi, 0.3, 0.1, pi},
      {"across the seam, middle past it", pi, -0.2, 0.0, -pi + 0.1},
  };
  const SimpleCameraParameters lens = camera(600.0, 600.0, 300.5, 250.5);
  const FrameRect source{0, 0, 480, 640};
  const double rectangle[4] = {0.0, 0.0, 640.0, 480.0};
  for (const bounds_case& c : cases) {
    SCOPED_TRACE(c.name);
    const CylindricalTransform placed = transform(lens, camera_rotation(c.yaw, c.elevation, c.roll), c.phase_range);
    const cylinder_extremes walked =
        walk_cylinder_border(rectangle, [&](double x, double y) { return placed.CylinderPoint(x, y); });
    const auto wrapped = [&](double phase) { return c.phase_range + std::remainder(phase - c.phase_range, 2 * pi); };
    FrameRect out;
    placed.getBounds(&out, &source);
    expect_rounded_up(out.left, wrapped(walked.phase_min) * 700.0 + 812.25);
    expect_rounded_up(out.top, walked.height_min * 650.0 + 403.75);
    expect_rounded_down_exclusive(out.right, wrapped(walked.phase_max) * 700.0 + 812.25);
    expect_rounded_down_exclusive(out.bottom, walked.height_max * 650.0 + 403.75);
  }
}

// Each end of the phase range is wrapped on its own: a group middle
// opposite an image that straddles the seam separates its two ends by a
// whole turn, and the bounds come out reversed.
TEST(CylindricalTransform, a_group_middle_opposite_the_seam_reverses_the_bounds) {
  const CylindricalTransform placed =
      transform(camera(500.0, 500.0, 320.0, 240.0), camera_rotation(pi, 0.0, 0.0), 0.0, 100.0, 100.0);
  const FrameRect source{0, 0, 480, 640};
  FrameRect out;
  placed.getBounds(&out, &source);
  // Phases pi - atan(0.64) and pi + atan(0.64), the second wrapped to
  // atan(0.64) - pi.
  EXPECT_EQ(static_cast<int32_t>(std::ceil((pi - std::atan(0.64)) * 100.0 + 812.25)), out.left);
  EXPECT_EQ(static_cast<int32_t>(std::floor((std::atan(0.64) - pi) * 100.0 + 812.25)) + 1, out.right);
  EXPECT_GT(out.left, out.right);
}

TEST(CylindricalTransform, a_camera_with_distortion_is_bounded_as_the_empty_rectangle_at_the_origin) {
  const rotation_matrix R = camera_rotation(0.2, 0.1, 0.05);
  const CylindricalTransform plain = transform(camera(600.0, 600.0, 320.0, 240.0), R, 0.0);
  const FrameRect source{0, 0, 480, 640};
  const FrameRect empty{0, 0, 0, 0};
  FrameRect whole, origin;
  plain.getBounds(&whole, &source);
  plain.getBounds(&origin, &empty);
  ASSERT_NE(whole, origin);

  for (const auto& [k1, k2] : {std::pair{0.01, 0.0}, {0.0, -1e-6}, {2e-6, 3e-6}}) {
    const CylindricalTransform distorted = transform(camera(600.0, 600.0, 320.0, 240.0, k1, k2), R, 0.0);
    FrameRect out;
    distorted.getBounds(&out, &source);
    EXPECT_EQ(origin, out) << k1 << " " << k2;
  }
  const CylindricalTransform nearly_plain = transform(camera(600.0, 600.0, 320.0, 240.0, 9e-7, -9e-7), R, 0.0);
  FrameRect out;
  nearly_plain.getBounds(&out, &source);
  EXPECT_EQ(whole, out);
}

// The range of an image that sees a pole is empty at phase 0, height 0: the
// bounds hold the single output pixel of that point.
TEST(CylindricalTransform, a_pole_in_view_gives_the_pixel_of_phase_0_on_the_equator) {
  const CylindricalTransform looking_up =
      transform(camera(600.0, 600.0, 320.0, 240.0), camera_rotation(0.4, -pi / 2, 0.0), 0.0);
  const FrameRect source{0, 0, 480, 640};
  FrameRect out;
  looking_up.getBounds(&out, &source);
  EXPECT_EQ((FrameRect{404, 813, 404, 813}), out);
}

TEST(CylindricalTransform, bounds_saturate_and_the_exclusive_edges_wrap_after_saturation) {
  const CylindricalTransform huge =
      transform(camera(600.0, 600.0, 320.0, 240.0), camera_rotation(0.0, 0.0, 0.0), 0.0, 1e12, 1.0);
  const FrameRect source{0, 0, 480, 640};
  FrameRect out;
  huge.getBounds(&out, &source);
  EXPECT_EQ(std::numeric_limits<int32_t>::min(), out.left);
  // floor gives more than 2^31 - 1: saturated there, then the 1 wraps it.
  EXPECT_EQ(std::numeric_limits<int32_t>::min(), out.right);
  EXPECT_EQ(404, out.top);     // ceil(-0.4 + 403.75)
  EXPECT_EQ(405, out.bottom);  // floor(0.4 + 403.75) + 1
}

TEST(CylindricalTransform, debug_print_writes_every_value_to_the_error_stream) {
  const CylindricalTransform placed(camera(1000.0, 1000.0, 511.5, 339.5), camera_rotation(0.25, -0.1, 0.05).data(),
                                    1000.0, 990.0, 0.2, 1500.5, 400.25);
  testing::internal::CaptureStderr();
  placed.debugPrint();
  EXPECT_EQ(
      "-------\n"
      "angles = [0.250 -0.100 0.050];\n"
      "overlap_offsets = [247.404 -99.833];\n"
      "focal_length = [1000.00000 1000.00000];\n"
      "image_center = [511.50000 339.50000];\n"
      "scale = [1000.000 990.000];\n"
      "phase_range = 0.200\n"
      "pixel_shift = [1500.500 400.250];\n"
      "xform_rect = [1250,  -53, 2228,  636]\n",
      testing::internal::GetCapturedStderr());
}

}  // namespace
