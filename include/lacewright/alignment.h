// An alignment's answer, in pixels of the images as given (full size, turned
// by their EXIF orientation), with the x axis right, y down and (0, 0) at
// the centre of the top-left pixel: each image's group, role and transform;
// each group's kind, reference, levelling turn and the inlier matches of its
// accepted pairs; the images left out and why; the plug-in's report; the
// time each stage took.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace lacewright {

using point = std::array<double, 2>;
using matrix3 = std::array<double, 9>;  // row-major

// A camera turned about its centre.
struct camera {
  matrix3 rotation{};  // camera to the reference camera's axes (x right, y down, z forward)
  point focal_length{};
  point centre{};
  point lens{};  // radial distortion: r (1 + k1 r^2 + k2 r^4), r in focal lengths
};

// An image of a plane group: the homography onto the reference image.
struct planar_transform {
  std::optional<matrix3> homography;  // none when the group could not place the image
  std::array<point, 4> quad{};        // where the corners (0,0), (w,0), (w,h), (0,h) land
};

// A plane group's image seen through a lens with radial distortion.
struct planar_lens_transform {
  std::optional<matrix3> homography;  // none when the group could not place the image
  point centre{};                     // of the distortion
  point lens{};                       // coefficients on radii in pixels
};

// An image of a group turning on a cylinder; the cylinder's output is in
// pixels of the reference image's focal length.
struct cylindrical_transform {
  lacewright::camera camera;
  point scale{};
  double phase_range = 0.0;
  point pixel_shift{};
};

// An image of a group turning on a sphere.
struct spherical_transform {
  std::optional<lacewright::camera> camera;  // none when the engine did not refine it
};

// Nothing: an image in no group of two or more.
using image_transform =
    std::variant<std::monostate, planar_transform, planar_lens_transform, cylindrical_transform, spherical_transform>;

struct image {
  std::string file;  // the path, or the name given to a picture in memory
  int width = 0;
  int height = 0;
  int orientation = 1;      // the EXIF orientation the file was turned by
  int reduction_level = 0;  // the engine aligned a copy halved this many times
  std::optional<std::size_t> group;
  bool reference = false;   // the group's reference image
  bool renderable = false;  // the group placed it
  image_transform transform;
};

// One inlier match of a pair: the same feature in each image.
struct match {
  point first{};
  point second{};
};

// A pair whose motion the pair stage accepted.
struct image_pair {
  std::size_t first = 0;  // image numbers
  std::size_t second = 0;
  std::size_t matches = 0;       // before the robust fit
  std::vector<match> inliers;    // in match order
};

// The turn that levels a turning group's horizon.
struct levelling {
  matrix3 rotation{};
  bool applied = false;  // whether previews and projects carry it
};

struct group {
  std::size_t number = 0;
  int32_t transform_type = 0;  // the engine's TransformationType
  std::size_t reference = 0;   // image number
  std::vector<std::size_t> images;
  std::vector<std::vector<int32_t>> connectivity;  // the engine's links between the group's images
  std::optional<levelling> level;                  // turning groups only
  std::vector<image_pair> pairs;                   // accepted pairs within the group, in the engine's order
};

struct left_out_image {
  std::string file;
  std::optional<std::size_t> image;  // its number among the images aligned; none when it was not handed in
  std::string reason;                // "duplicate", "blank", "no match", "too few inliers", "not kept by its group"
  std::string duplicate_of;          // the file a duplicate repeats

  // "too few inliers", "duplicate of a.jpg", ...
  std::string because() const { return reason + (duplicate_of.empty() ? "" : " of " + duplicate_of); }
};

struct stage_time {
  std::string name;
  double seconds = 0.0;
};

// The run behind an alignment, which outputs are drawn from.
struct run_state;

struct alignment {
  int32_t requested_type = 0;
  std::string report;  // the plug-in's report text
  std::vector<group> groups;
  std::vector<image> images;  // in the order given, duplicates left out
  std::vector<left_out_image> left_out;
  std::vector<stage_time> times;
  std::shared_ptr<const run_state> run;

  // Whether a group of two images or more placed at least one of them.
  bool aligned() const {
    for (const image& i : images) {
      if (i.group && i.renderable && groups[*i.group].images.size() > 1) return true;
    }
    return false;
  }
};

// What the control point detector did.
struct control_point_summary {
  std::size_t points = 0;
  std::size_t pairs = 0;
  std::size_t images = 0;
};

// The name of a TransformationType: "projective", "cylindrical", ...
inline const char* transform_type_name(int32_t type) {
  switch (type) {
    case 0: return "projective";
    case 1: return "cylindrical";
    case 2: return "spherical";
    case 3: return "translation";
    case 4: return "rigid";
    case 5: return "similarity";
    case 6: return "affine";
    case 10: return "projective_lens";
    default: return "unknown";
  }
}

}  // namespace lacewright
