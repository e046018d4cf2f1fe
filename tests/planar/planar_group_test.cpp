// The planar group's camera and its joint refinement on synthetic views of
// a plane.
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <random>
#include <vector>

#include "planar/planar_camera.h"
#include "planar/refine_planar_group.h"

namespace {

using matrix = std::array<double, 9>;

// A projective map that moves and tilts slightly, about (200, 150).
matrix view_map(double shift_x, double shift_y, double tilt_x, double tilt_y, double turn) {
  const double c = std::cos(turn), s = std::sin(turn);
  return {c, -s, shift_x, s, c, shift_y, tilt_x, tilt_y, 1.0};
}

template <class Camera>
void expect_derivatives_match(Camera camera) {
  const std::size_t k = camera.block_size();
  std::vector<double> block(k), rows(2 * k, 0.0);
  camera.pack(block.data());
  const double point[2] = {120.0, -40.0};
  double point_rows[4];
  camera.derivatives(point, nullptr, 0, rows.data(), k, point_rows);
  const auto image_at = [&](const std::vector<double>& b, const double p[2]) {
    Camera moved = camera;
    moved.unpack(shared_lens{}, b.data());
    std::array<double, 2> image{};
    moved.project(p, image.data());
    return image;
  };
  for (std::size_t e = 0; e < k; ++e) {
    const double h = 1e-6 * std::max(1.0, std::fabs(block[e]));
    std::vector<double> up = block, down = block;
    up[e] += h;
    down[e] -= h;
    const auto a = image_at(up, point), b = image_at(down, point);
    EXPECT_NEAR((a[0] - b[0]) / (2 * h), rows[e], 1e-5 * (1 + std::fabs(rows[e]))) << e;
    EXPECT_NEAR((a[1] - b[1]) / (2 * h), rows[k + e], 1e-5 * (1 + std::fabs(rows[k + e]))) << e;
  }
  for (int c = 0; c < 2; ++c) {
    double up[2] = {point[0], point[1]}, down[2] = {point[0], point[1]};
    up[c] += 1e-4;
    down[c] -= 1e-4;
    const auto a = image_at(block, up), b = image_at(block, down);
    EXPECT_NEAR((a[0] - b[0]) / 2e-4, point_rows[c], 1e-6) << c;
    EXPECT_NEAR((a[1] - b[1]) / 2e-4, point_rows[2 + c], 1e-6) << c;
  }
}

TEST(PlanarCamera, derivatives_agree_with_differences_for_every_lens_and_block) {
  robust_planar_camera camera;
  camera.h = view_map(12.0, -7.0, 2e-4, -1e-4, 0.05);
  expect_derivatives_match(camera);
  camera.free = false;
  expect_derivatives_match(camera);
  camera.free = true;
  camera.lens_code = planar_lens_distortion;
  camera.centre = {3.0, -2.0};
  camera.distortion = {2e-7, -1e-12};
  EXPECT_EQ(11u, camera.block_size());
  expect_derivatives_match(camera);
  camera.lens_code = planar_lens_centre_and_distortion;
  EXPECT_EQ(13u, camera.block_size());
  expect_derivatives_match(camera);
  // The plane position of an image point inverts the projection.
  camera.distortion = {0.0, 0.0};
  double image[2];
  const double point[2] = {30.0, 55.0};
  camera.project(point, image);
  const auto back = camera.on_plane(image[0], image[1]);
  EXPECT_NEAR(30.0, back[0], 1e-9);
  EXPECT_NEAR(55.0, back[1], 1e-9);
}

// Frames that see one plane, the first being the reference (the identity
// map); `count` plane points each seen by every frame with noise.
struct planar_scene {
  std::vector<matrix> truth;
  std::vector<frame_features_ptr> frames;
  feature_tracks tracks;
};

planar_scene make_scene(std::size_t count, double noise, unsigned seed) {
  planar_scene scene;
  scene.truth = {view_map(0, 0, 0, 0, 0), view_map(-120.0, 8.0, 1.5e-4, -0.5e-4, 0.02),
                 view_map(-230.0, 20.0, 3e-4, 0.5e-4, -0.03)};
  std::mt19937 generator(seed);
  std::uniform_real_distribution<double> x(0.0, 600.0), y(0.0, 300.0);
  std::normal_distribution<double> gauss(0.0, noise);
  std::vector<std::array<double, 2>> points(count);
  for (auto& p : points) p = {x(generator), y(generator)};
  for (const matrix& h : scene.truth) {
    frame_features_ptr frame(new frame_features);
    scene.tracks.offsets.push_back(scene.tracks.ids.size());
    for (std::size_t t = 0; t < count; ++t) {
      plain_planar_camera camera;
      camera.h = h;
      double image[2];
      camera.project(points[t].data(), image);
      feature_record feature{};
      feature.x = image[0] + gauss(generator);
      feature.y = image[1] + gauss(generator);
      frame->features.push_back(feature);
      scene.tracks.ids.push_back(static_cast<int32_t>(t));
    }
    scene.frames.push_back(frame);
  }
  scene.tracks.track_count = static_cast<int32_t>(count);
  scene.tracks.observation_count = scene.tracks.ids.size();
  return scene;
}

// The largest distance between the images of the frame's corners under two maps.
double corner_distance(const matrix& a, const matrix& b) {
  plain_planar_camera ca, cb;
  ca.h = a;
  cb.h = b;
  double worst = 0.0;
  for (const std::array<double, 2> corner : {std::array<double, 2>{0, 0}, {400, 0}, {400, 300}, {0, 300}}) {
    double pa[2], pb[2];
    ca.project(corner.data(), pa);
    cb.project(corner.data(), pb);
    worst = std::max(worst, std::hypot(pa[0] - pb[0], pa[1] - pb[1]));
  }
  return worst;
}

TEST(RefinePlanarGroup, perturbed_motions_are_brought_back_onto_the_plane) {
  const planar_scene scene = make_scene(300, 0.3, 5);
  std::vector<h_matrix_2d> start;
  for (std::size_t i = 0; i < 3; ++i) {
    h_matrix_2d m(homography_projective);
    matrix perturbed = scene.truth[i];
    if (i != 0) {
      perturbed[2] += 4.0;
      perturbed[5] -= 3.0;
      perturbed[6] += 2e-5;
    }
    std::copy(perturbed.begin(), perturbed.end(), m.parameters);
    start.push_back(m);
  }
  const std::vector<std::array<double, 2>> centres(3, {199.5, 149.5});
  planar_refinement_options options;
  const planar_refinement refined = refine_planar_group(options, scene.frames, scene.tracks, start, centres, 0);
  for (std::size_t i = 0; i < 3; ++i) {
    matrix h;
    std::copy(refined.motions[i].parameters, refined.motions[i].parameters + 9, h.begin());
    EXPECT_LT(corner_distance(h, scene.truth[i]), 0.2) << i;
    EXPECT_EQ(homography_projective, refined.motions[i].type);
  }
  EXPECT_TRUE(refined.centres.empty());

  // The lens stage: no distortion in the scene, so the fitted values stay
  // small and the maps stay put; the start centres are kept without option a.
  options.estimate_distortion = true;
  const planar_refinement lens = refine_planar_group(options, scene.frames, scene.tracks, start, centres, 0);
  ASSERT_EQ(3u, lens.distortions.size());
  EXPECT_EQ(centres, lens.centres);
  for (std::size_t i = 0; i < 3; ++i) {
    matrix h;
    std::copy(lens.motions[i].parameters, lens.motions[i].parameters + 9, h.begin());
    EXPECT_LT(corner_distance(h, scene.truth[i]), 0.3) << i;
    EXPECT_LT(std::fabs(lens.distortions[i][0]), 1e-6) << i;
  }

  options.refine_groups = false;
  const planar_refinement untouched = refine_planar_group(options, scene.frames, scene.tracks, start, centres, 0);
  EXPECT_EQ(start[1].parameters[2], untouched.motions[1].parameters[2]);
}

}  // namespace
