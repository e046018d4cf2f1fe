// The kind of transform at the library's surface, and its two conversions to
// and from the engine's motion kinds.
#pragma once

#include <cstdint>

#include "records/homography_type.h"

// Values without a name below (7, 8, 9, 11, ...) are accepted where the
// conversion accepts them and select no pipeline.
enum TransformationType : int32_t {
  transform_automatic = -1,  // planar or rotation, chosen per group
  transform_projective = 0,
  transform_cylindrical = 1,
  transform_spherical = 2,
  transform_translation = 3,
  transform_rigid = 4,
  transform_similarity = 5,
  transform_affine = 6,
  transform_projective_lens = 10,
};

// The motion kind that a requested type estimates. Throws
// std::invalid_argument for 10 and every value outside the table.
HomographyType TransformationTypeToHomographyType(int32_t type);

// The surface kind of a planar group's motion. Deliberately not the inverse
// of the conversion above: projective gives 10 with distortion, and scale and
// rotation have no surface kind (std::invalid_argument).
int32_t HomographyTypeToTransformationType(HomographyType type, bool distortion);
