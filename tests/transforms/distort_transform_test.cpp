// The planar group's quadrilateral transform: its record, its texts, and its
// bounds held against a dense walk through an independently solved
// homography.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <limits>
#include <memory>
#include <utility>

#include "border_walk.h"
#include "debug_capture.h"
#include "transforms/distort_transform.h"
#include "transforms/square_to_quad.h"

namespace {

using quad_corners = std::array<double, 8>;

DistortTransform placed(const quad_corners& quad, double height = 480.0, double width = 640.0) {
  const double rect[4] = {0.0, 0.0, height, width};
  return DistortTransform(rect, quad.data());
}

// A rectangle in order is moved to the origin (the whole-pixel translation
// below shows it); top below bottom, or left right of right, is kept as given.
TEST(DistortTransform, keeps_a_reversed_rectangle_as_given) {
  const quad_corners quad = {1, 2, 3, 4, 5, 6, 7, 8};
  for (const auto& reversed : {std::array{500.0, 20.0, 490.0, 660.0}, std::array{10.0, 700.0, 490.0, 660.0}}) {
    const DistortTransform kept(reversed.data(), quad.data());
    EXPECT_EQ(reversed, (std::array{kept.rect[0], kept.rect[1], kept.rect[2], kept.rect[3]}));
  }
}

TEST(DistortTransform, says_goodbye_on_the_debug_channel_and_prints_its_quad) {
  debug_capture capture;
  const double rect[4] = {0.0, 0.0, 480.0, 640.0};
  const double quad[8] = {37, -12, 677.5, -12.25, 677, 468.125, 37, 468};
  std::unique_ptr<PixelTransform> transform = std::make_unique<DistortTransform>(rect, quad);

  testing::internal::CaptureStderr();
  transform->debugPrint();
  EXPECT_EQ("rd2_mat = [37.000 -12.000; 677.500 -12.250; 677.000 468.125; 37.000 468.000];\n",
            testing::internal::GetCapturedStderr());

  double first = 7.0, second = 8.0;
  testing::internal::CaptureStdout();
  transform->getOffset(&first, &second);
  EXPECT_EQ("", testing::internal::GetCapturedStdout());
  EXPECT_EQ(7.0, first);
  EXPECT_EQ(8.0, second);

  EXPECT_EQ("", capture.text());
  transform.reset();
  EXPECT_EQ("Nuke distort\n", capture.text());
}

TEST(DistortTransform, a_whole_pixel_translation_gives_the_shifted_rectangle) {
  const double offset_rect[4] = {10.0, 20.0, 490.0, 660.0};
  const quad_corners shifted = {37, -12, 677, -12, 677, 468, 37, 468};
  const DistortTransform translated(offset_rect, shifted.data());
  const FrameRect source{0, 0, 480, 640};
  FrameRect out;
  translated.getBounds(&out, &source);
  EXPECT_EQ((FrameRect{-12, 37, 468, 677}), out);

  // A part of the image maps to the same part of the quad.
  const FrameRect left_half{0, 0, 480, 320};
  translated.getBounds(&out, &left_half);
  EXPECT_EQ((FrameRect{-12, 37, 468, 357}), out);
}

// Each corner is rounded between its neighbours in the order top-left,
// top-right, bottom-right, bottom-left: the top-left y (-23.26) follows the
// higher bottom-left and goes down to -24, the bottom-left x (-68.42)
// follows the larger bottom-right and goes down to -69; taken the other way
// round both would be rounded to the nearest.
TEST(DistortTransform, corners_are_rounded_between_their_neighbours_in_clockwise_order) {
  const FrameRect source{0, 0, 480, 640};
  FrameRect out;
  placed({-31.39, -23.26, 508.45, -6.14, 471.42, 428.7, -68.42, 411.58}).getBounds(&out, &source);
  EXPECT_EQ((FrameRect{-24, -69, 429, 509}), out);
}

// The homography that takes the corners of 0, 0 - width, height to the quad,
// with its last entry 1, from the eight linear equations of the four
// correspondences.
std::array<double, 9> homography_to(const quad_corners& quad, double width, double height) {
  const double from[4][2] = {{0, 0}, {width, 0}, {width, height}, {0, height}};
  double system[8][9] = {};
  for (int k = 0; k < 4; ++k) {
    const double x = from[k][0], y = from[k][1], X = quad[2 * k], Y = quad[2 * k + 1];
    const double row_x[9] = {x, y, 1, 0, 0, 0, -X * x, -X * y, X};
    const double row_y[9] = {0, 0, 0, x, y, 1, -Y * x, -Y * y, Y};
    std::copy(row_x, row_x + 9, system[2 * k]);
    std::copy(row_y, row_y + 9, system[2 * k + 1]);
  }
  for (int column = 0; column < 8; ++column) {
    int pivot = column;
    for (int row = column + 1; row < 8; ++row)
      if (std::abs(system[row][column]) > std::abs(system[pivot][column])) pivot = row;
    std::swap(system[column], system[pivot]);
    for (int row = 0; row < 8; ++row) {
      if (row == column) continue;
      const double factor = system[row][column] / system[column][column];
      for (int k = column; k < 9; ++k) system[row][k] -= factor * system[column][k];
    }
  }
  std::array<double, 9> H{};
  for (int k = 0; k < 8; ++k) H[k] = system[k][8] / system[k][k];
  H[8] = 1.0;
  return H;
}

TEST(DistortTransform, bounds_lie_within_a_pixel_of_a_dense_walk_through_the_homography) {
  const quad_corners quads[] = {
      {12.3, -20.7, 700.2, 15.1, 650.8, 510.4, -30.5, 460.9},
      {100.5, 50.25, 580.0, 80.75, 610.3, 400.1, 90.9, 430.6},
      {300.0, -100.0, 800.4, 200.2, 500.7, 700.9, 0.2, 400.3},
      {10.5, 20.5, 650.5, 60.5, 670.5, 540.5, 30.5, 500.5},  // a parallelogram: the affine case
      {-0.4, 0.6, 639.6, -0.4, 640.4, 479.5, 0.5, 480.6},
  };
  const FrameRect source{0, 0, 480, 640};
  const double border[4] = {0.0, 0.0, 640.0, 480.0};
  for (const quad_corners& quad : quads) {
    SCOPED_TRACE(quad[0]);
    const std::array<double, 9> H = homography_to(quad, 640.0, 480.0);
    double min_x = std::numeric_limits<double>::max(), max_x = -min_x, min_y = min_x, max_y = -min_x;
    walk_border(border, [&](double x, double y) {
      const double w = H[6] * x + H[7] * y + H[8];
      const double X = (H[0] * x + H[1] * y + H[2]) / w, Y = (H[3] * x + H[4] * y + H[5]) / w;
      min_x = std::min(min_x, X);
      max_x = std::max(max_x, X);
      min_y = std::min(min_y, Y);
      max_y = std::max(max_y, Y);
    });
    FrameRect out;
    placed(quad).getBounds(&out, &source);
    EXPECT_LT(std::abs(out.left - min_x), 1.0) << min_x;
    EXPECT_LT(std::abs(out.right - max_x), 1.0) << max_x;
    EXPECT_LT(std::abs(out.top - min_y), 1.0) << min_y;
    EXPECT_LT(std::abs(out.bottom - max_y), 1.0) << max_y;
  }
}

// P1, P2 and P3 on one line leave the projective part unsolvable: every
// corner goes to the origin, not to P0.
TEST(DistortTransform, three_collinear_corners_give_empty_bounds_at_the_origin) {
  const FrameRect source{0, 0, 480, 640};
  FrameRect out{1, 2, 3, 4};
  placed({10, 20, 100, 0, 100, 50, 100, 100}).getBounds(&out, &source);
  EXPECT_EQ((FrameRect{0, 0, 0, 0}), out);
}

// The infinite reciprocal of a zero width meets a zero offset and makes every
// coordinate NaN, which the rounding turns into the lowest 32-bit value.
TEST(DistortTransform, a_rectangle_of_zero_width_is_carried_through_unchecked) {
  const FrameRect source{0, 0, 100, 0};
  FrameRect out;
  placed({10, 20, 10, 20, 10, 120, 10, 120}, 100.0, 0.0).getBounds(&out, &source);
  constexpr int32_t lowest = std::numeric_limits<int32_t>::min();
  EXPECT_EQ((FrameRect{lowest, lowest, lowest, lowest}), out);
}

TEST(SquareToQuad, its_matrix_is_the_same_map) {
  const double quad[8] = {10, 5, 110, 20, 95, 140, -4, 120};
  const square_to_quad map(quad);
  const std::array<double, 9> m = map.matrix();
  for (const auto& [u, v] : {std::pair{0.0, 0.0}, {1.0, 0.0}, {1.0, 1.0}, {0.3, 0.7}}) {
    const auto expected = map(u, v);
    const double w = m[6] * u + m[7] * v + m[8];
    EXPECT_NEAR(expected[0], (m[0] * u + m[1] * v + m[2]) / w, 1e-9);
    EXPECT_NEAR(expected[1], (m[3] * u + m[4] * v + m[5]) / w, 1e-9);
  }
}

}  // namespace
