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

constexpr double pi = std::numbers::pi;

struct overlap_case {
  const char* name;
  PixelTransform *base, *image;
  int32_t width, height;
  double expected, tolerance = 0.0;  // exact unless a formula of sines is involved
};

void expect_overlaps(std::initializer_list<overlap_case> cases) {
  for (const overlap_case& c : cases) {
    AlignFrame frame;
    frame.width = c.width;
    frame.height = c.height;
    EXPECT_NEAR(c.expected, ComputeOverlap(c.base, c.image, &frame), c.tolerance) << c.name;
  }
}

// A 100 x 100 image whose quad is the axis-aligned rectangle given: its
// bounds in a 100 x 100 frame are exactly that rectangle.
DistortTransform planar(double left, double top, double right, double bottom) {
  const double rect[4] = {0, 0, 100, 100};
  const double quad[8] = {left, top, right, top, right, bottom, left, bottom};
  return DistortTransform(rect, quad);
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

// Only planar and cylindrical images have a measure; the reference covers
// itself whatever its kind. A kind is only a claim: an object that is not of
// the family its kind names has no measure either.
TEST(ComputeOverlap, only_the_reference_itself_and_the_two_measured_families_overlap) {
  const double matrix[9] = {1, 0, 0, 0, 1, 0, 0, 0, 1}, size[2] = {480, 640}, center[2] = {320, 240},
               coefficients[2] = {0, 0};
  DistortRd2Transform lens(matrix, size, center, coefficients), other_lens(matrix, size, center, coefficients);
  SphericalTransform sphere, other_sphere;
  SphericalFisheyeTransform fisheye;
  PixelTransform base, planar_pretender, cylindrical_pretender;
  planar_pretender.kind = 2;
  cylindrical_pretender.kind = 7;
  expect_overlaps({
      {"no image, no base", nullptr, nullptr, 640, 480, 0.0},
      {"no image", &base, nullptr, 640, 480, 0.0},
      {"the base onto itself", &base, &base, 0, 0, 1.0},
      {"a sphere onto itself", &sphere, &sphere, 0, 0, 1.0},
      {"a lens onto itself", &lens, &lens, 0, 0, 1.0},
      {"a lens", nullptr, &lens, 640, 480, 0.0},
      {"a lens onto another", &other_lens, &lens, 640, 480, 0.0},
      {"a sphere", nullptr, &sphere, 640, 480, 0.0},
      {"a sphere onto another", &other_sphere, &sphere, 640, 480, 0.0},
      {"a fisheye onto a sphere", &sphere, &fisheye, 640, 480, 0.0},
      {"a sphere onto the base", &base, &sphere, 640, 480, 0.0},
      {"kind 2 without the class", nullptr, &planar_pretender, 100, 100, 0.0},
      {"kind 7 without the class", nullptr, &cylindrical_pretender, 100, 100, 0.0},
  });
}

// Without a base the image is measured against its frame; the shared area
// is divided by the base's area, not the image's; containment either way is
// one and touching is none; a base of the other family counts as none.
TEST(ComputeOverlap, planar_overlap_is_the_share_of_the_bases_bounds_the_image_covers) {
  DistortTransform shifted = planar(50, 0, 150, 100), outer = planar(-10, -10, 110, 110),
                   inner = planar(0, 0, 100, 100), same = planar(0, 0, 100, 100), right = planar(100, 0, 200, 100),
                   below = planar(0, 100, 100, 200), diagonal = planar(100, 100, 200, 200),
                   apart = planar(300, 300, 400, 400), band = planar(50, 25, 350, 75);
  CylindricalTransform turned = cylindrical(400.0, 0.3, 0.0);
  expect_overlaps({
      {"half off the frame", nullptr, &shifted, 100, 100, 0.5},
      {"inner in outer", &outer, &inner, 100, 100, 1.0},
      {"outer around inner", &inner, &outer, 100, 100, 1.0},
      {"the same rectangle", &inner, &same, 100, 100, 1.0},
      {"covering its whole frame", nullptr, &outer, 100, 100, 1.0},
      {"touching on the right", &inner, &right, 100, 100, 0.0},
      {"touching below", &inner, &below, 100, 100, 0.0},
      {"touching at a corner", &inner, &diagonal, 100, 100, 0.0},
      {"apart", &inner, &apart, 100, 100, 0.0},
      {"a band over the square", &inner, &band, 100, 100, 2500.0 / 10000.0},
      {"the square over a band", &band, &inner, 100, 100, 2500.0 / 15000.0},
      {"a cylindrical base", &turned, &shifted, 100, 100, 0.5},
  });
}

// Without a zoom between them the base does not enter the number: it is
// what the image's own offset leaves of its frame, and nothing once the
// offset reaches the width or the height. Containment decides only when one
// focal length is more than 1.25 times the other; 400 and 500 are exactly
// 1.25 apart.
TEST(ComputeOverlap, cylindrical_overlap_is_what_the_images_own_offset_leaves_of_its_frame) {
  const auto offset_share = [](double focal, double yaw, double elevation) {
    return (480.0 - focal * std::sin(std::fabs(elevation))) * (640.0 - focal * std::sin(std::fabs(yaw))) /
           (480.0 * 640.0);
  };
  CylindricalTransform image = cylindrical(800.0, 0.3, -0.2), base = cylindrical(810.0, -0.5, 0.1),
                       half_off = cylindrical(320.0, pi / 2, 0.0), at_width = cylindrical(640.0, pi / 2, 0.0),
                       past_width = cylindrical(700.0, pi / 2, 0.0), past_height = cylindrical(600.0, 0.0, 1.2),
                       wide = cylindrical(400.0, 0.3, 0.1), detail = cylindrical(501.0, 0.3, 0.1),
                       not_quite = cylindrical(500.0, 0.3, 0.1), level = cylindrical(400.0, 0.0, 0.0),
                       aside = cylindrical(800.0, 0.6, 0.0);
  DistortTransform shifted = planar(50, 0, 150, 100);
  expect_overlaps({
      {"without a base", nullptr, &image, 640, 480, offset_share(800.0, 0.3, -0.2), 1e-15},
      {"on an unzoomed base", &base, &image, 640, 480, offset_share(800.0, 0.3, -0.2), 1e-15},
      {"on a planar base", &shifted, &image, 640, 480, offset_share(800.0, 0.3, -0.2), 1e-15},
      {"a quarter turn of half the width", nullptr, &half_off, 640, 480, 0.5},
      {"an offset of exactly the width", nullptr, &at_width, 640, 480, 0.0},
      {"past the width", nullptr, &past_width, 640, 480, 0.0},
      {"past the height", nullptr, &past_height, 640, 480, 0.0},
      {"a detail inside a wide base", &wide, &detail, 640, 480, 1.0},
      {"not quite a detail", &wide, &not_quite, 640, 480, offset_share(500.0, 0.3, 0.1), 1e-15},
      {"a wide image around a detail base", &detail, &wide, 640, 480, 1.0},
      {"around a not-quite detail", &not_quite, &wide, 640, 480, offset_share(400.0, 0.3, 0.1), 1e-15},
      {"a detail outside the base", &level, &aside, 640, 480, (640.0 - 800.0 * std::sin(0.6)) / 640.0, 1e-15},
  });
}

}  // namespace
