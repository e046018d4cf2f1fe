// The tool on pictures of the sizes cameras write, which intake halves
// before the engine sees them: views rendered at 2400 x 1800 by a camera
// turning about its centre with known rotations and focal length, a plane
// seen through known homographies, the same views stored turned with an
// EXIF orientation, and the shared sets enlarged to 2400 pixels and to
// 6000 x 4500. Every number of the JSON must be in pixels of the images as
// given.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <nlohmann/json.hpp>
#include <numbers>
#include <string>
#include <vector>

#include "numerics/matrix_3x3.h"
#include "photographs.h"
#include "tool_test_support.h"
#include "turning_views.h"

namespace {

using nlohmann::json;
using namespace tool_test;
using test_support::grey_image;
using test_support::homography;

using matrix = std::array<double, 9>;

constexpr int view_width = 2400, view_height = 1800;
constexpr double view_focal = 2000.0;

matrix transposed(const matrix& m) { return {m[0], m[3], m[6], m[1], m[4], m[7], m[2], m[5], m[8]}; }

matrix product(const matrix& a, const matrix& b) {
  matrix out;
  multiply_3x3(a.data(), b.data(), out.data());
  return out;
}

double degrees_between(const matrix& a, const matrix& b) {
  const matrix r = product(transposed(a), b);
  const double cosine = std::clamp((r[0] + r[4] + r[8] - 1.0) / 2.0, -1.0, 1.0);
  return std::acos(cosine) * 180.0 / std::numbers::pi;
}

matrix rotation_of(const json& values) {
  matrix m;
  for (std::size_t k = 0; k < 9; ++k) m[k] = values[k].get<double>();
  return m;
}

// Views of the first uttower photograph, taken as a pinhole of focal length
// 600 at the unit rotation, by a camera of focal length 2000 at 2400 x 1800
// pixels: about 1.2 photograph pixels to a frame sample once intake has
// halved the views twice.
const test_support::turning_views& turning_set() {
  static const test_support::turning_views views = [] {
    const auto paths = test_support::photograph_set("uttower");
    if (paths.empty()) return test_support::turning_views{};
    return test_support::render_turning_views(test_support::read_grey(paths[0]), 600.0, view_focal, view_width,
                                              view_height,
                                              {{1.0, -8.0, 0.5}, {-1.0, -2.5, -1.0}, {1.5, 3.0, 1.0}, {-0.5, 8.5, -0.5}});
  }();
  return views;
}

class LargePhotographs : public ToolTest {
 protected:
  void SetUp() override {
    if (test_support::photograph_folder().empty()) GTEST_SKIP() << "no photograph folder (set LACEWRIGHT_DATA_DIR)";
    ToolTest::SetUp();
  }

  json align(const std::string& arguments) {
    const outcome result = run("--quiet --json " + in_folder("run.json") + " " + arguments);
    EXPECT_EQ(0, result.exit_code) << result.err;
    return json::parse(slurp(in_folder("run.json")));
  }

  // Saves the views as JPEG files stored with `orientation`; their folder.
  std::string save_views(const std::vector<grey_image>& views, int orientation) {
    const std::string folder = in_folder("views" + std::to_string(orientation));
    std::filesystem::create_directories(folder);
    for (std::size_t k = 0; k < views.size(); ++k) {
      save_grey(folder + "/view" + std::to_string(k) + ".jpg", views[k], orientation, "[Q=95]");
    }
    return folder;
  }

  void expect_turning_camera_as_rendered(int orientation) {
    const test_support::turning_views& views = turning_set();
    const json document = align(save_views(views.images, orientation));
    ASSERT_EQ(1u, document["groups"].size());
    const json& images = document["images"];
    ASSERT_EQ(views.images.size(), images.size());
    std::vector<matrix> engine;
    for (const json& image : images) {
      SCOPED_TRACE(image["file"].get<std::string>());
      EXPECT_EQ(view_width, image["width"]);
      EXPECT_EQ(view_height, image["height"]);
      EXPECT_EQ(2, image["reduction_level"]);
      const json& camera = image["transform"];
      ASSERT_EQ("cylindrical", camera["kind"]);
      EXPECT_NEAR(view_focal, camera["focal_length"][0].get<double>(), 0.005 * view_focal);
      EXPECT_NEAR((view_width - 1) / 2.0, camera["centre"][0].get<double>(), 1.0);
      EXPECT_NEAR((view_height - 1) / 2.0, camera["centre"][1].get<double>(), 1.0);
      engine.push_back(rotation_of(camera["rotation"]));
    }
    // The engine's rotation takes a camera's rays to the reference camera's;
    // the rendered ones take the scene's rays to the camera's.
    for (std::size_t i = 0; i < engine.size(); ++i) {
      for (std::size_t j = i + 1; j < engine.size(); ++j) {
        const matrix found = product(transposed(engine[i]), engine[j]);
        const matrix truth = product(views.rotations[i], transposed(views.rotations[j]));
        EXPECT_LT(degrees_between(found, truth), 0.05) << i << " to " << j;
      }
    }
  }
};

// Views stored turned by their EXIF orientation give the same camera.
TEST_F(LargePhotographs, a_turning_camera_at_2400_pixels_is_found_in_pixels_of_the_images_however_stored) {
  for (const int orientation : {1, 6}) {
    SCOPED_TRACE(orientation);
    expect_turning_camera_as_rendered(orientation);
  }
}

TEST_F(LargePhotographs, a_plane_at_2400_pixels_is_mapped_within_a_pixel_over_the_overlap) {
  // A photograph of a flat scene, enlarged 4.5 times, seen through three
  // homographies that shift, turn and tilt it.
  grey_image photograph = test_support::read_grey(test_support::photograph_set("pier")[0]);
  const homography enlarge = {4.5, 0, 0, 0, 4.5, 0, 0, 0, 1};
  const std::vector<homography> views = {
      {1.0, 0.02, -300.0, -0.01, 1.0, -150.0, 0.0, 0.0, 1.0},
      {0.97, 0.05, -900.0, -0.04, 0.99, -120.0, 1.2e-5, -0.6e-5, 1.0},
      {1.02, -0.03, -200.0, 0.02, 1.01, -520.0, -0.8e-5, 1.5e-5, 1.0}};
  std::vector<grey_image> images;
  std::vector<homography> maps;  // photograph pixels to view pixels
  for (const homography& view : views) {
    homography map;
    multiply_3x3(view.data(), enlarge.data(), map.data());
    maps.push_back(map);
    images.push_back(test_support::warp(photograph, map, view_width, view_height));
  }
  const json document = align("--type -1 " + save_views(images, 1));
  ASSERT_EQ(1u, document["groups"].size());
  EXPECT_EQ("projective", document["groups"][0]["kind"]);
  const int reference = document["groups"][0]["reference"];
  for (const json& image : document["images"]) {
    const int k = image["image"];
    if (k == reference) continue;
    SCOPED_TRACE(k);
    const homography found = rotation_of(image["transform"]["homography"]);
    // The truth from view k back to the photograph and on to the reference.
    const homography back = test_support::inverse(maps[static_cast<std::size_t>(k)]);
    double worst = 0.0;
    std::size_t checked = 0;
    for (int y = 0; y < view_height; y += 50) {
      for (int x = 0; x < view_width; x += 50) {
        const auto [sx, sy] = test_support::apply(back, x, y);
        if (sx < 0 || sy < 0 || sx > photograph.width - 1 || sy > photograph.height - 1) continue;
        const auto [rx, ry] = test_support::apply(maps[static_cast<std::size_t>(reference)], sx, sy);
        if (rx < 0 || ry < 0 || rx > view_width - 1 || ry > view_height - 1) continue;
        const auto [fx, fy] = test_support::apply(found, x, y);
        worst = std::max(worst, std::hypot(fx - rx, fy - ry));
        ++checked;
      }
    }
    EXPECT_GT(checked, 300u);
    EXPECT_LE(worst, 1.0);
  }
}

// A shared set's focal lengths in pixels of the images as given, image by
// image, by the tool.
std::vector<double> focal_lengths(const json& document) {
  std::vector<double> focal;
  for (const json& image : document["images"]) focal.push_back(image["transform"]["focal_length"][0].get<double>());
  return focal;
}

TEST_F(LargePhotographs, enlarged_shared_sets_keep_their_lens_in_pixels_of_the_images) {
  // Enlarged photographs hold no more detail than the originals, but the
  // lens they were taken with is the same: its focal length in pixels
  // grows with the enlargement, whatever intake does to the frames.
  struct enlargement {
    const char* set;
    int width, height;
  };
  for (const enlargement& e : {enlargement{"hill", 2400, 1800}, enlargement{"ledge", 2400, 1800},
                               enlargement{"pier", 2400, 1796}, enlargement{"rainier", 2400, 1801},
                               enlargement{"uttower", 2400, 1601}, enlargement{"hill", 6000, 4500}}) {
    SCOPED_TRACE(std::string(e.set) + " at " + std::to_string(e.width));
    const json original_document = align((test_support::photograph_folder() / e.set).string());
    const std::vector<double> original = focal_lengths(original_document);
    const double factor = e.width / original_document["images"][0]["width"].get<double>();
    const auto folder = folder_ / (std::string(e.set) + std::to_string(e.width));
    enlarged_set(e.set, folder, e.width, e.height);
    const json enlarged = align(folder.string());
    ASSERT_EQ(1u, enlarged["groups"].size());
    const std::vector<double> focal = focal_lengths(enlarged);
    ASSERT_EQ(original.size(), focal.size());
    for (std::size_t k = 0; k < focal.size(); ++k) {
      EXPECT_NEAR(original[k] * factor, focal[k], 0.03 * original[k] * factor) << k;
      EXPECT_NEAR((e.width - 1) / 2.0, enlarged["images"][k]["transform"]["centre"][0].get<double>(), 1.0);
    }
  }
}

}  // namespace
