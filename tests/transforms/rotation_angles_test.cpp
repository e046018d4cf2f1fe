// The angle decomposition of a camera rotation, including the places where
// rounding steers it.
#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

#include "camera_rotation.h"
#include "transforms/rotation_angles.h"

namespace {

constexpr double pi = std::numbers::pi;

TEST(RotationAngles, recovers_the_angles_a_rotation_was_built_from) {
  for (const double yaw : {-3.1, -2.0, -0.5, 0.0, 0.4, 1.6, 2.9})
    for (const double elevation : {-1.5, -0.6, 0.0, 0.3, 1.4})
      for (const double roll : {-3.0, -0.2, 0.0, 1.1, 3.1}) {
        const rotation_matrix R = camera_rotation(yaw, elevation, roll);
        double angles[3];
        RotationAngles(R.data(), angles);
        EXPECT_NEAR(yaw, angles[0], 1e-12) << elevation << " " << roll;
        EXPECT_NEAR(elevation, angles[1], 1e-12) << yaw << " " << roll;
        EXPECT_NEAR(roll, angles[2], 1e-12) << yaw << " " << elevation;
      }
}

// The same rotation is (yaw + pi, pi - elevation, roll + pi): an elevation
// beyond a right angle comes back as the triple within one.
TEST(RotationAngles, an_elevation_beyond_a_right_angle_comes_back_turned_by_half_a_turn) {
  for (const double elevation : {2.0, -2.5}) {
    const rotation_matrix R = camera_rotation(0.4, elevation, 0.3);
    double angles[3];
    RotationAngles(R.data(), angles);
    const double equivalent_elevation = elevation > 0 ? pi - elevation : -pi - elevation;
    EXPECT_NEAR(0.4 - pi, angles[0], 1e-12);
    EXPECT_NEAR(equivalent_elevation, angles[1], 1e-12);
    EXPECT_NEAR(0.3 - pi, angles[2], 1e-12);
    const rotation_matrix rebuilt = camera_rotation(angles[0], angles[1], angles[2]);
    for (int k = 0; k < 9; ++k) EXPECT_NEAR(R[k], rebuilt[k], 1e-12);
  }
}

// The elevation is read from (R2 + R8) / (sin a0 + cos a0), and both sums
// vanish at a yaw of 135 or -45 degrees.
TEST(RotationAngles, at_a_yaw_of_135_or_minus_45_degrees_rounding_decides_the_elevation) {
  // Yaw 135 degrees, elevation 45 degrees, with R2 two units in the last
  // place low: R2 + R8 is negative while sin(a0) + cos(a0) is positive, so
  // the quotient is -1, the elevation comes out beyond a right angle and
  // the half-turn branch takes it back, to atan(sqrt(1/2)) rather than 45
  // degrees.
  const rotation_matrix rounded_apart = {-0.7071067811865475, -0.5, 0.4999999999999999,
                                         0.0,                 0.7071067811865476, 0.7071067811865475,
                                         -0.7071067811865476, 0.4999999999999999, -0.5};
  double angles[3];
  RotationAngles(rounded_apart.data(), angles);
  EXPECT_NEAR(7.0 * pi / 4.0, angles[0], 1e-15);
  EXPECT_NEAR(std::atan(std::sqrt(0.5)), angles[1], 1e-15);
  EXPECT_DOUBLE_EQ(pi, angles[2]);

  // Yaw -45 degrees, elevation -45 degrees, in exact entries: the quotient
  // is 0 and the elevation reads as a right angle.
  const double h = std::sqrt(0.5);
  const rotation_matrix exact = {h, -0.5, -0.5, 0.0, h, -h, h, 0.5, 0.5};
  RotationAngles(exact.data(), angles);
  EXPECT_NEAR(-pi / 4.0, angles[0], 1e-15);
  EXPECT_EQ(-pi / 2.0, angles[1]);
  EXPECT_EQ(0.0, angles[2]);
}

}  // namespace
