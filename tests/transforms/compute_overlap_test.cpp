// The overlap measure: the rules shared by every family, the planar measure
// on quadrilateral bounds and the cylindrical measure on offsets.
#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

#include "camera_rotation.h"
#include "transforms/compute_overlap.h"
#include "transforms/cylindrical_transform.h"
#include "transforms/distort_rd2_transform.h"
#include "transforms/distort_transform.h"
#include "transforms/spherical_transform.h"

namespace {

AlignFrame frame_of(int32_t width, int32_t height) {
  AlignFrame frame;
  frame.width = width;
  frame.height = height;
  return frame;
}

TEST(ComputeOverlap, a_missing_transform_overlaps_nothing) {
  PixelTransform base;
  AlignFrame frame = frame_of(640, 480);
  EXPECT_EQ(0.0, ComputeOverlap(nullptr, nullptr, &frame));
  EXPECT_EQ(0.0, ComputeOverlap(&base, nullptr, &frame));
}

TEST(ComputeOverlap, the_reference_covers_itself_whatever_its_kind) {
  PixelTransform transform;
  SphericalTransform sphere;
  const double matrix[9] = {1, 0, 0, 0, 1, 0, 0, 0, 1}, size[2] = {480, 640}, center[2] = {320, 240},
               coefficients[2] = {0, 0};
  DistortRd2Transform lens(matrix, size, center, coefficients);
  AlignFrame frame;
  EXPECT_EQ(1.0, ComputeOverlap(&transform, &transform, &frame));
  EXPECT_EQ(1.0, ComputeOverlap(&sphere, &sphere, &frame));
  EXPECT_EQ(1.0, ComputeOverlap(&lens, &lens, &frame));
}

TEST(ComputeOverlap, kinds_without_a_measure_give_zero) {
  const double matrix[9] = {1, 0, 0, 0, 1, 0, 0, 0, 1}, size[2] = {480, 640}, center[2] = {320, 240},
               coefficients[2] = {0, 0};
  DistortRd2Transform lens(matrix, size, center, coefficients), other_lens(matrix, size, center, coefficients);
  SphericalTransform sphere, other_sphere;
  SphericalFisheyeTransform fisheye;
  PixelTransform base;
  AlignFrame frame = frame_of(640, 480);
  EXPECT_EQ(0.0, ComputeOverlap(nullptr, &lens, &frame));
  EXPECT_EQ(0.0, ComputeOverlap(&other_lens, &lens, &frame));
  EXPECT_EQ(0.0, ComputeOverlap(nullptr, &sphere, &frame));
  EXPECT_EQ(0.0, ComputeOverlap(&other_sphere, &sphere, &frame));
  EXPECT_EQ(0.0, ComputeOverlap(&sphere, &fisheye, &frame));
  EXPECT_EQ(0.0, ComputeOverlap(&base, &sphere, &frame));
}

// A kind is only a claim: an object that is not of the family its kind
// names has no measure.
TEST(ComputeOverlap, a_kind_without_the_matching_class_gives_zero) {
  PixelTransform pretender;
  AlignFrame frame = frame_of(100, 100);
  for (const int32_t kind : {2, 7}) {
    pretender.kind = kind;
    EXPECT_EQ(0.0, ComputeOverlap(nullptr, &pretender, &frame)) << kind;
  }
}

// A 100 x 100 image whose quad is the axis-aligned rectangle given: its
// bounds in a 100 x 100 frame are exactly that rectangle.
DistortTransform planar(double left, double top, double right, double bottom) {
  const double rect[4] = {0, 0, 100, 100};
  const double quad[8] = {left, top, right, top, right, bottom, left, bottom};
  return DistortTransform(rect, quad);
}

TEST(ComputeOverlap, planar_without_a_base_is_measured_against_the_frame) {
  DistortTransform shifted = planar(50, 0, 150, 100);
  AlignFrame frame = frame_of(100, 100);
  EXPECT_DOUBLE_EQ(0.5, ComputeOverlap(nullptr, &shifted, &frame));
}

TEST(ComputeOverlap, planar_containment_either_way_gives_one) {
  DistortTransform outer = planar(-10, -10, 110, 110), inner = planar(0, 0, 100, 100), same = planar(0, 0, 100, 100);
  AlignFrame frame = frame_of(100, 100);
  EXPECT_EQ(1.0, ComputeOverlap(&outer, &inner, &frame));
  EXPECT_EQ(1.0, ComputeOverlap(&inner, &outer, &frame));
  EXPECT_EQ(1.0, ComputeOverlap(&inner, &same, &frame));
  // An image that covers its whole frame, without a base.
  EXPECT_EQ(1.0, ComputeOverlap(nullptr, &outer, &frame));
}

TEST(ComputeOverlap, planar_rectangles_that_only_touch_do_not_overlap) {
  DistortTransform base = planar(0, 0, 100, 100);
  DistortTransform right = planar(100, 0, 200, 100), below = planar(0, 100, 100, 200),
                   diagonal = planar(100, 100, 200, 200), apart = planar(300, 300, 400, 400);
  AlignFrame frame = frame_of(100, 100);
  EXPECT_EQ(0.0, ComputeOverlap(&base, &right, &frame));
  EXPECT_EQ(0.0, ComputeOverlap(&base, &below, &frame));
  EXPECT_EQ(0.0, ComputeOverlap(&base, &diagonal, &frame));
  EXPECT_EQ(0.0, ComputeOverlap(&base, &apart, &frame));
}

// The shared 50 x 50 is divided by the base's area, not the image's.
TEST(ComputeOverlap, planar_overlap_is_a_share_of_the_base) {
  DistortTransform square = planar(0, 0, 100, 100), band = planar(50, 25, 350, 75);
  AlignFrame frame = frame_of(100, 100);
  EXPECT_DOUBLE_EQ(2500.0 / 10000.0, ComputeOverlap(&square, &band, &frame));
  EXPECT_DOUBLE_EQ(2500.0 / 15000.0, ComputeOverlap(&band, &square, &frame));
}

// An image of a 640 x 480 frame on a cylinder of 800 pixels per radian,
// looking at (yaw, elevation).
CylindricalTransform cylindrical(double focal, double yaw, double elevation) {
  SimpleCameraParameters camera;
  camera.focal_length()[0] = camera.focal_length()[1] = focal;
  camera.image_center()[0] = 319.5;
  camera.image_center()[1] = 239.5;
  return CylindricalTransform(camera, camera_rotation(yaw, elevation, 0.0).data(), 800.0, 800.0, 0.0, 320.0, 240.0);
}

TEST(ComputeOverlap, a_base_of_the_other_family_counts_as_none) {
  AlignFrame frame = frame_of(100, 100);
  CylindricalTransform turned = cylindrical(400.0, 0.3, 0.0);
  DistortTransform shifted = planar(50, 0, 150, 100);
  EXPECT_DOUBLE_EQ(0.5, ComputeOverlap(&turned, &shifted, &frame));
  EXPECT_DOUBLE_EQ(ComputeOverlap(nullptr, &turned, &frame), ComputeOverlap(&shifted, &turned, &frame));
}

TEST(ComputeOverlap, cylindrical_overlap_is_what_the_images_own_offset_leaves_of_its_frame) {
  AlignFrame frame = frame_of(640, 480);
  CylindricalTransform image = cylindrical(800.0, 0.3, -0.2);
  const double expected = (480.0 - 800.0 * std::sin(0.2)) * (640.0 - 800.0 * std::sin(0.3)) / (480.0 * 640.0);
  EXPECT_NEAR(expected, ComputeOverlap(nullptr, &image, &frame), 1e-15);
  // Without a zoom between them, the base does not enter the number.
  CylindricalTransform base = cylindrical(810.0, -0.5, 0.1);
  EXPECT_NEAR(expected, ComputeOverlap(&base, &image, &frame), 1e-15);
}

TEST(ComputeOverlap, cylindrical_offsets_beyond_the_frame_give_zero) {
  constexpr double pi = std::numbers::pi;
  AlignFrame frame = frame_of(640, 480);
  // A quarter turn: the first offset is the focal length itself.
  CylindricalTransform half_off = cylindrical(320.0, pi / 2, 0.0);
  EXPECT_EQ(0.5, ComputeOverlap(nullptr, &half_off, &frame));
  // Exactly the width passes the strict test and the formula gives 0.
  CylindricalTransform at_width = cylindrical(640.0, pi / 2, 0.0);
  EXPECT_EQ(0.0, ComputeOverlap(nullptr, &at_width, &frame));
  // Beyond the width or the height the formula would turn negative.
  CylindricalTransform past_width = cylindrical(700.0, pi / 2, 0.0);
  CylindricalTransform past_height = cylindrical(600.0, 0.0, 1.2);
  EXPECT_EQ(0.0, ComputeOverlap(nullptr, &past_width, &frame));
  EXPECT_EQ(0.0, ComputeOverlap(nullptr, &past_height, &frame));
}

// Containment decides only when one focal length is more than 1.25 times
// the other; 400 and 500 are exactly 1.25 apart.
TEST(ComputeOverlap, cylindrical_containment_decides_only_for_a_zoomed_detail) {
  AlignFrame frame = frame_of(640, 480);
  const auto offset_share = [](double focal) {
    return (480.0 - focal * std::sin(0.1)) * (640.0 - focal * std::sin(0.3)) / (480.0 * 640.0);
  };
  CylindricalTransform wide = cylindrical(400.0, 0.3, 0.1);
  CylindricalTransform detail = cylindrical(501.0, 0.3, 0.1), not_quite = cylindrical(500.0, 0.3, 0.1);
  EXPECT_EQ(1.0, ComputeOverlap(&wide, &detail, &frame));
  EXPECT_NEAR(offset_share(500.0), ComputeOverlap(&wide, &not_quite, &frame), 1e-15);

  CylindricalTransform wide_base = cylindrical(400.0, 0.3, 0.1), detail_base = cylindrical(501.0, 0.3, 0.1),
                       not_quite_base = cylindrical(500.0, 0.3, 0.1);
  EXPECT_EQ(1.0, ComputeOverlap(&detail_base, &wide_base, &frame));
  EXPECT_NEAR(offset_share(400.0), ComputeOverlap(&not_quite_base, &wide_base, &frame), 1e-15);

  // A zoomed detail outside the base's bounds is measured by its offset.
  CylindricalTransform level = cylindrical(400.0, 0.0, 0.0), aside = cylindrical(800.0, 0.6, 0.0);
  EXPECT_NEAR(640.0 - 800.0 * std::sin(0.6), 640.0 * ComputeOverlap(&level, &aside, &frame), 1e-12);
}

}  // namespace
