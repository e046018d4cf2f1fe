// A turning group as a Hugin project (.pto), so that Hugin's renderer nona
// and enblend make a full-resolution panorama from the alignment: per image
// its file, lens (rectilinear, field of view, centre shift) and orientation
// as yaw, pitch and roll; the panorama as a cylinder or a sphere cropped to
// the very region of the tool's preview, levelled as the preview is.
#pragma once

#include <array>
#include <optional>
#include <string>

#include "session/image_placement.h"

namespace lacewright_tool {

// Yaw, pitch and roll in degrees of a camera-to-panorama rotation in the
// engine's axes (x right, y down, z forward): yaw turns the view to the
// right, pitch up, and roll about the view's axis.
std::array<double, 3> yaw_pitch_roll(const matrix3& rotation);

// The inverse: the rotation of yaw, pitch and roll in degrees.
matrix3 rotation_of(const std::array<double, 3>& angles);

// A turned camera as a Hugin image line describes it. Hugin's renderer does
// not apply EXIF turns, so a turned file is described as stored, with its
// turn added to the roll.
struct hugin_image {
  double width = 0.0, height = 0.0;  // of the file's pixels
  double field_of_view = 0.0;        // degrees across the file's rows
  double yaw = 0.0, pitch = 0.0, roll = 0.0;  // degrees, from the panorama's middle longitude
  double shift_x = 0.0, shift_y = 0.0;        // of the optical centre from the middle, file pixels
};

hugin_image hugin_image_of(const input_image& image, const turned_placement& placement);

// The project text of a laid-out group of turned cameras; empty when the
// group has none.
std::optional<std::string> hugin_project(const alignment& run, const result_group& group,
                                         const group_layout& layout);

}  // namespace lacewright_tool
