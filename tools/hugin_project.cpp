#include "tools/hugin_project.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <numbers>
#include <sstream>
#include <vector>

#include "mvg/matrix_3x3.h"
#include "sources/transformation_type.h"

namespace lacewright_tool {
namespace {

using matrix = std::array<double, 9>;

constexpr double degrees_per_radian = 180.0 / std::numbers::pi;

matrix yaw_matrix(double a) { return {std::cos(a), 0, std::sin(a), 0, 1, 0, -std::sin(a), 0, std::cos(a)}; }
matrix pitch_matrix(double a) { return {1, 0, 0, 0, std::cos(a), -std::sin(a), 0, std::sin(a), std::cos(a)}; }
matrix roll_matrix(double a) { return {std::cos(a), -std::sin(a), 0, std::sin(a), std::cos(a), 0, 0, 0, 1}; }

matrix product(const matrix& a, const matrix& b) {
  matrix out;
  multiply_3x3(a.data(), b.data(), out.data());
  return out;
}

matrix transposed(const matrix& m) {
  matrix out;
  transpose_3x3(m.data(), out.data());
  return out;
}

// How far the group reaches around the vertical and up or down: longitudes
// in radians, and the vertical coordinate of the panorama's projection
// (the tangent of the latitude on a cylinder, the latitude on a sphere).
struct panorama_extent {
  bool sphere = false;
  double first_longitude = INFINITY, last_longitude = -INFINITY;
  double reach = 0.0;

  void add(const turned_camera& camera, double width, double height) {
    const ray middle = camera.ray_of(camera.centre);
    const double middle_longitude = std::atan2(middle[0], middle[2]);
    constexpr int samples = 32;
    for (int s = 0; s <= samples; ++s) {
      const double t = static_cast<double>(s) / samples;
      for (const point p : {point{t * width, 0}, point{t * width, height}, point{0, t * height}, point{width, t * height}}) {
        const ray r = camera.ray_of(p);
        const double around = std::hypot(r[0], r[2]);
        const double longitude = middle_longitude + std::remainder(std::atan2(r[0], r[2]) - middle_longitude,
                                                                   2.0 * std::numbers::pi);
        first_longitude = std::min(first_longitude, longitude);
        last_longitude = std::max(last_longitude, longitude);
        reach = std::max(reach, std::fabs(sphere ? std::atan2(r[1], around) : r[1] / around));
      }
    }
  }
};

// The file as Hugin reads it: EXIF turns are not applied by its renderer, so
// a turned file is described as stored, with its turn added to the roll.
struct stored_image {
  double width, height;     // of the file's pixels
  double focal;             // along the file's rows
  double shift_x, shift_y;  // of the optical centre from the middle, file pixels
  double extra_roll;        // degrees
};

stored_image as_stored(const input_image& image, const turned_camera& c) {
  const double w = image.width, h = image.height;
  const double dx = c.centre[0] - w / 2, dy = c.centre[1] - h / 2;
  switch (image.orientation) {
    case 3: return {w, h, c.focal[0], -dx, -dy, 180.0};
    case 6: return {h, w, c.focal[1], dy, -dx, -90.0};
    case 8: return {h, w, c.focal[1], -dy, dx, 90.0};
    default: return {w, h, c.focal[0], dx, dy, 0.0};
  }
}

std::string image_line(const input_image& image, const turned_camera& c, double middle_phase) {
  const stored_image stored = as_stored(image, c);
  const matrix centred = product(yaw_matrix(-middle_phase), c.rotation);
  const std::array<double, 3> angles = yaw_pitch_roll(centred);
  const double field = 2.0 * std::atan(stored.width / (2.0 * stored.focal)) * degrees_per_radian;
  std::ostringstream line;
  line.precision(10);
  // Adding 0 turns a negative zero into the zero that a reader expects.
  line << "i w" << stored.width << " h" << stored.height << " f0 v" << field << " y" << angles[0] + 0.0 << " p"
       << angles[1] + 0.0 << " r" << angles[2] + stored.extra_roll + 0.0 << " a0 b0 c0 d" << stored.shift_x << " e"
       << stored.shift_y << " g0 t0 Eev0 Er1 Eb1 Ra0 Rb0 Rc0 Rd0 Re0 Va1 Vb0 Vc0 Vd0 Vx0 Vy0 Vm5 TrX0 TrY0 TrZ0"
       << " n\"" << std::filesystem::absolute(image.name).string() << "\"\n";
  return line.str();
}

}  // namespace

std::array<double, 3> yaw_pitch_roll(const matrix& R) {
  const double yaw = std::atan2(R[2], R[8]);
  const double pitch = std::atan2(-R[5], std::hypot(R[2], R[8]));
  const matrix roll = product(transposed(pitch_matrix(pitch)), product(transposed(yaw_matrix(yaw)), R));
  return {yaw * degrees_per_radian, pitch * degrees_per_radian, std::atan2(roll[3], roll[0]) * degrees_per_radian};
}

matrix rotation_of(const std::array<double, 3>& angles) {
  return product(yaw_matrix(angles[0] / degrees_per_radian),
                 product(pitch_matrix(angles[1] / degrees_per_radian), roll_matrix(angles[2] / degrees_per_radian)));
}

// The turned camera of a placement on a cylinder or a sphere, with the
// panorama's pixels per radian.
std::optional<std::pair<turned_camera, double>> turned(const image_placement& placement) {
  if (const auto* c = std::get_if<cylinder_placement>(&placement)) return std::pair{c->camera, c->scale[0]};
  if (const auto* s = std::get_if<sphere_placement>(&placement)) return std::pair{s->camera, s->pixels_per_radian};
  return std::nullopt;
}

std::optional<std::string> hugin_project(const alignment& run, const result_group& group) {
  std::vector<std::pair<const input_image*, turned_camera>> cameras;
  panorama_extent extent{group.transform_type == transform_spherical};
  double pixels_per_radian = 0.0;
  for (const std::size_t position : group.positions) {
    const auto camera = turned(place_image(run, group, position));
    if (!camera) continue;
    const input_image& image = run.images[static_cast<std::size_t>(run.results.sheetID[position])];
    cameras.emplace_back(&image, camera->first);
    pixels_per_radian = camera->second;
    extent.add(camera->first, image.width, image.height);
  }
  if (cameras.empty()) return std::nullopt;

  const double around = std::min(extent.last_longitude - extent.first_longitude, 2.0 * std::numbers::pi);
  const double middle = (extent.first_longitude + extent.last_longitude) / 2.0;
  std::ostringstream project;
  project.precision(10);
  project << "# hugin project file\n# written by lacewright\n";
  project << "p f" << (extent.sphere ? 2 : 1) << " w" << std::ceil(around * pixels_per_radian) << " h"
          << std::ceil(2.0 * extent.reach * pixels_per_radian) << " v" << around * degrees_per_radian
          << " E0 R0 n\"TIFF_m c:LZW r:CROP\"\n";
  project << "m i0\n\n";
  for (const auto& [image, camera] : cameras) project << image_line(*image, camera, middle);
  return project.str();
}

}  // namespace lacewright_tool
