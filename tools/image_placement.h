// Where each image of an alignment lies, as maps between the pixels of the
// image as given (full size, EXIF-turned) and its group's output plane: the
// cylinder's output pixels for a turning group, the reference image's
// pixels for a planar one. Built from the engine's transform objects; the
// previews and the exports read images through these.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <variant>
#include <vector>

#include "tools/engine_alignment.h"

namespace lacewright_tool {

using point = std::array<double, 2>;

// One group of the results: its images are consecutive in the result lists.
struct result_group {
  std::size_t number = 0;       // 0 for the first group
  int32_t transform_type = 0;
  int32_t reference_sheet = 0;  // the reference image's number
  std::vector<std::size_t> positions;  // in the result lists
};

std::vector<result_group> groups_of(const MultiViewParams& results);

using ray = std::array<double, 3>;

// A camera turned about its centre: pixels of the image as given and rays in
// the group's axes (x right, y down, z forward of the reference).
struct turned_camera {
  std::array<double, 9> rotation;  // camera to group, row-major
  point focal;
  point centre;

  ray ray_of(point pixel) const;
  // Empty for a ray behind the camera.
  std::optional<point> pixel_of(const ray& r) const;
};

// A turned camera seen on the group's cylinder.
struct cylinder_placement {
  turned_camera camera;
  point scale;        // output pixels per radian of phase; per unit of height
  double phase_range;
  point shift;        // output pixel of phase 0, height 0

  point to_output(point image) const;
  std::optional<point> to_image(point output) const;
};

// A turned camera seen on the sphere of directions: longitude and latitude
// (downwards positive) in radians times `pixels_per_radian`, the longitude
// taken within half a turn of the image's own middle.
struct sphere_placement {
  turned_camera camera;
  double pixels_per_radian;
  double middle_longitude;

  point to_output(point image) const;
  std::optional<point> to_image(point output) const;
};

// A projective map onto the reference image.
struct plane_placement {
  std::array<double, 9> to_reference;    // row-major, homogeneous
  std::array<double, 9> from_reference;

  point to_output(point image) const;
  std::optional<point> to_image(point output) const;
};

// Nothing to draw: an image alone, or an image of a sphere whose cameras
// were not observed.
using image_placement = std::variant<std::monostate, cylinder_placement, sphere_placement, plane_placement>;

// The placement of the image at `position` of the result lists.
image_placement place_image(const alignment& run, const result_group& group, std::size_t position);

// Applies a row-major homogeneous 3 x 3 map.
point apply_homography(const std::array<double, 9>& m, point p);

}  // namespace lacewright_tool
