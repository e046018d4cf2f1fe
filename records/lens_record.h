// A camera's lens values.
#pragma once

// Focal lengths and principal point in pixels, and two radial distortion
// values on radii in units of the focal length.
struct lens_record {
  double fx = 0.0, fy = 0.0, cx = 0.0, cy = 0.0, k1 = 0.0, k2 = 0.0;

  friend bool operator==(const lens_record&, const lens_record&) = default;
};
