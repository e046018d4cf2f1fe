// The tool's default input: views of a synthetic scene taken by a camera
// that turns about its centre, so that a run without arguments shows the
// whole pipeline on images that are known to overlap.
#pragma once

#include <vector>

#include "photographs/image_file.h"

namespace lacewright_tool {

struct turning_camera {
  int width = 640;
  int height = 480;
  double focal_length = 640.0;  // pixels
  double yaw_degrees = 0.0;     // about the vertical axis
  double pitch_degrees = 0.0;   // about the horizontal axis, after the yaw
};

// The view of the scene through a pinhole camera; the scene is a texture on
// the sphere of directions, rich in detail at every scale from 3 to 60
// pixels of a 640-pixel focal length.
pixel_image render_scene_view(const turning_camera& camera);

// Three views, 640 by 480, 18 degrees of yaw apart, with a little pitch.
std::vector<pixel_image> render_default_scene();

}  // namespace lacewright_tool
