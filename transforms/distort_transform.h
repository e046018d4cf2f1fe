// The place of one image of a planar group: the quadrilateral that the
// image's rectangle maps to in the reference image's frame. The map between
// them is the projective one that takes the rectangle's corners to the
// quadrilateral's.
#pragma once

#include <cstdint>

#include "records/align_frame.h"
#include "transforms/pixel_transform.h"

class DistortTransform : public PixelTransform {
 public:
  static constexpr int32_t class_kind = 2;

  // `image_rect` is top, left, bottom, right of the image in its own
  // coordinates; it is kept moved to start at 0, 0 unless its top or left
  // lies beyond its bottom or right. `corners` is x, y of the mapped
  // top-left, top-right, bottom-right and bottom-left corners.
  DistortTransform(const double image_rect[4], const double corners[8]);

  // Says on the debug channel that the transform goes.
  ~DistortTransform() override;

  // The quadrilateral to the standard error stream.
  void debugPrint() const override;

  // A planar image has no offset: both values stay as they are.
  void getOffset(double* first, double* second) const override;

  // The bounds in the reference frame of `source`, a rectangle in the
  // image's coordinates: its corners mapped and rounded by RoundCorner.
  virtual void getBounds(FrameRect* out, const FrameRect* source) const;

  double rect[4];  // top, left, bottom, right
  double quad[8];  // x, y of top-left, top-right, bottom-right, bottom-left
};
