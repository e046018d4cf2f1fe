// The rotation camera: its derivatives against central differences in every
// sharing mode, its update, and its lens layout.
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <vector>

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

// The image of a point for the camera unpacked from a camera block and a
// shared block.
template <class Camera>
std::array<double, 2> image_at(Camera camera, int32_t mode, const std::vector<double>& shared_block,
                               const std::vector<double>& block, const double point[2]) {
  shared_lens shared = shared_for(mode);
  shared.read(shared_block.data());
  camera.unpack(shared, block.data());
  std::array<double, 2> image{};
  camera.project(point, image.data());
  return image;
}

template <class Camera>
void expect_derivatives_match(int32_t mode) {
  SCOPED_TRACE(mode);
  Camera camera(std::array<double, 3>{0.2, -0.4, 0.1}, lens, mode, true);
  const shared_lens shared = shared_for(mode);
  const std::size_t s = static_cast<std::size_t>(shared_parameter_count(mode)), k = camera.block_size();
  std::vector<double> shared_block(s), block(k);
  shared.write(shared_block.data());
  camera.pack(block.data());
  shared_lens read_back = shared;  // one focal length reads as fx and fy
  read_back.read(shared_block.data());
  camera.unpack(read_back, block.data());
  const double point[2] = {0.45, -0.3};

  std::vector<double> shared_rows(2 * s, 0.0), camera_rows(2 * k, 0.0);
  double point_rows[4];
  camera.derivatives(point, shared_rows.data(), s, camera_rows.data(), k, point_rows);

  const double h = 1e-6;
  const auto expect_column = [&](const std::array<double, 2>& up, const std::array<double, 2>& down,
                                 double first, double second, const char* what, std::size_t index) {
    const double scale = 1.0 + std::fabs(first) + std::fabs(second);
    EXPECT_NEAR((up[0] - down[0]) / (2 * h), first, 2e-5 * scale) << what << " " << index;
    EXPECT_NEAR((up[1] - down[1]) / (2 * h), second, 2e-5 * scale) << what << " " << index;
  };
  for (std::size_t e = 0; e < s; ++e) {
    std::vector<double> up = shared_block, down = shared_block;
    up[e] += h;
    down[e] -= h;
    expect_column(image_at(camera, mode, up, block, point), image_at(camera, mode, down, block, point),
                  shared_rows[e], shared_rows[s + e], "shared", e);
  }
  for (std::size_t e = 0; e < k; ++e) {
    std::vector<double> step(k, 0.0), up(k), down(k);
    step[e] = h;
    camera.advance(block.data(), step.data(), up.data());
    step[e] = -h;
    camera.advance(block.data(), step.data(), down.data());
    expect_column(image_at(camera, mode, shared_block, up, point), image_at(camera, mode, shared_block, down, point),
                  camera_rows[e], camera_rows[k + e], "camera", e);
  }
  for (int c = 0; c < 2; ++c) {
    double up[2] = {point[0], point[1]}, down[2] = {point[0], point[1]};
    up[c] += h;
    down[c] -= h;
    expect_column(image_at(camera, mode, shared_block, block, up), image_at(camera, mode, shared_block, block, down),
                  point_rows[c], point_rows[2 + c], "point", static_cast<std::size_t>(c));
  }
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

}  // namespace
