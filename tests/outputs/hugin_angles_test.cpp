// The yaw, pitch and roll of a Hugin project's cameras.
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <random>

#include "outputs/hugin_project.h"

namespace {

using namespace lacewright_tool;

TEST(HuginAngles, follow_the_panorama_conventions_and_round_trip) {
  // Yaw looks right (+x), pitch looks up (-y, rows grow downwards).
  const auto yawed = rotation_of({30, 0, 0});
  EXPECT_NEAR(std::sin(M_PI / 6), yawed[2], 1e-12);
  const auto pitched = rotation_of({0, 30, 0});
  EXPECT_NEAR(-std::sin(M_PI / 6), pitched[5], 1e-12);
  std::mt19937 random(7);
  std::uniform_real_distribution<double> turn(-179.0, 179.0), tilt(-85.0, 85.0);
  for (int trial = 0; trial < 200; ++trial) {
    const std::array<double, 3> angles = {turn(random), tilt(random), turn(random)};
    const std::array<double, 3> back = yaw_pitch_roll(rotation_of(angles));
    for (int k = 0; k < 3; ++k) EXPECT_NEAR(angles[k], back[k], 1e-9);
  }
}

}  // namespace
