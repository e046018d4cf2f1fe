// The rotation explanation of a pair: the closed-form estimates and the
// refined model recover a turning camera, the motions that cannot be
// explained are marked failed, the zoom path keeps its own focal scale, and
// the Jacobian is the derivative under the model's own step, with the
// damping of the second focal length.
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <vector>

#include "allocation_counter.h"
#include "geometry/h_matrix_2d.h"
#include "geometry/pair_rotation_estimates.h"
#include "geometry/pair_rotation_model.h"
#include "numerics/matrix_3x3.h"
#include "numerics/rodrigues.h"
#include "solvers/dense_levenberg_marquardt.h"

namespace {

using centre_point = std::array<double, 2>;
using matrix = std::array<double, 9>;

matrix product(const matrix& a, const matrix& b) {
  matrix c;
  multiply_3x3(a.data(), b.data(), c.data());
  return c;
}

matrix shift(centre_point c) { return {1.0, 0.0, c[0], 0.0, 1.0, c[1], 0.0, 0.0, 1.0}; }
matrix focal(double f) { return {f, 0.0, 0.0, 0.0, f, 0.0, 0.0, 0.0, 1.0}; }
matrix rotation_of(const std::array<double, 3>& r) {
  matrix R;
  rodrigues(r.data(), R.data());
  return R;
}

h_matrix_2d projective(const matrix& h) {
  h_matrix_2d motion(homography_projective);
  std::copy(h.begin(), h.end(), motion.parameters);
  return motion;
}

// K1 R K2^-1, the motion of a camera turning about its centre, in centred
// coordinates.
matrix turning(const std::array<double, 3>& r, double f1, double f2) {
  return product(product(focal(f1), rotation_of(r)), focal(1.0 / f2));
}

// A motion in centred coordinates as a motion in pixels: T(c1) H T(-c2).
h_matrix_2d in_pixels(const matrix& centred, centre_point c1, centre_point c2) {
  return projective(product(product(shift(c1), centred), shift({-c2[0], -c2[1]})));
}

void expect_matrix_near(const matrix& expected, const double* actual, double tolerance) {
  for (int k = 0; k < 9; ++k) EXPECT_NEAR(expected[k], actual[k], tolerance) << k;
}

const std::array<double, 3> tilt = {0.05, 0.2, -0.03};
const centre_point c1 = {319.5, 239.5}, c2 = {399.5, 299.5};

TEST(PairRotationEstimates, both_recover_an_exact_turning_camera_from_any_start) {
  h_matrix_2d h = projective(turning(tilt, 900.0, 1100.0));
  h.normalize();
  for (const auto& estimate : {factorisation_estimate, constraint_estimate}) {
    double f1 = 2000.0, f2 = 700.0;
    matrix R{};
    ASSERT_TRUE(estimate(h.parameters, f1, f2, R.data()));
    EXPECT_NEAR(900.0, f1, 1e-7);
    EXPECT_NEAR(1100.0, f2, 1e-7);
    expect_matrix_near(rotation_of(tilt), R.data(), 1e-10);
  }
}

TEST(PairRotationEstimates, give_a_proper_rotation_for_a_mirrored_motion) {
  // det H < 0: the nearest orthogonal matrix is a reflection, and the sign
  // rule turns it into a rotation.
  matrix h = turning(tilt, 900.0, 1100.0);
  for (int k = 0; k < 9; ++k) h[k] = -h[k];
  for (const auto& estimate : {factorisation_estimate, constraint_estimate}) {
    double f1 = 2000.0, f2 = 2000.0;
    matrix R{};
    ASSERT_TRUE(estimate(h.data(), f1, f2, R.data()));
    EXPECT_NEAR(1.0, determinant_3x3(R.data()), 1e-12);
  }
}

TEST(PairRotationEstimates, neither_fixes_focal_lengths_from_a_turn_about_the_optical_axis) {
  const matrix h = turning({0.0, 0.0, 0.3}, 900.0, 1100.0);
  for (const auto& estimate : {factorisation_estimate, constraint_estimate}) {
    double f1 = 2000.0, f2 = 2000.0;
    matrix R{};
    EXPECT_FALSE(estimate(h.data(), f1, f2, R.data()));
  }
}

TEST(PairRotationModel, decomposes_a_turning_camera_into_rotation_and_focal_lengths) {
  const pair_rotation_model model(in_pixels(turning(tilt, 900.0, 1100.0), c1, c2), c1, c2);
  ASSERT_FALSE(model.failed);
  EXPECT_TRUE(model.local_update);
  EXPECT_NEAR(900.0, model.camera_first.fx, 1e-6);
  EXPECT_NEAR(1100.0, model.camera_second.fx, 1e-6);
  EXPECT_EQ((lens_record{model.camera_first.fx, model.camera_first.fx, c1[0], c1[1], 0.0, 0.0}), model.camera_first);
  EXPECT_EQ((lens_record{model.camera_second.fx, model.camera_second.fx, c2[0], c2[1], 0.0, 0.0}), model.camera_second);
  expect_matrix_near(rotation_of(tilt), model.rotation.data(), 1e-10);
  for (int k = 0; k < 3; ++k) EXPECT_NEAR(tilt[k], model.rotation_vector[k], 1e-10);
  // The motion kept is the centred one, of determinant 1.
  h_matrix_2d centred = projective(turning(tilt, 900.0, 1100.0));
  centred.normalize();
  for (int k = 0; k < 9; ++k) {
    const double tolerance = 1e-9 * (1.0 + std::fabs(centred.parameters[k]));
    EXPECT_NEAR(centred.parameters[k], model.motion.parameters[k], tolerance) << k;
  }
}

// Where the model's solver goes from the start (R, f1, f2).
std::vector<double> solved_from(const pair_rotation_model& model, const matrix& R, double f1, double f2) {
  pair_rotation_model copy = model;
  std::vector<double> x(5), fvec(9);
  rodrigues_inv(R.data(), x.data());
  x[3] = f1;
  x[4] = f2;
  EXPECT_TRUE(dense_levenberg_marquardt_5x9(copy, x, fvec));
  return x;
}

TEST(PairRotationModel, falls_back_to_the_constraint_estimate_from_the_start_focal_lengths) {
  // A plane seen from two places, not a turning camera: the factorisation
  // finds no positive scales for it.
  const matrix h = {0.8, 0.1, 20.0, -0.05, 1.25, 10.0, 3e-4, -2e-4, 1.0};
  const pair_rotation_model model(in_pixels(h, c1, c2), c1, c2);
  ASSERT_FALSE(model.failed);
  const double f1_start = 2.0 * (c1[0] + c1[1]), f2_start = 2.0 * (c2[0] + c2[1]);
  double f1 = f1_start, f2 = f2_start;
  matrix R{};
  ASSERT_FALSE(factorisation_estimate(model.motion.parameters, f1, f2, R.data()));
  f1 = f1_start;
  f2 = f2_start;
  ASSERT_TRUE(constraint_estimate(model.motion.parameters, f1, f2, R.data()));
  const std::vector<double> expected = solved_from(model, R, f1, f2);
  for (int k = 0; k < 3; ++k) EXPECT_EQ(expected[k], model.rotation_vector[k]) << k;
  EXPECT_EQ(expected[3], model.camera_first.fx);
  EXPECT_EQ(expected[4], model.camera_second.fx);
}

TEST(PairRotationModel, marks_a_shift_below_a_tenth_of_a_pixel_without_perspective_as_failed) {
  const h_matrix_2d still = projective({1.0, 0.0, 0.05, 0.0, 1.0, -0.08, 0.0, 0.0, 1.0});
  const pair_rotation_model model(still, c1, c2);
  EXPECT_TRUE(model.failed);
  // The test reads only the shift and the perspective: a zoom about the
  // centre that shifts nothing is refused too.
  const matrix zoom_in_place = {1.2, 0.0, 0.0, 0.0, 1.2, 0.0, 0.0, 0.0, 1.0};
  EXPECT_TRUE(pair_rotation_model(in_pixels(zoom_in_place, c1, c1), c1, c1).failed);
  // A fifth of a pixel is a measurable motion: it takes the zoom path.
  EXPECT_FALSE(pair_rotation_model(projective({1.0, 0.0, 0.2, 0.0, 1.0, 0.0, 0.0, 0.0, 1.0}), c1, c1).failed);
}

// sigma Rz(angle) about the centre `c` of both images, then a shift of
// half a pixel: a zoom and a turn about the optical axis.
h_matrix_2d zoom(double sigma, double angle, double skew = 0.0, centre_point c = c1) {
  const double a = sigma * std::cos(angle), b = sigma * std::sin(angle);
  return in_pixels({a, -b + skew, 0.5, b, a, 0.0, 0.0, 0.0, 1.0}, c, c);
}

TEST(PairRotationModel, zoom_path_takes_the_sum_of_the_centre_as_the_second_focal_length) {
  constexpr double sigma = 1.2, angle = 0.1;
  const pair_rotation_model model(zoom(sigma, angle), c1, c1);
  ASSERT_FALSE(model.failed);
  // The motion is divided by h8, not scaled to determinant 1.
  EXPECT_NEAR(sigma * std::cos(angle), model.motion.parameters[0], 1e-12);
  EXPECT_NEAR(0.5, model.motion.parameters[2], 1e-12);
  EXPECT_EQ(1.0, model.motion.parameters[8]);
  // Only the ratio of the focal lengths shows in a zoom, and the solver has
  // no reason to leave the start: f2 = c.x + c.y, half the general start.
  EXPECT_NEAR(c1[0] + c1[1], model.camera_second.fx, 1e-9);
  EXPECT_NEAR(sigma * (c1[0] + c1[1]), model.camera_first.fx, 1e-9);
  expect_matrix_near(rotation_of({0.0, 0.0, angle}), model.rotation.data(), 1e-12);
}

TEST(PairRotationModel, zoom_path_refuses_a_skewed_motion) {
  EXPECT_FALSE(pair_rotation_model(zoom(1.2, 0.1, 0.04), c1, c1).failed);
  EXPECT_TRUE(pair_rotation_model(zoom(1.2, 0.1, 0.06), c1, c1).failed);
}

TEST(PairRotationModel, marks_a_focal_length_that_ends_negative_as_failed) {
  // Centres left of and above the origin give the zoom path negative focal
  // lengths, and the multiplicative step cannot change their sign.
  const centre_point behind = {-300.0, -200.0};
  ASSERT_FALSE(pair_rotation_model(zoom(1.1, 0.05, 0.0, c1), c1, c1).failed);
  EXPECT_TRUE(pair_rotation_model(zoom(1.1, 0.05, 0.0, behind), behind, behind).failed);
}

// The residuals at advance(x, h e_j) and advance(x, -h e_j), differenced.
std::array<double, 9> difference_column(const pair_rotation_model& model, const std::array<double, 5>& x, int j,
                                        double h) {
  std::array<double, 5> step{}, moved{};
  std::array<double, 9> plus{}, minus{}, column{};
  step[j] = h;
  model.advance(x.data(), step.data(), moved.data());
  model.residuals(moved.data(), plus.data());
  step[j] = -h;
  model.advance(x.data(), step.data(), moved.data());
  model.residuals(moved.data(), minus.data());
  for (int k = 0; k < 9; ++k) column[k] = (plus[k] - minus[k]) / (2.0 * h);
  return column;
}

TEST(PairRotationModel, jacobian_is_the_derivative_under_its_own_step_with_the_second_focal_length_damped) {
  const pair_rotation_model model(in_pixels(turning(tilt, 900.0, 1100.0), c1, c2), c1, c2);
  ASSERT_FALSE(model.failed);
  const std::array<double, 5> x = {0.3, -0.2, 0.1, 750.0, 1300.0};
  std::array<double, 45> fjac{};
  model.jacobian(x.data(), fjac.data());
  for (int j = 0; j < 5; ++j) {
    const std::array<double, 9> column = difference_column(model, x, j, 1e-5);
    for (int k = 0; k < 9; ++k) {
      // Rows 0 to 5 (rows 0 and 1 of N) of the last column are a third.
      const double scale = j == 4 && k < 6 ? 1.0 / 3.0 : 1.0;
      EXPECT_NEAR(scale * column[k], fjac[5 * k + j], 1e-9) << "row " << k << " column " << j;
    }
  }
}

TEST(PairRotationModel, advance_turns_on_the_left_and_scales_the_focal_lengths) {
  pair_rotation_model model(in_pixels(turning(tilt, 900.0, 1100.0), c1, c2), c1, c2);
  const std::array<double, 5> x = {0.0, 0.0, 1.5707963267948966, 800.0, 1000.0};
  const std::array<double, 5> step = {1.5707963267948966, 0.0, 0.0, std::log(2.0), -std::log(4.0)};
  std::array<double, 5> moved{};
  model.advance(x.data(), step.data(), moved.data());
  // A quarter turn about x after a quarter turn about z.
  const matrix turned = rotation_of({moved[0], moved[1], moved[2]});
  expect_matrix_near({0.0, -1.0, 0.0, 0.0, 0.0, -1.0, 1.0, 0.0, 0.0}, turned.data(), 1e-12);
  EXPECT_NEAR(1600.0, moved[3], 1e-9);
  EXPECT_NEAR(250.0, moved[4], 1e-9);

  model.local_update = false;
  model.advance(x.data(), step.data(), moved.data());
  for (int k = 0; k < 3; ++k) EXPECT_EQ(x[k] + step[k], moved[k]);
}

TEST(PairRotationModel, evaluations_allocate_nothing) {
  const pair_rotation_model model(in_pixels(turning(tilt, 900.0, 1100.0), c1, c2), c1, c2);
  const std::array<double, 5> x = {0.3, -0.2, 0.1, 750.0, 1300.0}, step = {0.01, 0.02, -0.01, 0.1, -0.1};
  std::array<double, 5> moved{};
  std::array<double, 9> fvec{};
  std::array<double, 45> fjac{};
  EXPECT_EQ(0u, test_support::allocations_during([&] {
              model.residuals(x.data(), fvec.data());
              model.jacobian(x.data(), fjac.data());
              model.advance(x.data(), step.data(), moved.data());
            }));
}

}  // namespace
