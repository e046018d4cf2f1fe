// The kinds of planar motion inside the engine. The numbers order the kinds
// by richness: each can be promoted to the kinds it precedes (see convert).
#pragma once

#include <cstdint>

enum HomographyType : int32_t {
  homography_translation = 1,  // shift
  homography_scale = 2,        // uniform scale about the origin
  homography_rotation = 3,     // rotation about the origin
  homography_rigid = 4,        // rotation then shift
  homography_similarity = 5,   // rotation and uniform scale then shift
  homography_affine = 6,       // general linear map then shift
  homography_projective = 7,   // plane projective map
};
