// The pieces of a rotation group on synthetic cameras: the refinement with
// its distortion stage, the vertical fitted to the cameras' axes, and the
// placement on the cylinder.
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <numbers>
#include <vector>

#include "numerics/matrix_3x3.h"
#include "numerics/rodrigues.h"
#include "rotation/fit_surface.h"
#include "rotation/up_direction.h"
#include "rotation_rig.h"

namespace {

using namespace test_support;
constexpr double degree = std::numbers::pi / 180.0;

std::array<double, 9> turn(double x, double y, double z) {
  const double v[3] = {x * degree, y * degree, z * degree};
  std::array<double, 9> r;
  rodrigues(v, r.data());
  return r;
}

std::array<double, 9> product(const std::array<double, 9>& a, const std::array<double, 9>& b) {
  std::array<double, 9> p;
  multiply_3x3(a.data(), b.data(), p.data());
  return p;
}

// A sweep of `count` cameras (camera to world) turning about the world's
// vertical y, the whole rig tilted by `tilt`.
group_cameras sweep(std::size_t count, const std::array<double, 9>& tilt) {
  group_cameras cameras;
  for (std::size_t i = 0; i < count; ++i) {
    cameras.rotations.push_back(product(tilt, turn(0, 25.0 * static_cast<double>(i), 0)));
    cameras.lenses.push_back({500, 500, 199.5, 149.5, 0, 0});
  }
  return cameras;
}

axis column(const std::array<double, 9>& r, std::size_t c) { return {r[c], r[3 + c], r[6 + c]}; }

double alignment(const axis& a, const axis& b) { return std::fabs(a[0] * b[0] + a[1] * b[1] + a[2] * b[2]); }

TEST(UpDirection, the_vertical_of_a_tilted_sweep_from_either_axis) {
  const std::array<double, 9> tilt = turn(12, 0, -7);
  const group_cameras cameras = sweep(6, tilt);
  std::vector<axis> x_axes, z_axes;
  for (const auto& r : cameras.rotations) {
    x_axes.push_back(column(r, 0));
    z_axes.push_back(column(r, 2));
  }
  const axis up = column(tilt, 1);
  const auto from_x = up_from_x_axes(x_axes);
  ASSERT_TRUE(from_x.has_value());
  EXPECT_NEAR(1.0, alignment(*from_x, up), 1e-9);
  const auto from_z = up_from_z_axes(z_axes);
  ASSERT_TRUE(from_z.has_value());
  EXPECT_NEAR(1.0, alignment(*from_z, up), 1e-9);
  EXPECT_FALSE(up_from_x_axes({x_axes[0]}).has_value());
  EXPECT_FALSE(up_from_z_axes({z_axes[0], z_axes[1]}).has_value());
}

TEST(FitSurface, a_camera_looking_at_the_pole_stops_the_walk) {
  group_cameras cameras = sweep(3, turn(0, 0, 0));
  cameras.rotations[1] = turn(90, 0, 0);  // its optical axis along the cylinder's axis
  const std::vector<FrameRect> rects(3, FrameRect{0, 0, 300, 400});
  view_graph graph(3);
  boost::add_edge(0, 1, graph);
  boost::add_edge(1, 2, graph);
  const surface_fit fit = place_on_cylinder(cameras, rects, graph, 0);
  EXPECT_EQ((std::vector<bool>{true, false, false}), fit.on_cylinder);  // 2 is reached only through 1
  EXPECT_EQ(1u, fit.count());
  EXPECT_LT(fit.bounds[0][0], 0.0);
  EXPECT_GT(fit.bounds[0][2], 0.0);
}

TEST(FitSurface, the_extra_pass_straightens_a_tilted_sweep_onto_the_reference_vertical) {
  // A sweep about a tilted vertical whose reference camera, number 2, is
  // pitched by 8 degrees of its own; the world is the reference's frame.
  group_cameras cameras = sweep(5, turn(15, 0, 10));
  cameras.rotations[2] = product(cameras.rotations[2], turn(8, 0, 0));
  std::array<double, 9> to_reference;
  transpose_3x3(cameras.rotations[2].data(), to_reference.data());
  for (auto& r : cameras.rotations) r = product(to_reference, r);
  const std::vector<FrameRect> rects(5, FrameRect{0, 0, 300, 400});
  view_graph graph(5);
  for (std::size_t i = 0; i + 1 < 5; ++i) boost::add_edge(i, i + 1, graph);

  const group_cameras before = cameras;
  EXPECT_EQ(5u, fit_surface(false, rects, graph, 2, cameras).count());
  EXPECT_EQ(before.rotations, cameras.rotations);  // no extra pass: nothing moves
  const surface_fit fit = fit_surface(true, rects, graph, 2, cameras);
  EXPECT_EQ(5u, fit.count());
  // The sweep's vertical is now the cylinder's axis: the cameras without a
  // pitch of their own stand upright, their heights reaching the rows above
  // and below the centre at mid-edge.
  for (const std::size_t i : {0u, 1u, 3u, 4u}) {
    EXPECT_NEAR(1.0, alignment(column(cameras.rotations[i], 1), {0, 1, 0}), 1e-9) << i;
    EXPECT_NEAR(-149.5 / 500, fit.bounds[i][1], 1e-9) << i;
    EXPECT_NEAR(150.5 / 500, fit.bounds[i][3], 1e-9) << i;
  }
  EXPECT_GT(-fit.bounds[2][1], fit.bounds[2][3] + 0.05);  // the reference looks down by its pitch
}

// A rig's views as a group: features at the observations, one track per
// scene point.
struct rig_group {
  std::vector<frame_features_ptr> frames;
  feature_tracks tracks;
  group_cameras start;
};

rig_group group_of(const rotation_rig& rig) {
  rig_group group;
  const auto cameras = start_cameras<false>(rig, 3);
  for (std::size_t i = 0; i < rig.rotations.size(); ++i) {
    frame_features_ptr frame(new frame_features);
    group.tracks.offsets.push_back(group.tracks.ids.size());
    for (const scene_observation& seen : rig.observations[i]) {
      feature_record feature{};
      feature.x = seen.x;
      feature.y = seen.y;
      frame->features.push_back(feature);
      group.tracks.ids.push_back(static_cast<int32_t>(seen.point));
    }
    group.frames.push_back(frame);
    std::array<double, 9> to_world;
    transpose_3x3(cameras[i].matrix, to_world.data());
    group.start.rotations.push_back(to_world);
    group.start.lenses.push_back({cameras[i].focal, cameras[i].focal, rig.cx, rig.cy, 0, 0});
  }
  group.tracks.track_count = static_cast<int32_t>(rig.points.size());
  group.tracks.observation_count = group.tracks.ids.size();
  return group;
}

group_cameras refined(const camera_refinement_options& options, const rig_group& group) {
  group_cameras cameras = group.start;
  refine_cameras(options, group.frames, group.tracks, 0, cameras);
  return cameras;
}

void expect_focal_lengths_of(const rotation_rig& rig, const group_cameras& cameras) {
  for (std::size_t i = 0; i < 6; ++i) EXPECT_NEAR(rig.focals[i], cameras.lenses[i].fx, 0.005 * rig.focals[i]) << i;
}

// The rig has no distortion: the fitted values are small but not 0, and a
// stage that reaches beyond its limit is dropped.
TEST(RefineCameras, either_adjuster_refines_the_group_and_a_distortion_stage_beyond_its_limits_is_dropped) {
  const rotation_rig rig = make_rotation_rig(6, 600, 0.5, 0.0, 21);
  for (const bool nonlinear : {true, false}) {
    SCOPED_TRACE(nonlinear ? "nonlinear" : "plain");
    rig_group group = group_of(rig);
    if (!nonlinear) {
      // The plain adjuster keeps its points in the reference camera's frame:
      // the world is the reference's, as the group stage gives it.
      const std::array<double, 9> to_reference = transposed(group.start.rotations[0]);
      for (auto& rotation : group.start.rotations) rotation = product(to_reference, rotation);
    }
    camera_refinement_options options;
    options.nonlinear_refine = nonlinear;
    const group_cameras plain = refined(options, group);
    expect_focal_lengths_of(rig, plain);
    EXPECT_EQ(0.0, plain.lenses[1].k1);

    options.estimate_distortion = true;
    const group_cameras distorted = refined(options, group);
    expect_focal_lengths_of(rig, distorted);
    EXPECT_NE(0.0, distorted.lenses[1].k1);
    EXPECT_LT(std::fabs(distorted.lenses[1].k1), 0.05);

    options.max_lens_parameter_a = 0.0;  // any k1 is beyond the limit
    const group_cameras limited = refined(options, group);
    EXPECT_EQ(plain.lenses, limited.lenses);
    EXPECT_EQ(plain.rotations, limited.rotations);

    options.refine_groups = false;
    EXPECT_EQ(group.start.lenses, refined(options, group).lenses);
  }
}

}  // namespace
