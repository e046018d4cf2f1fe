// The place of one image of a planar group fitted with lens distortion: its
// projective transform to the reference frame together with the radial lens
// values. The library hands these on; applying the lens is the host's part,
// so the class has no bounds and no overlap.
#pragma once

#include <cstdint>

#include "transforms/pixel_transform.h"

class DistortRd2Transform : public PixelTransform {
 public:
  static constexpr int32_t class_kind = 11;

  // The values as stored: see the fields.
  DistortRd2Transform(const double projective[9], const double image_size[2], const double lens_center[2],
                      const double radial[2]);
  ~DistortRd2Transform() override;

  // The matrix and the lens values, two lines to the debug channel.
  void debugPrint() const override;

  double matrix[9];        // to the reference frame, row-major
  double size[2];          // height and width of the image
  double center[2];        // the lens centre, in pixels of the full-size image
  double coefficients[2];  // k1, k2 of 1 + k1 r^2 + k2 r^4, r in pixels of the full-size image
};
