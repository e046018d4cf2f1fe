#include "sources/transformation_type.h"

#include <stdexcept>

HomographyType TransformationTypeToHomographyType(int32_t type) {
  switch (type) {
    case transform_translation: return HomographyType::translation;
    case transform_rigid: return HomographyType::rigid;
    case transform_similarity: return HomographyType::similarity;
    case transform_affine: return HomographyType::affine;
    case transform_projective:
    case transform_automatic:
    case transform_cylindrical:
    case transform_spherical:
    case 7:
    case 8:
    case 9:
    case 11: return HomographyType::projective;
    default:
      throw std::invalid_argument("TransformationTypeToHomographyType(): unknown input type");
  }
}

int32_t HomographyTypeToTransformationType(HomographyType type, bool distortion) {
  switch (type) {
    case HomographyType::translation: return transform_translation;
    case HomographyType::rigid: return transform_rigid;
    case HomographyType::similarity: return transform_similarity;
    case HomographyType::affine: return transform_affine;
    case HomographyType::projective: return distortion ? transform_projective_lens : transform_projective;
    default:
      throw std::invalid_argument("HomographyTypeToTransformationType(): unknown input type");
  }
}
