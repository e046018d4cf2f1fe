#include "outputs/hugin_project.h"

#include <cmath>
#include <filesystem>
#include <numbers>
#include <sstream>

#include "numerics/matrix_3x3.h"
#include "outputs/stored_pixels.h"

namespace lacewright_tool {
namespace {

constexpr double degrees_per_radian = 180.0 / std::numbers::pi;

matrix3 yaw_matrix(double a) { return {std::cos(a), 0, std::sin(a), 0, 1, 0, -std::sin(a), 0, std::cos(a)}; }
matrix3 pitch_matrix(double a) { return {1, 0, 0, 0, std::cos(a), -std::sin(a), 0, std::sin(a), std::cos(a)}; }
matrix3 roll_matrix(double a) { return {std::cos(a), -std::sin(a), 0, std::sin(a), std::cos(a), 0, 0, 0, 1}; }

matrix3 product(const matrix3& a, const matrix3& b) {
  matrix3 out;
  multiply_3x3(a.data(), b.data(), out.data());
  return out;
}

matrix3 transposed(const matrix3& m) {
  matrix3 out;
  transpose_3x3(m.data(), out.data());
  return out;
}

std::string image_line(const input_image& image, const turned_placement& placement) {
  const hugin_image values = hugin_image_of(image, placement);
  std::ostringstream line;
  line.precision(10);
  line << "i w" << values.width << " h" << values.height << " f0 v" << values.field_of_view << " y" << values.yaw
       << " p" << values.pitch << " r" << values.roll << " a0 b0 c0 d" << values.shift_x << " e" << values.shift_y
       << " g0 t0 Eev0 Er1 Eb1 Ra0 Rb0 Rc0 Rd0 Re0 Va1 Vb0 Vc0 Vd0 Vx0 Vy0 Vm5 TrX0 TrY0 TrZ0"
       << " n\"" << std::filesystem::absolute(image.name).string() << "\"\n";
  return line.str();
}

// The panorama's line: a canvas centred on the group's middle longitude and
// on the horizon, as wide as the group and as high as its farther reach,
// cropped to the region that the group covers.
std::string panorama_line(const turned_placement& any, const output_box& bounds) {
  const double width = std::ceil(bounds.right - bounds.left);
  const double height = std::ceil(2.0 * std::max(std::fabs(bounds.top), std::fabs(bounds.bottom)));
  const double field = width / any.pixels_per_radian * degrees_per_radian;
  std::ostringstream line;
  line.precision(10);
  line << "p f" << (any.surface == panorama_surface::sphere ? 2 : 1) << " w" << width << " h" << height << " v"
       << field << " E0 R0 S0," << width << "," << std::floor(height / 2 + bounds.top) << ","
       << std::ceil(height / 2 + bounds.bottom) << " n\"TIFF_m c:LZW r:CROP\"\n";
  return line.str();
}

}  // namespace

std::array<double, 3> yaw_pitch_roll(const matrix3& R) {
  const double yaw = std::atan2(R[2], R[8]);
  const double pitch = std::atan2(-R[5], std::hypot(R[2], R[8]));
  const matrix3 roll = product(transposed(pitch_matrix(pitch)), product(transposed(yaw_matrix(yaw)), R));
  return {yaw * degrees_per_radian, pitch * degrees_per_radian, std::atan2(roll[3], roll[0]) * degrees_per_radian};
}

hugin_image hugin_image_of(const input_image& image, const turned_placement& placement) {
  const turned_camera& c = placement.camera;
  const stored_turn turn = stored_turn_of(image.orientation);
  const point size = stored_size(image);
  const point shift = turn.offset({c.centre[0] - (image.width - 1) / 2.0, c.centre[1] - (image.height - 1) / 2.0});
  const double focal = turn.swaps_sides() ? c.focal[1] : c.focal[0];
  const std::array<double, 3> angles = yaw_pitch_roll(product(yaw_matrix(-placement.middle), c.rotation));
  // Adding 0 turns a negative zero into the zero that a reader expects.
  return {size[0],
          size[1],
          2.0 * std::atan(size[0] / (2.0 * focal)) * degrees_per_radian,
          angles[0] + 0.0,
          angles[1] + 0.0,
          angles[2] + turn.roll + 0.0,
          shift[0],
          shift[1]};
}

matrix3 rotation_of(const std::array<double, 3>& angles) {
  return product(yaw_matrix(angles[0] / degrees_per_radian),
                 product(pitch_matrix(angles[1] / degrees_per_radian), roll_matrix(angles[2] / degrees_per_radian)));
}

std::optional<std::string> hugin_project(const alignment& run, const result_group& group,
                                         const group_layout& layout) {
  std::ostringstream images;
  const turned_placement* any = nullptr;
  for (std::size_t k = 0; k < group.positions.size(); ++k) {
    const auto* placement = std::get_if<turned_placement>(&layout.placements[k]);
    if (!placement) continue;
    any = placement;
    images << image_line(run.images[static_cast<std::size_t>(run.results.sheetID[group.positions[k]])], *placement);
  }
  if (!any || !layout.bounds) return std::nullopt;
  return "# hugin project file\n# written by lacewright\n" + panorama_line(*any, *layout.bounds) + "m i0\n\n" +
         images.str();
}

}  // namespace lacewright_tool
