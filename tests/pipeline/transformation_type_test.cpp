// The two conversions between surface and engine motion kinds, which are
// deliberately not inverses of each other.
#include <gtest/gtest.h>

#include <stdexcept>

#include "pipeline/transformation_type.h"

namespace {

template <class Call>
void expect_invalid_argument(Call call, const char* message) {
  try {
    call();
    FAIL() << "no exception";
  } catch (const std::invalid_argument& error) {
    EXPECT_STREQ(message, error.what());
  }
}

TEST(TransformationType, every_pipeline_and_output_form_estimates_projective_motion) {
  for (const int32_t type : {0, -1, 1, 2, 7, 8, 9, 11}) {
    EXPECT_EQ(homography_projective, TransformationTypeToHomographyType(type)) << type;
  }
  EXPECT_EQ(homography_translation, TransformationTypeToHomographyType(3));
  EXPECT_EQ(homography_rigid, TransformationTypeToHomographyType(4));
  EXPECT_EQ(homography_similarity, TransformationTypeToHomographyType(5));
  EXPECT_EQ(homography_affine, TransformationTypeToHomographyType(6));
}

TEST(TransformationType, lens_projective_and_unknown_types_are_refused) {
  for (const int32_t type : {10, 12, -2, 1000}) {
    expect_invalid_argument([&] { TransformationTypeToHomographyType(type); },
                            "TransformationTypeToHomographyType(): unknown input type");
  }
}

TEST(TransformationType, planar_kinds_convert_back_with_lens_distortion_choosing_10) {
  EXPECT_EQ(3, HomographyTypeToTransformationType(homography_translation, true));
  EXPECT_EQ(4, HomographyTypeToTransformationType(homography_rigid, false));
  EXPECT_EQ(5, HomographyTypeToTransformationType(homography_similarity, false));
  EXPECT_EQ(6, HomographyTypeToTransformationType(homography_affine, true));
  EXPECT_EQ(0, HomographyTypeToTransformationType(homography_projective, false));
  EXPECT_EQ(10, HomographyTypeToTransformationType(homography_projective, true));
  for (const auto type : {homography_scale, homography_rotation, HomographyType{0},
                          HomographyType{8}}) {
    expect_invalid_argument([&] { HomographyTypeToTransformationType(type, false); },
                            "HomographyTypeToTransformationType(): unknown input type");
  }
}

}  // namespace
