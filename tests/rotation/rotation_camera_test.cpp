// The rotation camera: its derivatives against central differences in every
// sharing mode, its update, and its lens layout.
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <vector>

#include "camera_differences.h"
#include "rotation/rotation_camera.h"

namespace {

const lens_record lens{610.0, 590.0, 402.0, 297.0, -0.08, 0.03};

shared_lens shared_for(int32_t mode) {
  shared_lens shared;
  shared.fx = 640.0;
  shared.fy = 620.0;
  shared.cx = 398.0;
  shared.cy = 305.0;
  shared.k1 = 0.05;
  shared.k2 = -0.02;
  shared.mode = mode;
  return shared;
}

template <class Camera>
void expect_derivatives_match(int32_t mode) {
  SCOPED_TRACE(mode);
  const double point[2] = {0.45, -0.3};
  test_support::expect_derivatives_match(Camera(std::array<double, 3>{0.2, -0.4, 0.1}, lens, mode, true),
                                         shared_for(mode), point);
}

TEST(RotationCamera, derivatives_agree_with_differences_in_every_mode) {
  for (int32_t mode = 0; mode <= 9; ++mode) expect_derivatives_match<motion_control_rotation>(mode);
  for (int32_t mode = 10; mode <= 29; ++mode) expect_derivatives_match<motion_control_rotation_distorted>(mode);
}

TEST(RotationCamera, a_step_turns_in_front_and_a_zero_step_changes_nothing) {
  motion_control_rotation camera(std::array<double, 3>{0.3, 0.2, -0.5}, lens, 7, true);
  ASSERT_EQ(4u, camera.block_size());
  double block[4], moved[4];
  camera.pack(block);
  EXPECT_EQ(610.0, block[0]);
  const double none[4] = {};
  camera.advance(block, none, moved);
  for (int i = 0; i < 4; ++i) EXPECT_NEAR(block[i], moved[i], 1e-15);
  // At the identity a step in the rotation is the added vector.
  motion_control_rotation upright(std::array<double, 3>{0.0, 0.0, 0.0}, lens, 7, true);
  upright.pack(block);
  const double turn[4] = {2.0, 0.01, -0.02, 0.03};
  upright.advance(block, turn, moved);
  EXPECT_EQ(612.0, moved[0]);
  EXPECT_NEAR(0.01, moved[1], 1e-15);
  EXPECT_NEAR(-0.02, moved[2], 1e-15);
  EXPECT_NEAR(0.03, moved[3], 1e-15);
  // Vectors add when steps are not local.
  camera.local_rotation = false;
  camera.pack(block);
  camera.advance(block, turn, moved);
  EXPECT_DOUBLE_EQ(block[1] + 0.01, moved[1]);
}

TEST(RotationCamera, modes_decide_what_the_block_holds) {
  // Mode 5 reads nothing of the lens from the block, and the shared
  // principal point does not reach the camera.
  motion_control_rotation shared_focal(std::array<double, 3>{}, lens, 5, true);
  EXPECT_EQ(3u, shared_focal.block_size());
  shared_lens shared = shared_for(5);
  const double shared_block[3] = {700.0, 1.0, 2.0};  // f, cx, cy
  shared.read(shared_block);
  const double block[3] = {0.0, 0.0, 0.0};
  shared_focal.unpack(shared, block);
  EXPECT_EQ(700.0, shared_focal.fx);
  EXPECT_EQ(700.0, shared_focal.fy);
  EXPECT_EQ(1.0, shared.cx);
  EXPECT_EQ(402.0, shared_focal.cx);
  // Mode 4 takes everything from the shared record.
  motion_control_rotation all_shared(std::array<double, 3>{}, lens, 4, false);
  EXPECT_EQ(0u, all_shared.block_size());
  all_shared.unpack(shared_for(4), nullptr);
  EXPECT_EQ(398.0, all_shared.cx);
  EXPECT_EQ(620.0, all_shared.fy);
  // Mode 0: fx, fy, cx, cy and the rotation.
  EXPECT_EQ(7u, motion_control_rotation(std::array<double, 3>{}, lens, 0, true).block_size());
  EXPECT_THROW(motion_control_rotation(std::array<double, 3>{}, lens, 11, true), std::invalid_argument);
  EXPECT_THROW(motion_control_rotation_distorted(std::array<double, 3>{}, lens, 9, true), std::invalid_argument);
}

TEST(RotationCamera, the_shared_principal_point_of_modes_12_and_13_is_never_read_back) {
  for (const int32_t mode : {12, 13}) {
    SCOPED_TRACE(mode);
    shared_lens shared = shared_for(mode);
    ASSERT_EQ(2u, shared.block_size());  // cx and cy are unknowns all the same
    const double shared_block[2] = {1.0, 2.0};
    shared.read(shared_block);
    EXPECT_EQ(398.0, shared.cx);
    EXPECT_EQ(305.0, shared.cy);
    motion_control_rotation_distorted camera(std::array<double, 3>{}, lens, mode, false);
    std::vector<double> block(camera.block_size());
    camera.pack(block.data());
    camera.unpack(shared, block.data());
    EXPECT_EQ(398.0, camera.cx);  // the shared record's start value
    EXPECT_EQ(305.0, camera.cy);
  }
}

}  // namespace
