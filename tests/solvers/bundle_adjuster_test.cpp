// The bundle adjusters on a synthetic turning camera: recovery of rotations
// and focal lengths, with and without gross outliers; analytic and
// difference Jacobians; and the construction's failure rules.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numbers>

#include "rotation_rig.h"
#include "solvers/bundle_adjuster.h"

namespace {

using namespace test_support;

constexpr double pi = std::numbers::pi;

shared_lens no_shared_lens() {
  shared_lens lens;
  lens.mode = 7;  // one focal length per camera; nothing shared
  return lens;
}

std::vector<std::vector<scene_observation>> none_for(std::size_t cameras) {
  return std::vector<std::vector<scene_observation>>(cameras);
}

// The sum of squares of the model's residuals at x.
template <class Model>
double cost_at(Model& model, const std::vector<double>& x) {
  std::vector<double> f(model.residual_count());
  model.residuals(x.data(), f.data());
  double sum = 0.0;
  for (double v : f) sum += v * v;
  return sum;
}

// The rig's truth in the model's layout (nothing shared): each camera's
// block, then the points as given.
template <class Model>
std::vector<double> truth_of(const Model& model, const rotation_rig& rig, const std::vector<scene_point>& points) {
  std::vector<double> x;
  for (std::size_t i = 0; i < rig.rotations.size(); ++i) {
    auto camera = model.cameras[i];
    camera.focal = rig.focals[i];
    rodrigues_inv(rig.rotations[i].data(), camera.vector);
    std::vector<double> block(camera.block_size());
    camera.pack(block.data());
    x.insert(x.end(), block.begin(), block.end());
  }
  for (const scene_point& p : points) x.insert(x.end(), p.begin(), p.end());
  return x;
}

// A solution at least as good as the truth, and near it. The spread of the
// best estimate itself, with 1 px of noise, is a few hundredths of a degree
// per camera (more with gross outliers under the robust map), so the
// rotations are bounded in their root mean square and, twice as loosely, in
// the worst camera.
template <class Model>
void expect_recovered(Model& adjusted, const rotation_rig& rig, const std::vector<scene_point>& true_points,
                      double rms_angle_bound) {
  ASSERT_FALSE(adjusted.failed);
  EXPECT_LE(cost_at(adjusted, adjusted.parameters()), cost_at(adjusted, truth_of(adjusted, rig, true_points)));
  double worst_angle = 0.0, squared_angles = 0.0, worst_focal = 0.0;
  for (std::size_t i = 0; i < rig.rotations.size(); ++i) {
    const double angle = angle_between(adjusted.cameras[i].matrix, rig.rotations[i].data());
    worst_angle = std::max(worst_angle, angle);
    squared_angles += angle * angle;
    worst_focal = std::max(worst_focal, std::fabs(adjusted.cameras[i].focal / rig.focals[i] - 1.0));
  }
  // The reference camera's rotation is fixed at the truth.
  EXPECT_LT(std::sqrt(squared_angles / static_cast<double>(rig.rotations.size() - 1)), rms_angle_bound) << "degrees";
  EXPECT_LT(worst_angle, 2.0 * rms_angle_bound) << "degrees";
  EXPECT_LT(worst_focal, 0.002);
}

TEST(SparseBundleAdjuster2, recovers_a_turning_camera_from_noisy_observations) {
  const rotation_rig rig = make_rotation_rig(10, 2000, 1.0, 0.0, 1);
  sparse_bundle_adjuster2<simple_rotation_camera<false>> adjusted(
      no_shared_lens(), start_cameras<false>(rig, 2), start_points(rig, 3), {}, rig.observations, none_for(10));
  expect_recovered(adjusted, rig, rig.points, 0.05);
  // At the optimum the residuals are the noise, less the share the unknowns absorb.
  const double m = static_cast<double>(adjusted.residual_count()), n = static_cast<double>(adjusted.unknown_count());
  EXPECT_NEAR(std::sqrt((m - n) / m), std::sqrt(cost_at(adjusted, adjusted.parameters()) / m), 0.03);
  EXPECT_GT(adjusted.control.iter, 1u);
}

TEST(SparseBundleAdjuster2, the_robust_map_keeps_five_percent_of_gross_outliers_at_bay) {
  const rotation_rig rig = make_rotation_rig(10, 2000, 1.0, 0.05, 4);
  sparse_bundle_adjuster2<simple_rotation_camera<true>> adjusted(
      no_shared_lens(), start_cameras<true>(rig, 5), start_points(rig, 6), {}, rig.observations, none_for(10));
  expect_recovered(adjusted, rig, rig.points, 0.075);
}

TEST(SparseBundleAdjuster, the_reference_frame_form_recovers_the_same_rig) {
  // Points expressed in the frame of the reference camera 0: its rotation
  // is the truth, so the frame is that rotation.
  const rotation_rig rig = make_rotation_rig(6, 600, 0.5, 0.0, 7);
  const auto in_reference_frame = [&](std::vector<scene_point> points) {
    const double* r0 = rig.rotations[0].data();
    for (scene_point& p : points) {
      double d[3], e[3];
      direction_of(p.data(), d);
      for (int r = 0; r < 3; ++r) e[r] = r0[3 * r] * d[0] + r0[3 * r + 1] * d[1] + r0[3 * r + 2] * d[2];
      p = {std::atan2(e[1], e[0]), std::asin(e[2])};
    }
    return points;
  };
  sparse_bundle_adjuster<simple_rotation_camera<false>> adjusted(no_shared_lens(), start_cameras<false>(rig, 9), 0,
                                                                 in_reference_frame(start_points(rig, 8)),
                                                                 rig.observations);
  expect_recovered(adjusted, rig, in_reference_frame(rig.points), 0.05);
}

// The gradient J^T f at x, by the model's analytic or difference rows.
template <class Model>
std::vector<double> gradient_at(Model& model, const std::vector<double>& x, bool analytic) {
  std::vector<double> f(model.residual_count()), g(x.size());
  model.analytic_jacobian = analytic;
  model.residuals(x.data(), f.data());
  model.jacobian(x.data(), f.data());
  model.gradient(f.data(), g.data());
  return g;
}

// A point away from the optimum, where the gradient is large.
std::vector<double> shaken(std::vector<double> x, double amount) {
  for (std::size_t k = 0; k < x.size(); k += 7) x[k] += amount;
  return x;
}

TEST(SparseBundleAdjuster2, analytic_rows_with_the_robust_gain_are_the_derivative_of_the_cost) {
  const rotation_rig rig = make_rotation_rig(4, 150, 1.0, 0.1, 10);
  sparse_bundle_adjuster2<simple_rotation_camera<true>> model(no_shared_lens(), start_cameras<true>(rig, 11),
                                                              start_points(rig, 12), {}, rig.observations, none_for(4));
  ASSERT_FALSE(model.failed);
  const std::vector<double> x = shaken(model.parameters(), 1e-3);
  const std::vector<double> g = gradient_at(model, x, true);
  // Central differences of half the cost along each unknown, through the
  // model's own update so that rotation entries are local steps.
  std::vector<double> step(x.size(), 0.0), moved(x.size());
  const double h = 1e-6;
  for (std::size_t k = 0; k < x.size(); ++k) {
    step[k] = h;
    model.advance(x.data(), step.data(), moved.data());
    const double up = cost_at(model, moved);
    step[k] = -h;
    model.advance(x.data(), step.data(), moved.data());
    const double down = cost_at(model, moved);
    step[k] = 0.0;
    EXPECT_NEAR((up - down) / (4.0 * h), g[k], 1e-5 * (1.0 + std::fabs(g[k]))) << k;
  }
}

TEST(SparseBundleAdjuster2, difference_rows_agree_with_the_analytic_ones) {
  const rotation_rig rig = make_rotation_rig(4, 150, 1.0, 0.0, 10);
  sparse_bundle_adjuster2<simple_rotation_camera<false>> model(no_shared_lens(), start_cameras<false>(rig, 11),
                                                               start_points(rig, 12), {}, rig.observations, none_for(4));
  ASSERT_FALSE(model.failed);
  const std::vector<double> x = shaken(model.parameters(), 1e-2);
  const std::vector<double> analytic = gradient_at(model, x, true);
  std::vector<double> analytic_norms(x.size()), difference_norms(x.size());
  model.column_norms(analytic_norms.data());
  const std::vector<double> difference = gradient_at(model, x, false);
  model.column_norms(difference_norms.data());
  // Forward differences of step 1e-5 |v| carry a truncation error of about
  // that order relative to each row: a gradient entry, a sum of rows times
  // residuals, is held to that order of its Cauchy-Schwarz bound.
  const double residual_norm = std::sqrt(cost_at(model, x));
  for (std::size_t k = 0; k < x.size(); ++k) {
    EXPECT_NEAR(analytic_norms[k], difference_norms[k], 1e-4 * analytic_norms[k]) << k;
    EXPECT_NEAR(analytic[k], difference[k], 1e-5 * analytic_norms[k] * residual_norm) << k;
  }
}

TEST(SparseBundleAdjuster, construction_rules_for_cameras_and_sizes) {
  const rotation_rig rig = make_rotation_rig(3, 40, 0.5, 0.0, 13);
  const auto cameras = start_cameras<false>(rig, 14);
  // One camera: nothing to adjust, and no failure.
  const sparse_bundle_adjuster<simple_rotation_camera<false>> alone(no_shared_lens(), {cameras[0]}, 0, rig.points,
                                                                    {rig.observations[0]});
  EXPECT_FALSE(alone.failed);
  EXPECT_EQ(0u, alone.control.nfev);
  // A reference index equal to the camera count.
  const sparse_bundle_adjuster<simple_rotation_camera<false>> beyond(no_shared_lens(), cameras, 3, rig.points,
                                                                     rig.observations);
  EXPECT_TRUE(beyond.failed);
  // More unknowns than residuals: two observations of three points.
  const std::vector<std::vector<scene_observation>> sparse_views = {{{0, 10, 10}}, {{0, 12, 11}}, {}};
  const sparse_bundle_adjuster2<simple_rotation_camera<false>> underdetermined(
      no_shared_lens(), cameras, {{0, 0}, {0.1, 0}, {0.2, 0}}, {}, sparse_views, none_for(3));
  EXPECT_TRUE(underdetermined.failed);
  // An observation of a point that does not exist.
  const sparse_bundle_adjuster2<simple_rotation_camera<false>> nameless(no_shared_lens(), cameras, {{0, 0}}, {},
                                                                        {{{5, 1, 1}}, {}, {}}, none_for(3));
  EXPECT_TRUE(nameless.failed);
}

TEST(SparseBundleAdjuster2, fixed_points_steer_but_do_not_move) {
  const rotation_rig rig = make_rotation_rig(5, 400, 0.5, 0.0, 15);
  // The first 100 points are fixed at the truth, the rest start perturbed.
  std::vector<scene_point> fixed(rig.points.begin(), rig.points.begin() + 100);
  std::vector<scene_point> free_points = start_points(rig, 16);
  free_points.erase(free_points.begin(), free_points.begin() + 100);
  std::vector<std::vector<scene_observation>> observations(5), fixed_observations(5);
  for (std::size_t i = 0; i < 5; ++i) {
    for (scene_observation o : rig.observations[i]) {
      if (o.point < 100) {
        fixed_observations[i].push_back(o);
      } else {
        o.point -= 100;
        observations[i].push_back(o);
      }
    }
  }
  const sparse_bundle_adjuster2<simple_rotation_camera<false>> adjusted(no_shared_lens(), start_cameras<false>(rig, 17),
                                                                        free_points, fixed, observations,
                                                                        fixed_observations);
  ASSERT_FALSE(adjusted.failed);
  EXPECT_EQ(100u, adjusted.fixed_point_count);
  EXPECT_EQ(300u, adjusted.point_count);
  for (std::size_t i = 1; i < 5; ++i) EXPECT_LT(angle_between(adjusted.cameras[i].matrix, rig.rotations[i].data()), 0.05);
}

TEST(BundleAdjusterParts, the_robust_map_its_gain_and_the_longitude_wrap) {
  EXPECT_EQ(1.5, robust_residual(1.5, 2.0));
  EXPECT_EQ(2.0, robust_residual(2.0, 2.0));    // at t: unchanged
  EXPECT_EQ(2.0, robust_residual(-2.0, 2.0));   // at -t: the lower branch gives |r|
  EXPECT_DOUBLE_EQ(std::sqrt(20.0), robust_residual(6.0, 2.0));
  EXPECT_DOUBLE_EQ(std::sqrt(20.0), robust_residual(-6.0, 2.0));  // positive on both sides
  EXPECT_DOUBLE_EQ(2.0 / std::sqrt(20.0), robust_gain(6.0, 2.0));
  EXPECT_DOUBLE_EQ(-2.0 / std::sqrt(20.0), robust_gain(-6.0, 2.0));
  EXPECT_EQ(1.0, robust_gain(2.0, 2.0));
  EXPECT_NEAR(-pi + 0.1, wrap_longitude(pi + 0.1), 1e-15);
  EXPECT_NEAR(pi - 0.1, wrap_longitude(-pi - 0.1), 1e-15);
  EXPECT_EQ(1.0, wrap_longitude(1.0));
}

TEST(SparseBundleAdjuster2, a_point_seen_once_does_not_break_the_run) {
  const rotation_rig rig = make_rotation_rig(3, 200, 0.5, 0.0, 18);
  std::vector<scene_point> points = start_points(rig, 19);
  auto observations = rig.observations;
  points.push_back({0.3, 0.1});  // observed by one camera only: a singular 2 x 2 block
  observations[1].push_back({points.size() - 1, 400, 300});
  const sparse_bundle_adjuster2<simple_rotation_camera<false>> adjusted(no_shared_lens(), start_cameras<false>(rig, 20),
                                                                        points, {}, observations, none_for(3));
  EXPECT_GT(adjusted.control.nfev, 0u);  // it ran; failing or not, it ended without an exception
}

}  // namespace
