#include "transforms/spherical_transform.h"

// Defined here so that the classes' virtual tables and type information live
// only inside the library.
SphericalTransform::~SphericalTransform() = default;
SphericalFisheyeTransform::~SphericalFisheyeTransform() = default;
