#include "photographs/default_scene.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

namespace lacewright_tool {
namespace {

uint64_t mix(uint64_t x) {
  x ^= x >> 30;
  x *= 0xbf58476d1ce4e5b9ULL;
  x ^= x >> 27;
  x *= 0x94d049bb133111ebULL;
  return x ^ (x >> 31);
}

double lattice_value(int64_t x, int64_t y, int64_t z, uint64_t seed) {
  const uint64_t key = mix(seed ^ mix(static_cast<uint64_t>(x) ^ mix(static_cast<uint64_t>(y) ^
                                                                    mix(static_cast<uint64_t>(z)))));
  return static_cast<double>(key >> 11) * 0x1.0p-53;
}

double smooth(double t) { return t * t * (3.0 - 2.0 * t); }

// Value noise in three dimensions, from 0 to 1.
double value_noise(double x, double y, double z, uint64_t seed) {
  const double fx = std::floor(x), fy = std::floor(y), fz = std::floor(z);
  const auto ix = static_cast<int64_t>(fx), iy = static_cast<int64_t>(fy), iz = static_cast<int64_t>(fz);
  const double tx = smooth(x - fx), ty = smooth(y - fy), tz = smooth(z - fz);
  double layer[2];
  for (int dz = 0; dz < 2; ++dz) {
    const double v00 = lattice_value(ix, iy, iz + dz, seed), v10 = lattice_value(ix + 1, iy, iz + dz, seed);
    const double v01 = lattice_value(ix, iy + 1, iz + dz, seed), v11 = lattice_value(ix + 1, iy + 1, iz + dz, seed);
    const double bottom = v00 + (v10 - v00) * tx, top = v01 + (v11 - v01) * tx;
    layer[dz] = bottom + (top - bottom) * ty;
  }
  return layer[0] + (layer[1] - layer[0]) * tz;
}

// Brightness of the scene in the direction d (unit vector): octaves of noise
// on the sphere, sharpened so that blobs and edges stand out.
double scene_brightness(const std::array<double, 3>& d) {
  double sum = 0.0, weight = 0.0, frequency = 12.0, amplitude = 1.0;
  for (int octave = 0; octave < 6; ++octave) {
    sum += amplitude * value_noise(d[0] * frequency, d[1] * frequency, d[2] * frequency, 17 + octave);
    weight += amplitude;
    frequency *= 2.0;
    amplitude *= 0.6;
  }
  return 0.5 + 0.5 * std::tanh(6.0 * (sum / weight - 0.5));
}

matrix3 camera_to_world(const turning_camera& camera) {
  const double yaw = camera.yaw_degrees * std::numbers::pi / 180.0;
  const double pitch = camera.pitch_degrees * std::numbers::pi / 180.0;
  const double cy = std::cos(yaw), sy = std::sin(yaw), cp = std::cos(pitch), sp = std::sin(pitch);
  // Yaw about the y axis (down), then pitch about the camera's x axis.
  return {cy, sy * sp, sy * cp, 0.0, cp, -sp, -sy, cy * sp, cy * cp};
}

}  // namespace

pixel_image render_scene_view(const turning_camera& camera) {
  pixel_image image;
  image.width = camera.width;
  image.height = camera.height;
  image.pixels.resize(static_cast<std::size_t>(camera.width) * camera.height * 4);
  const matrix3 rotation = camera_to_world(camera);
  const double cx = (camera.width - 1) * 0.5, cy = (camera.height - 1) * 0.5;

#pragma omp parallel for schedule(dynamic, 8)
  for (int y = 0; y < camera.height; ++y) {
    for (int x = 0; x < camera.width; ++x) {
      double brightness = 0.0;
      for (int sample = 0; sample < 4; ++sample) {  // 2 by 2 samples against aliasing
        const double ray[3] = {(x - cx + 0.25 + 0.5 * (sample & 1) - 0.5) / camera.focal_length,
                               (y - cy + 0.25 + 0.5 * (sample >> 1) - 0.5) / camera.focal_length, 1.0};
        std::array<double, 3> d{};
        for (int r = 0; r < 3; ++r) {
          d[r] = rotation[3 * r] * ray[0] + rotation[3 * r + 1] * ray[1] + rotation[3 * r + 2] * ray[2];
        }
        const double norm = std::sqrt(d[0] * d[0] + d[1] * d[1] + d[2] * d[2]);
        for (double& component : d) component /= norm;
        brightness += 0.25 * scene_brightness(d);
      }
      const auto level = static_cast<uint8_t>(std::clamp(brightness * 255.0 + 0.5, 0.0, 255.0));
      uint8_t* out = image.pixels.data() + 4 * (static_cast<std::size_t>(y) * camera.width + x);
      out[0] = 255;
      out[1] = out[2] = out[3] = level;
    }
  }
  return image;
}

std::vector<pixel_image> render_default_scene() {
  std::vector<pixel_image> views;
  for (int view = 0; view < 3; ++view) {
    turning_camera camera;
    camera.yaw_degrees = 18.0 * view;
    camera.pitch_degrees = 2.0 * view - 2.0;
    views.push_back(render_scene_view(camera));
  }
  return views;
}

}  // namespace lacewright_tool
