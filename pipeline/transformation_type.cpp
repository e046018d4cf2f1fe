#include "pipeline/transformation_type.h"

#include <stdexcept>

HomographyType TransformationTypeToHomographyType(int32_t type) {
  switch (type) {
    case transform_translation: return homography_translation;
    case transform_rigid: return homography_rigid;
    case transform_similarity: return homography_similarity;
    case transform_affine: return homography_affine;
    case transform_projective:
    case transform_automatic:
    case transform_cylindrical:
    case transform_spherical:
    case 7:
    case 8:
    case 9:
    case 11: return homography_projective;
    default:
      throw std::invalid_argument("TransformationTypeToHomographyType(): unknown input type");
  }
}

int32_t HomographyTypeToTransformationType(HomographyType type, bool distortion) {
  switch (type) {
    case homography_translation: return transform_translation;
    case homography_rigid: return transform_rigid;
    case homography_similarity: return transform_similarity;
    case homography_affine: return transform_affine;
    case homography_projective: return distortion ? transform_projective_lens : transform_projective;
    default:
      throw std::invalid_argument("HomographyTypeToTransformationType(): unknown input type");
  }
}
