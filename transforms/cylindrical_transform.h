// The place of one image of a rotation group on the group's cylinder: a
// camera (focal lengths, centre), its rotation, and the affine step from
// cylinder coordinates to output pixels,
//
//   output = (phase scale[0] + pixel_shift[0], height scale[1] + pixel_shift[1]),
//
// the phase first wrapped to within pi of `phase_range`. Focal lengths,
// centres and output pixels are in pixels of the full-size image.
#pragma once

#include <cstdint>

#include "records/align_frame.h"
#include "transforms/cylinder_point.h"
#include "transforms/pixel_transform.h"
#include "transforms/simple_camera_parameters.h"

class CylindricalTransform : public PixelTransform {
 public:
  static constexpr int32_t class_kind = 7;

  CylindricalTransform(const SimpleCameraParameters& camera, const double rotation[9], double scale_0, double scale_1,
                       double phase_range, double pixel_shift_0, double pixel_shift_1);

  // All values to the standard error stream, with the offsets and the
  // bounds of a 1024 x 680 image.
  void debugPrint() const override;

  // sin(a0) fx and sin(a1) fy for the rotation's angles a0, a1 (see
  // RotationAngles): how far the view is turned from the group's origin,
  // in pixels.
  void getOffset(double* first, double* second) const override;

  // The output rectangle that covers `source`, a rectangle of source pixels.
  // A camera with lens distortion is not mapped: it gets the bounds of the
  // empty rectangle at 0, 0.
  virtual void getBounds(FrameRect* out, const FrameRect* source) const;

  // The camera's first focal length.
  virtual double getFocalLength() const;

  cylinder_coordinates CylinderPoint(double x, double y) const;

  double scale[2];           // pixels per radian around the cylinder; per unit of height
  double phase_range;        // the phase at the middle of the group
  double pixel_shift[2];     // output pixel of phase 0, height 0
  SimpleCameraParameters camera;
  double rotation[9];             // the camera's rotation, row-major; maps the bounds
  double rotation_for_angles[9];  // the same matrix; gives the angles of offset and printout
};
