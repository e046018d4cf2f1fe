// Marks for the images of a group that belongs on a sphere. They carry no
// numbers: the group's transform type says "spherical" and the host renders
// from what else it knows. Both keep the base's kind (14), its debug print
// and its missing offset, so that the overlap measure has nothing to say
// about them and the report gives them no focal length.
#pragma once

#include "transforms/pixel_transform.h"

// An image of a rotation group placed on the sphere of directions.
class SphericalTransform : public PixelTransform {
 public:
  SphericalTransform() = default;
  ~SphericalTransform() override;
};

// The same for a group seen through a fisheye lens.
class SphericalFisheyeTransform : public PixelTransform {
 public:
  SphericalFisheyeTransform() = default;
  ~SphericalFisheyeTransform() override;
};

static_assert(sizeof(SphericalTransform) == sizeof(PixelTransform));
static_assert(sizeof(SphericalFisheyeTransform) == sizeof(PixelTransform));
