// The check every camera type of the adjusters passes: its analytic rows
// against central differences of its projection, by the shared block, by
// its own block (stepped through its own update) and by the point.
#pragma once

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstddef>
#include <vector>

namespace test_support {

// The image of a point for the camera unpacked from a camera block and a
// shared block.
template <class Camera>
std::array<double, 2> image_at(Camera camera, typename Camera::shared_record shared,
                               const std::vector<double>& shared_block, const std::vector<double>& block,
                               const double point[2]) {
  shared.read(shared_block.data());
  camera.unpack(shared, block.data());
  std::array<double, 2> image{};
  camera.project(point, image.data());
  return image;
}

template <class Camera>
void expect_derivatives_match(Camera camera, const typename Camera::shared_record& shared, const double point[2]) {
  const std::size_t s = shared.block_size(), k = camera.block_size();
  std::vector<double> shared_block(s), block(k);
  shared.write(shared_block.data());
  camera.pack(block.data());
  typename Camera::shared_record read_back = shared;  // one focal length reads as fx and fy
  read_back.read(shared_block.data());
  camera.unpack(read_back, block.data());

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
    expect_column(image_at(camera, shared, up, block, point), image_at(camera, shared, down, block, point),
                  shared_rows[e], shared_rows[s + e], "shared", e);
  }
  for (std::size_t e = 0; e < k; ++e) {
    std::vector<double> step(k, 0.0), up(k), down(k);
    step[e] = h;
    camera.advance(block.data(), step.data(), up.data());
    step[e] = -h;
    camera.advance(block.data(), step.data(), down.data());
    expect_column(image_at(camera, shared, shared_block, up, point), image_at(camera, shared, shared_block, down, point),
                  camera_rows[e], camera_rows[k + e], "camera", e);
  }
  for (int c = 0; c < 2; ++c) {
    double up[2] = {point[0], point[1]}, down[2] = {point[0], point[1]};
    up[c] += h;
    down[c] -= h;
    expect_column(image_at(camera, shared, shared_block, block, up), image_at(camera, shared, shared_block, block, down),
                  point_rows[c], point_rows[2 + c], "point", static_cast<std::size_t>(c));
  }
}

}  // namespace test_support
