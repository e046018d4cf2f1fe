// Where each image of an alignment lies, as maps between the pixels of the
// image as given (full size, EXIF-turned) and its group's output plane. For
// a turning group that plane is the panorama: longitude from the group's
// middle across, height on the cylinder or latitude down, both in pixels of
// the reference image's focal length, with the horizon levelled unless
// asked not to. For a planar group it is the reference image's pixels.
// Built from the engine's transform objects, whose numbers are in pixels of
// the frames the engine aligned, through each image's frame_scale; the
// previews and the exports read images through these.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <variant>
#include <vector>

#include "session/engine_alignment.h"
#include "photographs/frame_scale.h"

namespace lacewright_tool {

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
// the panorama's axes (x right, y down, z forward of the reference).
struct turned_camera {
  matrix3 rotation;  // camera to panorama, row-major
  point focal;
  point centre;

  ray ray_of(point pixel) const;
  // Empty for a ray behind the camera.
  std::optional<point> pixel_of(const ray& r) const;
};

enum class panorama_surface { cylinder, sphere };

// A turned camera on its group's panorama.
struct turned_placement {
  turned_camera camera;
  panorama_surface surface = panorama_surface::cylinder;
  double pixels_per_radian = 1.0;
  double middle = 0.0;  // the longitude at x = 0

  point to_output(point image) const;
  std::optional<point> to_image(point output) const;
};

// A projective map onto the reference image.
struct plane_placement {
  matrix3 to_reference;
  matrix3 from_reference;

  point to_output(point image) const;
  std::optional<point> to_image(point output) const;
};

// Nothing to draw: an image alone, or an image of a sphere whose cameras
// were not observed.
using image_placement = std::variant<std::monostate, turned_placement, plane_placement>;

point to_output(const image_placement& placement, point image);
std::optional<point> to_image(const image_placement& placement, point output);

// A rectangle of the output plane.
struct output_box {
  double left = 0.0, top = 0.0, right = 0.0, bottom = 0.0;
};

// Every image of a group placed, in the order of its positions.
struct group_layout {
  std::vector<image_placement> placements;
  // The turn that levels a turning group's horizon (the unit matrix for a
  // planar group, and when none can be fitted), and whether the
  // placements carry it.
  matrix3 level{1, 0, 0, 0, 1, 0, 0, 0, 1};
  bool levelled = false;
  // Where the placed images' outlines lie; empty when nothing is placed.
  std::optional<output_box> bounds;
};

// Places the images of `group`; with `level`, a turning group's cameras are
// turned so that its horizon is level.
group_layout lay_out_group(const alignment& run, const result_group& group, bool level);

// A planar group placed as the cameras of one turning camera, on a
// cylinder, levelled if asked: each image's homography onto the reference
// taken apart into a turn and two focal lengths. Empty when a homography
// is no such turn (it moves the picture's outline by more than 0.2 % of
// the reference's diagonal from where the turn puts it), so that a Hugin
// project, which holds turned cameras only, is refused rather than
// rendered with doubled edges.
std::optional<group_layout> lay_out_planar_group_as_turned(const alignment& run, const result_group& group,
                                                           bool level);

// Applies a row-major homogeneous 3 x 3 map.
point apply_homography(const matrix3& m, point p);

}  // namespace lacewright_tool
