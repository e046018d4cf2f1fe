// A turning group as a Hugin project (.pto), so that Hugin's renderer nona
// and enblend make a full-resolution panorama from the alignment: per image
// its file, lens (rectilinear, field of view, centre shift) and orientation
// as yaw, pitch and roll; the panorama as a cylinder or a sphere cropped to
// the very region of the tool's preview, levelled as the preview is.
#pragma once

#include <array>
#include <optional>
#include <string>

#include "tools/image_placement.h"

namespace lacewright_tool {

// Yaw, pitch and roll in degrees of a camera-to-panorama rotation in the
// engine's axes (x right, y down, z forward): yaw turns the view to the
// right, pitch up, and roll about the view's axis.
std::array<double, 3> yaw_pitch_roll(const matrix3& rotation);

// The inverse: the rotation of yaw, pitch and roll in degrees.
matrix3 rotation_of(const std::array<double, 3>& angles);

// The project text of a laid-out group of turned cameras; empty when the
// group has none.
std::optional<std::string> hugin_project(const alignment& run, const result_group& group,
                                         const group_layout& layout);

}  // namespace lacewright_tool
