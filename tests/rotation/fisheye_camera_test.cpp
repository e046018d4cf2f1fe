// The fisheye camera of the adjusters: its projection against the lens
// object, its derivatives in every mode, the blocks its modes lay out, the
// shared start values, and the points behind it dropping out.
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <numbers>
#include <vector>

#include "camera_differences.h"
#include "rotation/fisheye_camera.h"
#include "rotation/fisheye_projection.h"

namespace {

const fisheye_lens lens{-3.5, -8.0, 340.0, 401.0, 297.5};

fisheye_shared_lens shared_for(int32_t mode) {
  fisheye_shared_lens shared;
  shared.a0 = -2.0;
  shared.a1 = -6.0;
  shared.a2 = 330.0;
  shared.cx = 398.0;
  shared.cy = 305.0;
  shared.mode = mode;
  return shared;
}

TEST(FisheyeCamera, projects_as_the_lens_object_with_the_short_polynomial) {
  const motion_control_fisheye camera(std::array<double, 3>{0.2, -0.4, 0.1}, lens, 0, true);
  const fisheye_equidist5 object(lens.cx, lens.cy, 0.0, 0.0, lens.a0, lens.a1, lens.a2);
  for (const auto& point : {std::array<double, 2>{0.45, -0.3}, {1.2, 0.5}, {-0.3, 0.9}}) {
    double y[3], image[2], u, v;
    const double d[3] = {std::cos(point[1]) * std::cos(point[0]), std::cos(point[1]) * std::sin(point[0]), std::sin(point[1])};
    for (int r = 0; r < 3; ++r) y[r] = camera.rotation[3 * r] * d[0] + camera.rotation[3 * r + 1] * d[1] + camera.rotation[3 * r + 2] * d[2];
    ASSERT_GT(y[2], 0.0);
    camera.project(point.data(), image);
    object.ray_to_image(y[0], y[1], y[2], u, v);
    EXPECT_NEAR(u, image[0], 1e-9);
    EXPECT_NEAR(v, image[1], 1e-9);
  }
}

TEST(FisheyeCamera, derivatives_agree_with_differences_in_every_mode) {
  for (int32_t mode = 0; mode <= 4; ++mode) {
    SCOPED_TRACE(mode);
    // Points in front, one of them past a right angle's half from the axis.
    for (const auto& point : {std::array<double, 2>{0.45, -0.3}, {0.9, 0.2}}) {
      test_support::expect_derivatives_match(motion_control_fisheye(std::array<double, 3>{0.2, -0.4, 0.1}, lens, mode, true),
                                             shared_for(mode), point.data());
    }
  }
}

TEST(FisheyeCamera, modes_decide_what_the_blocks_hold) {
  const std::array<double, 3> upright{};
  // Camera blocks with a free rotation, and shared blocks, of modes 0 to 4.
  const std::size_t camera_sizes[] = {6, 8, 6, 3, 3}, shared_sizes[] = {0, 0, 2, 3, 5};
  for (int32_t mode = 0; mode <= 4; ++mode) {
    EXPECT_EQ(camera_sizes[mode], motion_control_fisheye(upright, lens, mode, true).block_size()) << mode;
    EXPECT_EQ(camera_sizes[mode] - 3, motion_control_fisheye(upright, lens, mode, false).block_size()) << mode;
    EXPECT_EQ(shared_sizes[mode], shared_for(mode).block_size()) << mode;
  }
  // Any other mode fits no lens value: the rotation alone.
  EXPECT_EQ(3u, motion_control_fisheye(upright, lens, 7, true).block_size());
  EXPECT_EQ(0u, shared_for(-1).block_size());

  // Mode 1: a0, a1, a2, cx, cy, then the rotation.
  motion_control_fisheye own(upright, lens, 1, true);
  double block[8];
  own.pack(block);
  EXPECT_EQ((std::array<double, 5>{-3.5, -8.0, 340.0, 401.0, 297.5}), (std::array<double, 5>{block[0], block[1], block[2], block[3], block[4]}));
  // Mode 2: the centre from the shared block, the coefficients from the camera's.
  motion_control_fisheye centred(upright, lens, 2, false);
  fisheye_shared_lens shared = shared_for(2);
  const double shared_block[2] = {410.0, 290.0};
  shared.read(shared_block);
  const double coefficients[3] = {-1.0, -2.0, 300.0};
  centred.unpack(shared, coefficients);
  EXPECT_EQ((fisheye_lens{-1.0, -2.0, 300.0, 410.0, 290.0}), centred.lens());
  // Mode 4: everything shared, in the order a0, a1, a2, cx, cy.
  fisheye_shared_lens all = shared_for(4);
  double written[5];
  all.write(written);
  EXPECT_EQ((std::array<double, 5>{-2.0, -6.0, 330.0, 398.0, 305.0}), (std::array<double, 5>{written[0], written[1], written[2], written[3], written[4]}));
  motion_control_fisheye none_own(upright, lens, 4, false);
  none_own.unpack(all, nullptr);
  EXPECT_EQ((fisheye_lens{-2.0, -6.0, 330.0, 398.0, 305.0}), none_own.lens());
  // Mode 0 keeps the centre.
  motion_control_fisheye kept(upright, lens, 0, false);
  kept.unpack(shared_for(0), coefficients);
  EXPECT_EQ((fisheye_lens{-1.0, -2.0, 300.0, 401.0, 297.5}), kept.lens());
}

TEST(FisheyeCamera, shared_start_values_are_the_means_of_the_cameras) {
  const std::vector<fisheye_lens> lenses = {{-3.0, -8.0, 340.0, 400.0, 300.0}, {-1.0, -6.0, 344.0, 398.0, 296.0},
                                            {-2.0, -7.0, 330.0, 402.0, 301.0}};
  const fisheye_shared_lens mean = fisheye_shared_lens::mean_of(lenses, 3);
  EXPECT_EQ(3, mean.mode);
  EXPECT_DOUBLE_EQ(-2.0, mean.a0);
  EXPECT_DOUBLE_EQ(-7.0, mean.a1);
  EXPECT_DOUBLE_EQ(338.0, mean.a2);
  EXPECT_DOUBLE_EQ(400.0, mean.cx);
  EXPECT_DOUBLE_EQ(299.0, mean.cy);
}

TEST(FisheyeCamera, a_point_behind_the_camera_drops_out_and_the_axis_lands_on_the_centre) {
  // At the unit rotation the axis is the direction of latitude pi/2.
  const motion_control_fisheye camera(std::array<double, 3>{}, lens, 1, true);
  const double measured[2] = {100.0, 50.0};
  double r[2] = {1.0, 1.0};
  const double behind[2] = {0.3, -0.2};  // y3 = sin(-0.2) < 0
  camera.residual(behind, measured, r);
  EXPECT_EQ(0.0, r[0]);
  EXPECT_EQ(0.0, r[1]);
  const double sideways[2] = {0.3, 0.0};  // y3 = 0 is behind as well
  camera.residual(sideways, measured, r);
  EXPECT_EQ(0.0, r[0]);
  EXPECT_EQ(0.0, r[1]);
  std::vector<double> shared_rows, camera_rows(2 * camera.block_size(), 0.0);
  double point_rows[4] = {};
  camera.derivatives(behind, shared_rows.data(), 0, camera_rows.data(), camera.block_size(), point_rows);
  for (const double row : camera_rows) EXPECT_EQ(0.0, row);
  for (const double row : point_rows) EXPECT_EQ(0.0, row);

  // In front the residual is the projection minus the measure.
  const double ahead[2] = {0.3, 1.0};
  double image[2];
  camera.project(ahead, image);
  camera.residual(ahead, measured, r);
  EXPECT_EQ(image[0] - 100.0, r[0]);
  EXPECT_EQ(image[1] - 50.0, r[1]);

  const double axis[2] = {0.0, std::numbers::pi / 2};
  camera.project(axis, image);
  EXPECT_EQ(lens.cx, image[0]);
  EXPECT_EQ(lens.cy, image[1]);
  // Its rows: only the centre moves the image.
  std::fill(camera_rows.begin(), camera_rows.end(), 0.0);
  camera.derivatives(axis, shared_rows.data(), 0, camera_rows.data(), camera.block_size(), point_rows);
  const std::size_t k = camera.block_size();
  EXPECT_EQ(1.0, camera_rows[3]);
  EXPECT_EQ(1.0, camera_rows[k + 4]);
  for (const std::size_t e : {0u, 1u, 2u, 5u, 6u, 7u}) EXPECT_EQ(0.0, camera_rows[e]) << e;
}

}  // namespace
