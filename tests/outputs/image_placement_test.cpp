// Each image placed in pixels of the image as given, a turning group's
// horizon levelled (its cameras read as a Hugin project's angles), and a
// group drawn from its placements.
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <memory>
#include <vector>

#include "numerics/rodrigues.h"
#include "outputs/group_preview.h"
#include "outputs/hugin_project.h"
#include "photographs/default_scene.h"
#include "session/image_placement.h"
#include "transforms/cylindrical_transform.h"
#include "transforms/distort_transform.h"

namespace {

using namespace lacewright_tool;

constexpr matrix3 unit{1, 0, 0, 0, 1, 0, 0, 0, 1};

input_image image_named(int width, int height, int level) {
  return {"image", width, height, 1, frame_scale{level}};
}

// One group of `transforms` with sheet 0 as its reference.
void add_group(alignment& run, int32_t type, std::vector<std::unique_ptr<PixelTransform>> transforms) {
  MultiViewParams& results = run.results;
  results.groupCount.push_back(static_cast<int32_t>(transforms.size()));
  results.refSheetID.push_back(0);
  results.transformType.push_back(type);
  results.connectivity.push_back({});
  for (auto& transform : transforms) {
    results.sheetID.push_back(static_cast<int32_t>(results.sheetID.size()));
    results.renderable.push_back(true);
    results.transforms.push_back(std::move(transform));
  }
  run.cameras.resize(results.sheetID.size());
}

TEST(Placement, maps_planar_images_between_pixels_as_given) {
  // Frames 2 and 4 times smaller than the images; in frame pixels the
  // second frame lies shifted by (40, 10) on the reference frame.
  alignment run;
  run.images = {image_named(2400, 1800, 2), image_named(4800, 3600, 3)};
  std::vector<std::unique_ptr<PixelTransform>> transforms;
  transforms.push_back(nullptr);
  const double rect[4] = {0, 0, 450, 600}, quad[8] = {40, 10, 640, 10, 640, 460, 40, 460};
  transforms.push_back(std::make_unique<DistortTransform>(rect, quad));
  add_group(run, 0, std::move(transforms));
  const group_layout layout = lay_out_group(run, groups_of(run.results)[0], true);
  const auto& plane = std::get<plane_placement>(layout.placements[1]);
  for (const point frame_point : {point{0, 0}, point{599, 449}, point{123.5, 77.25}}) {
    const point expected = frame_scale{2}.to_given({frame_point[0] + 40, frame_point[1] + 10});
    const point mapped = plane.to_output(frame_scale{3}.to_given(frame_point));
    EXPECT_NEAR(expected[0], mapped[0], 1e-9);
    EXPECT_NEAR(expected[1], mapped[1], 1e-9);
  }
  EXPECT_FALSE(layout.levelled);
}

matrix3 turn(double x_degrees, double y_degrees, double z_degrees) {
  const double vector[3] = {x_degrees * M_PI / 180, y_degrees * M_PI / 180, z_degrees * M_PI / 180};
  matrix3 r;
  rodrigues(vector, r.data());
  return r;
}

matrix3 times(const matrix3& a, const matrix3& b) {
  matrix3 out{};
  for (int r = 0; r < 3; ++r) {
    for (int c = 0; c < 3; ++c) {
      for (int k = 0; k < 3; ++k) out[3 * r + c] += a[3 * r + k] * b[3 * k + c];
    }
  }
  return out;
}

matrix3 transposed(const matrix3& m) { return {m[0], m[3], m[6], m[1], m[4], m[7], m[2], m[5], m[8]}; }

// One group of 640 x 480 images on a cylinder, each camera turned by its
// rotation in the reference camera's axes.
void add_turning_group(alignment& run, const std::vector<matrix3>& rotations) {
  std::vector<std::unique_ptr<PixelTransform>> transforms;
  for (const matrix3& r : rotations) {
    run.images.push_back(image_named(640, 480, 0));
    SimpleCameraParameters camera;
    camera.focal_length()[0] = camera.focal_length()[1] = 500.0;
    camera.image_center()[0] = 319.5;
    camera.image_center()[1] = 239.5;
    transforms.push_back(std::make_unique<CylindricalTransform>(camera, r.data(), 500.0, 500.0, 0.0, 320.0, 240.0));
  }
  add_group(run, 1, std::move(transforms));
}

TEST(Placement, levels_the_horizon_of_a_sweep_about_a_leaning_axis) {
  // A sweep of five views 20 degrees apart, each pitched up 12 degrees. The
  // engine keeps the first camera's axes, in which the sweep's axis leans
  // and the other views seem rolled; levelled, every view has the pitch it
  // was taken with and no roll, and the turns between views stay.
  std::vector<matrix3> in_reference;
  for (int k = 0; k < 5; ++k) {
    in_reference.push_back(times(transposed(rotation_of({-40.0, 12.0, 0.0})), rotation_of({20.0 * k - 40.0, 12.0, 0.0})));
  }
  alignment run;
  add_turning_group(run, in_reference);
  const result_group group = groups_of(run.results)[0];

  const group_layout levelled = lay_out_group(run, group, true);
  EXPECT_TRUE(levelled.levelled);
  std::vector<std::array<double, 3>> angles;
  for (const image_placement& placement : levelled.placements) {
    const turned_placement& p = std::get<turned_placement>(placement);
    angles.push_back(yaw_pitch_roll(times(rotation_of({-p.middle * 180 / M_PI, 0, 0}), p.camera.rotation)));
  }
  for (std::size_t k = 0; k < 5; ++k) {
    EXPECT_NEAR(12.0, angles[k][1], 1e-6) << k;
    EXPECT_NEAR(0.0, angles[k][2], 1e-6) << k;
    if (k > 0) {
      EXPECT_NEAR(20.0, angles[k][0] - angles[k - 1][0], 1e-6) << k;
    }
  }
  EXPECT_NEAR(0.0, angles[0][0] + angles[4][0], 1e-6);  // the middle of the sweep looks ahead

  const group_layout kept = lay_out_group(run, group, false);
  EXPECT_FALSE(kept.levelled);
  EXPECT_EQ(levelled.level, kept.level);  // fitted all the same, for the JSON
  const turned_placement& reference = std::get<turned_placement>(kept.placements[0]);
  EXPECT_NEAR(0.0, yaw_pitch_roll(reference.camera.rotation)[1], 1e-9);
}

TEST(Placement, leaves_a_column_of_views_unlevelled) {
  // Views that turn only up and down share their x axis: no vertical can be
  // told from them, so the reference camera's axes stay.
  alignment run;
  add_turning_group(run, {turn(0.0, 0.0, 0.0), turn(-25.0, 0.0, 0.0), turn(-50.0, 0.0, 0.0)});
  EXPECT_EQ(unit, lay_out_group(run, groups_of(run.results)[0], true).level);
}

// Columns [first, first + width) of a picture, each channel times `gain`.
pixel_image crop(const pixel_image& picture, int first, int width, const std::array<double, 3>& gain) {
  pixel_image out{width, picture.height, std::vector<uint8_t>(4 * static_cast<std::size_t>(width) * picture.height)};
  for (int y = 0; y < picture.height; ++y) {
    for (int x = 0; x < width; ++x) {
      const uint8_t* from = &picture.pixels[4 * (static_cast<std::size_t>(y) * picture.width + first + x)];
      uint8_t* to = &out.pixels[4 * (static_cast<std::size_t>(y) * width + x)];
      to[0] = from[0];
      for (int c = 0; c < 3; ++c) to[1 + c] = static_cast<uint8_t>(std::lround(from[1 + c] * gain[c]));
    }
  }
  return out;
}

TEST(Preview, evens_out_the_exposures_of_overlapping_views) {
  // Two views of one picture side by side, the second exposed darker and
  // bluer; drawn together, the preview is the picture again up to one
  // factor per channel, with no step where the second view begins.
  const pixel_image scene = render_scene_view({});
  alignment run;
  run.images = {image_named(400, 480, 0), image_named(400, 480, 0)};
  std::vector<std::unique_ptr<PixelTransform>> transforms;
  transforms.push_back(nullptr);
  const double rect[4] = {0, 0, 480, 400}, quad[8] = {240, 0, 640, 0, 640, 480, 240, 480};
  transforms.push_back(std::make_unique<DistortTransform>(rect, quad));
  add_group(run, 0, std::move(transforms));
  const result_group group = groups_of(run.results)[0];
  const std::vector<image_file> pictures = {image_in_memory("a", crop(scene, 0, 400, {1.0, 1.0, 1.0})),
                                            image_in_memory("b", crop(scene, 240, 400, {0.75, 0.9, 0.8}))};
  const std::optional<group_picture> drawn = draw_group(run, group, lay_out_group(run, group, true), pictures, 640);
  ASSERT_TRUE(drawn);
  ASSERT_EQ(640, drawn->width);
  ASSERT_EQ(480, drawn->height);
  for (int c = 0; c < 3; ++c) {
    SCOPED_TRACE(c);
    double both = 0.0, own = 0.0;
    for (std::size_t i = 0; i < 640 * 480; ++i) {
      both += double(drawn->rgba[4 * i + c]) * scene.pixels[4 * i + 1 + c];
      own += double(scene.pixels[4 * i + 1 + c]) * scene.pixels[4 * i + 1 + c];
    }
    const double factor = both / own;
    double off = 0.0;
    for (std::size_t i = 0; i < 640 * 480; ++i) off += std::abs(drawn->rgba[4 * i + c] - factor * scene.pixels[4 * i + 1 + c]);
    EXPECT_LT(off / (640 * 480), 1.0);
  }
}

}  // namespace
