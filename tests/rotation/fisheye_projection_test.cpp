// The fisheye lens objects: the table of known lenses and its refusal, the
// ways between pixels and rays across the field of every lens, and the
// centre of the image and the axis of the lens.
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <numbers>
#include <stdexcept>

#include "rotation/construct_fisheye_projection.h"
#include "rotation/fisheye_projection.h"

namespace {

constexpr double degree = std::numbers::pi / 180.0;

struct table_row {
  int32_t type;
  double p[5];
};

// The measured coefficients, as published with the lenses.
constexpr table_row table[] = {
    {2, {-6.660657106582126, 17.472355261385218, -20.27454098406905, -45.87847066483317, 1888.443270075339}},
    {3, {-8.3635, 18.1592, -23.0, -69.0, 1746.63}},
    {4, {-16.09, 38.77, -41.91, -50.4, 1863.21}},
    {5, {7.21, -17.13, 9.18, -33.27, 977.565}},
    {6, {0.53, -3.34, -0.97, -40.58, 1289.31}},
    {7, {10.3833, -17.9269, 9.5475, -22.3459, 525.8926}},
    {8, {-3.0197, 8.8761, -9.5633, -25.4745, 694.5247}},
    {9, {-15.2862, 42.0482, -46.8346, -38.8241, 1855.6}},
    {10, {-2.4551, 9.6032, -23.0167, -60.9928, 2454.1331}},
};

// Each row's factor, written out as the table gives it.
double factor(int32_t type, double size, double scale) {
  switch (type) {
    case 2: return scale / 1.005586592178771 * (size / 4368);
    case 3: return scale / 1.5254237288135593 * (size / 3872);
    case 4: case 5: case 7: case 9: return size / 4256 * scale;
    default: return size / 5616 * scale;
  }
}

std::array<double, 5> coefficients(const fisheye_equidist5& lens) { return {lens.p0, lens.p1, lens.p2, lens.p3, lens.p4}; }

TEST(FisheyeLensTable, every_type_gives_its_row_times_its_factor) {
  for (const table_row& row : table) {
    for (const auto& [size, scale] : {std::array<double, 2>{4368, 1.0}, {1000, 1.0}, {760, 0.5}, {5616, 2.0}}) {
      SCOPED_TRACE(testing::Message() << "type " << row.type << " size " << size << " scale " << scale);
      const auto lens = construct_fisheye_projection(row.type, size, scale);
      const double f = factor(row.type, size, scale);
      const std::array<double, 5> p = coefficients(*lens);
      for (int k = 0; k < 5; ++k) EXPECT_EQ(row.p[k] * f, p[k]) << k;
      EXPECT_EQ(row.p[4] * f, lens->linear_coefficient());
      EXPECT_EQ(0.0, lens->cx);  // the caller places the centre
      EXPECT_EQ(0.0, lens->cy);
    }
  }
  // On its own sensor a lens without a further divisor keeps its numbers.
  EXPECT_EQ(1863.21, construct_fisheye_projection(4, 4256, 1.0)->p4);
  EXPECT_EQ(2454.1331, construct_fisheye_projection(10, 5616, 1.0)->p4);
  EXPECT_DOUBLE_EQ(1888.443270075339 / 1.005586592178771, construct_fisheye_projection(2, 4368, 1.0)->p4);
}

TEST(FisheyeLensTable, types_outside_two_to_ten_are_refused) {
  for (const int32_t type : {-1, 0, 1, 11, 100}) {
    SCOPED_TRACE(type);
    try {
      construct_fisheye_projection(type, 1000, 1.0);
      ADD_FAILURE() << "no exception";
    } catch (const std::runtime_error& error) {
      EXPECT_STREQ("construct_fisheye_projection(): Unknown fisheye lens type", error.what());
    }
  }
}

// A lens of the table for a 1000 x 750 image, centred.
std::unique_ptr<fisheye_equidist5> placed_lens(int32_t type) {
  auto lens = construct_fisheye_projection(type, 1000, 1.0);
  lens->cx = 499.5;
  lens->cy = 374.5;
  return lens;
}

TEST(FisheyeProjection, rays_come_back_from_their_pixels_across_the_field_of_every_lens) {
  for (const table_row& row : table) {
    const auto lens = placed_lens(row.type);
    for (double angle = 0.5; angle <= 86.0; angle += 4.5) {
      for (double bearing = 0.0; bearing < 360.0; bearing += 40.0) {
        SCOPED_TRACE(testing::Message() << "type " << row.type << " angle " << angle << " bearing " << bearing);
        const double t = std::tan(angle * degree), x = t * std::cos(bearing * degree), y = t * std::sin(bearing * degree);
        double u, v, x_back, y_back;
        lens->ray_to_image(x, y, 1.0, u, v);
        // The pixel lies at R(theta) from the centre along the ray's bearing.
        EXPECT_NEAR(lens->radius(angle * degree), std::hypot(u - lens->cx, v - lens->cy), 1e-9);
        lens->image_to_ray(u, v, x_back, y_back, 89.0 * degree);
        // Five fixed-point steps recover the angle to well within a
        // hundredth of a degree over the whole field.
        EXPECT_NEAR(angle, std::atan(std::hypot(x_back, y_back)) / degree, 0.005);
        EXPECT_NEAR(std::cos(bearing * degree), x_back / std::hypot(x_back, y_back), 1e-9);
        EXPECT_NEAR(std::sin(bearing * degree), y_back / std::hypot(x_back, y_back), 1e-9);
        EXPECT_NEAR(angle, lens->image_to_angle(u, v) / degree, 0.005);
      }
    }
  }
}

TEST(FisheyeProjection, the_angle_of_a_ray_is_limited_by_the_largest_angle) {
  const auto lens = placed_lens(2);
  const double u = lens->cx + lens->radius(80.0 * degree), v = lens->cy;
  double x, y;
  lens->image_to_ray(u, v, x, y, 60.0 * degree);
  EXPECT_NEAR(std::tan(60.0 * degree), x, 1e-12);
  EXPECT_EQ(0.0, y);
}

TEST(FisheyeProjection, the_centre_pixel_is_the_axis_and_the_axis_lands_on_the_centre) {
  const auto lens = placed_lens(5);
  double x = 1.0, y = 1.0;
  lens->image_to_ray(lens->cx, lens->cy, x, y, 1.5);
  EXPECT_EQ(0.0, x);
  EXPECT_EQ(0.0, y);
  EXPECT_EQ(0.0, lens->image_to_angle(lens->cx, lens->cy));  // radius_to_angle(0) is 0
  EXPECT_EQ(0.0, lens->radius_to_angle(0.0));
  // Within a thousandth of a pixel in both directions is the centre;
  // beyond it in one direction is not.
  lens->image_to_ray(lens->cx + 0.0009, lens->cy - 0.0009, x, y, 1.5);
  EXPECT_EQ(0.0, x);
  EXPECT_EQ(0.0, y);
  lens->image_to_ray(lens->cx + 0.0011, lens->cy, x, y, 1.5);
  EXPECT_GT(x, 0.0);

  double u = 0.0, v = 0.0;
  lens->ray_to_image(0.0, 0.0, 1.0, u, v);
  EXPECT_EQ(lens->cx, u);
  EXPECT_EQ(lens->cy, v);
  lens->ray_to_image(1e-6, -1e-6, 1.0, u, v);  // within 1e-6 is still the axis
  EXPECT_EQ(lens->cx, u);
  EXPECT_EQ(lens->cy, v);
  lens->ray_to_image(2e-6, 0.0, 1.0, u, v);
  EXPECT_GT(u, lens->cx);
}

TEST(FisheyeProjection, a_ray_behind_the_lens_folds_onto_the_other_side) {
  // atan(r / z) rather than atan2: a negative z gives a negative angle.
  const auto lens = placed_lens(2);
  double u, v;
  lens->ray_to_image(1.0, 0.0, -1.0, u, v);
  EXPECT_NEAR(lens->cx + lens->radius(-45.0 * degree), u, 1e-9);
  EXPECT_LT(u, lens->cx);
  EXPECT_EQ(lens->cy, v);
}

TEST(FisheyeProjection, a_clone_is_an_independent_copy) {
  auto lens = placed_lens(7);
  const std::unique_ptr<fisheye_projection_base> copy = lens->clone();
  lens->p4 = 1.0;
  lens->cx = 0.0;
  const auto* same = dynamic_cast<const fisheye_equidist5*>(copy.get());
  ASSERT_NE(nullptr, same);
  EXPECT_EQ(coefficients(*placed_lens(7)), coefficients(*same));
  EXPECT_EQ(499.5, same->cx);
  EXPECT_EQ(374.5, same->cy);
}

}  // namespace
