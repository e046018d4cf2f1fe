// The fisheye camera of the bundle adjusters: a camera turning about its
// centre, as rotation_camera, seen through the short fisheye polynomial of
// rotation/fisheye_sharing.h instead of a pinhole.
//
// For the ray y = R d of a scene point: within a thousandth of the axis in
// both y1 and y2 the image is the centre; otherwise, with r = hypot(y1, y2)
// and theta = atan2(r, y3), it is R(theta) / r (y1, y2) + (cx, cy). A point
// with y3 at or below 0 is behind the camera: its residual is (0, 0), so
// that it drops out of the fit rather than fold over onto the image.
#pragma once

#include "rotation/fisheye_sharing.h"
#include "rotation/rotation_camera.h"

struct fisheye_polynomial_projection {
  using lens_type = fisheye_lens;
  using shared_record = fisheye_shared_lens;
  static constexpr int quantity_count = fisheye_quantity_count;
  template <class Record>
  static auto& value(Record& record, int quantity) {
    return fisheye_value(record, quantity);
  }
  static fisheye_layout layout_of(int32_t mode) { return fisheye_layout_of(mode); }
  static bool sees(const double y[3]) { return y[2] > 0.0; }
  static void image(const fisheye_lens& lens, const double y[3], double out[2], double* by_ray, double* by_lens);
};

using motion_control_fisheye = rotation_camera<fisheye_polynomial_projection, false>;
// The record that the robust adjusters take: a threshold beside it.
using robust_motion_control_fisheye = rotation_camera<fisheye_polynomial_projection, true>;

extern template struct rotation_camera<fisheye_polynomial_projection, false>;
extern template struct rotation_camera<fisheye_polynomial_projection, true>;
