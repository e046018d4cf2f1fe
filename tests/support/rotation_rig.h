// A camera turning about its centre, for tests and benchmarks of the bundle
// adjusters: the camera type (one focal length, a fixed principal point, a
// rotation updated by local steps) and a synthetic rig of views and scene
// points with known truth.
#pragma once

#include <array>
#include <cmath>
#include <numbers>
#include <random>
#include <vector>

#include "numerics/matrix_3x3.h"
#include "numerics/rodrigues.h"
#include "solvers/bundle_adjuster.h"

namespace test_support {

using rotation = std::array<double, 9>;

inline void direction_of(const double point[2], double d[3]) {
  d[0] = std::cos(point[1]) * std::cos(point[0]);
  d[1] = std::cos(point[1]) * std::sin(point[0]);
  d[2] = std::sin(point[1]);
}

template <bool Robust>
struct simple_rotation_camera {
  using shared_record = shared_lens;
  static constexpr bool spherical_points = true;
  static constexpr bool robust = Robust;

  double focal = 0.0, cx = 0.0, cy = 0.0;
  double vector[3] = {};  // Rodrigues vector of `matrix`
  double matrix[9] = {1, 0, 0, 0, 1, 0, 0, 0, 1};
  double frame[9] = {1, 0, 0, 0, 1, 0, 0, 0, 1};
  bool rotation_free = true;
  double robust_threshold = 2.0;

  std::size_t block_size() const { return rotation_free ? 4 : 1; }
  void pack(double* block) const {
    block[0] = focal;
    if (rotation_free) std::copy(vector, vector + 3, block + 1);
  }
  void unpack(const shared_lens&, const double* block) {
    focal = block[0];
    if (!rotation_free) return;
    std::copy(block + 1, block + 4, vector);
    rodrigues(vector, matrix);
  }
  const double* rotation_matrix() const { return matrix; }
  void set_frame(const double f[9]) { std::copy(f, f + 9, frame); }

  // y = R F d(point).
  void ray(const double point[2], double y[3]) const {
    double d[3], e[3];
    direction_of(point, d);
    for (int r = 0; r < 3; ++r) e[r] = frame[3 * r] * d[0] + frame[3 * r + 1] * d[1] + frame[3 * r + 2] * d[2];
    for (int r = 0; r < 3; ++r) y[r] = matrix[3 * r] * e[0] + matrix[3 * r + 1] * e[1] + matrix[3 * r + 2] * e[2];
  }
  void project(const double point[2], double image[2]) const {
    double y[3];
    ray(point, y);
    image[0] = focal * y[0] / y[2] + cx;
    image[1] = focal * y[1] / y[2] + cy;
  }
  void derivatives(const double point[2], double*, std::size_t, double* camera_rows, std::size_t stride,
                   double point_rows[4]) const {
    double y[3];
    ray(point, y);
    const double a = focal / y[2];
    // d image / d y.
    const double jy[2][3] = {{a, 0.0, -a * y[0] / y[2]}, {0.0, a, -a * y[1] / y[2]}};
    camera_rows[0] = y[0] / y[2];
    camera_rows[stride] = y[1] / y[2];
    if (rotation_free) {
      // A local step k turns y by e_k x y.
      const double turned[3][3] = {{0.0, -y[2], y[1]}, {y[2], 0.0, -y[0]}, {-y[1], y[0], 0.0}};
      for (int k = 0; k < 3; ++k) {
        for (int row = 0; row < 2; ++row) {
          camera_rows[row * stride + 1 + k] =
              jy[row][0] * turned[k][0] + jy[row][1] * turned[k][1] + jy[row][2] * turned[k][2];
        }
      }
    }
    // d y / d (longitude, latitude) = R F d d / d (longitude, latitude).
    const double lon = point[0], lat = point[1];
    const double dd[2][3] = {{-std::cos(lat) * std::sin(lon), std::cos(lat) * std::cos(lon), 0.0},
                             {-std::sin(lat) * std::cos(lon), -std::sin(lat) * std::sin(lon), std::cos(lat)}};
    for (int c = 0; c < 2; ++c) {
      double e[3], dy[3];
      for (int r = 0; r < 3; ++r) e[r] = frame[3 * r] * dd[c][0] + frame[3 * r + 1] * dd[c][1] + frame[3 * r + 2] * dd[c][2];
      for (int r = 0; r < 3; ++r) dy[r] = matrix[3 * r] * e[0] + matrix[3 * r + 1] * e[1] + matrix[3 * r + 2] * e[2];
      for (int row = 0; row < 2; ++row) point_rows[2 * row + c] = jy[row][0] * dy[0] + jy[row][1] * dy[1] + jy[row][2] * dy[2];
    }
  }
  void advance(const double* block, const double* step, double* moved) const {
    moved[0] = block[0] + step[0];
    if (!rotation_free) return;
    double small[9], current[9], product[9];
    rodrigues(step + 1, small);
    rodrigues(block + 1, current);
    multiply_3x3(small, current, product);
    rodrigues_inv(product, moved + 1);
  }
};

// The angle in degrees between two rotations.
inline double angle_between(const double a[9], const double b[9]) {
  double trace = 0.0;
  for (int r = 0; r < 3; ++r) {
    for (int k = 0; k < 3; ++k) trace += a[3 * r + k] * b[3 * r + k];  // trace(a b^T)
  }
  return std::acos(std::clamp((trace - 1.0) / 2.0, -1.0, 1.0)) * 180.0 / std::numbers::pi;
}

struct rotation_rig {
  std::vector<rotation> rotations;
  std::vector<double> focals;
  double cx = 399.5, cy = 299.5;
  std::vector<scene_point> points;
  std::vector<std::vector<scene_observation>> observations;
};

// `cameras` views 36 degrees of yaw apart (ten close the circle) with a few
// degrees of pitch and roll, focal lengths near 380 pixels for 800 x 600
// images, and `points` scene points each seen by at least three views,
// observed with Gaussian noise of `noise` pixels; a share of the
// observations is replaced by random positions in the image.
inline rotation_rig make_rotation_rig(std::size_t cameras, std::size_t points, double noise, double outlier_share,
                                      unsigned seed) {
  constexpr double degree = std::numbers::pi / 180.0;
  std::mt19937 generator(seed);
  std::normal_distribution<double> gauss(0.0, 1.0);
  std::uniform_real_distribution<double> uniform(0.0, 1.0);
  rotation_rig rig;
  for (std::size_t i = 0; i < cameras; ++i) {
    const double yaw = 36.0 * degree * static_cast<double>(i), c = std::cos(yaw), s = std::sin(yaw);
    const double base[9] = {-s, c, 0.0, 0.0, 0.0, 1.0, c, s, 0.0};
    const double tilt[3] = {3.0 * degree * gauss(generator), 3.0 * degree * gauss(generator), 2.0 * degree * gauss(generator)};
    double small[9];
    rodrigues(tilt, small);
    rotation r{};
    multiply_3x3(small, base, r.data());
    rig.rotations.push_back(r);
    rig.focals.push_back(380.0 * (1.0 + 0.02 * gauss(generator)));
  }
  rig.observations.resize(cameras);
  while (rig.points.size() < points) {
    const double point[2] = {std::numbers::pi * (2.0 * uniform(generator) - 1.0), 30.0 * degree * (2.0 * uniform(generator) - 1.0)};
    std::vector<std::pair<std::size_t, std::array<double, 2>>> seen;
    for (std::size_t i = 0; i < cameras; ++i) {
      simple_rotation_camera<false> camera;
      camera.focal = rig.focals[i];
      camera.cx = rig.cx;
      camera.cy = rig.cy;
      std::copy(rig.rotations[i].begin(), rig.rotations[i].end(), camera.matrix);
      double y[3], image[2];
      camera.ray(point, y);
      if (y[2] <= 0.2) continue;
      camera.project(point, image);
      if (image[0] < 0 || image[1] < 0 || image[0] > 799 || image[1] > 599) continue;
      seen.push_back({i, {image[0], image[1]}});
    }
    if (seen.size() < 3) continue;
    const std::size_t j = rig.points.size();
    rig.points.push_back({point[0], point[1]});
    for (const auto& [i, image] : seen) {
      scene_observation o{j, image[0] + noise * gauss(generator), image[1] + noise * gauss(generator)};
      if (uniform(generator) < outlier_share) o = {j, 800.0 * uniform(generator), 600.0 * uniform(generator)};
      rig.observations[i].push_back(o);
    }
  }
  return rig;
}

// Cameras that start off the truth: rotations turned by about a degree and
// focal lengths a few per cent away; the first camera's rotation is fixed.
template <bool Robust>
std::vector<simple_rotation_camera<Robust>> start_cameras(const rotation_rig& rig, unsigned seed) {
  std::mt19937 generator(seed);
  std::normal_distribution<double> gauss(0.0, 1.0);
  std::vector<simple_rotation_camera<Robust>> cameras;
  for (std::size_t i = 0; i < rig.rotations.size(); ++i) {
    simple_rotation_camera<Robust> camera;
    camera.focal = rig.focals[i] * (1.0 + 0.03 * gauss(generator));
    camera.cx = rig.cx;
    camera.cy = rig.cy;
    camera.rotation_free = i != 0;
    double turn[3] = {}, small[9], start[9];
    if (i != 0) {
      for (double& t : turn) t = std::numbers::pi / 180.0 * gauss(generator);
    }
    rodrigues(turn, small);
    multiply_3x3(small, rig.rotations[i].data(), start);
    std::copy(start, start + 9, camera.matrix);
    rodrigues_inv(start, camera.vector);
    cameras.push_back(camera);
  }
  return cameras;
}

// Points moved off the truth by about a third of a degree.
inline std::vector<scene_point> start_points(const rotation_rig& rig, unsigned seed) {
  std::mt19937 generator(seed);
  std::normal_distribution<double> gauss(0.0, 0.3 * std::numbers::pi / 180.0);
  std::vector<scene_point> points = rig.points;
  for (scene_point& p : points) {
    p[0] += gauss(generator);
    p[1] += gauss(generator);
  }
  return points;
}

}  // namespace test_support
