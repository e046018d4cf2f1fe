// The fisheye group entry, which no stage of a run enters: what it appends
// for a component of the view graph, its lone frame, and its refusal of an
// unknown lens before anything is appended.
#include <gtest/gtest.h>

#include <stdexcept>

#include "fisheye_rig.h"
#include "pipeline/multi_view_aligner.h"
#include "rotation/construct_fisheye_projection.h"
#include "rotation/refine_fisheye_cameras.h"
#include "transforms/spherical_transform.h"

namespace {

struct run {
  MultiViewParams params;
  MultiViewAligner aligner{params, homography_projective, FrameRect{0, 0, 600, 800}, aligner_options{}};

  run() {
    aligner.sheet_ids = {11, 12, 13, 14};
    aligner.reduction_levels = {0, 0, 0, 0};
    aligner.group_rotation_threshold = 2.0;
  }
};

test_support::fisheye_rig rig_of_lens_type_2() {
  auto lens = construct_fisheye_projection(2, 800.0, 1.0);
  lens->cx = 399.5;
  lens->cy = 299.5;
  return test_support::make_fisheye_rig(short_polynomial_of(*lens), 200, 0.5, 1.0, 11);
}

TEST(AlignGroupFisheye, a_component_becomes_a_spherical_group_of_fisheye_marks) {
  run r;
  test_support::fisheye_rig rig = rig_of_lens_type_2();
  rig.component.reference_position = 1;
  r.aligner.AlignGroupFisheye(rig.component, 2, 3);

  EXPECT_EQ(std::vector<int32_t>{4}, r.params.groupCount);
  EXPECT_EQ(std::vector<int32_t>{12}, r.params.refSheetID);
  EXPECT_EQ(std::vector<int32_t>{2}, r.params.transformType);  // spherical
  EXPECT_EQ((std::vector<int32_t>{11, 12, 13, 14}), r.params.sheetID);
  EXPECT_EQ(std::vector<bool>(4, true), r.params.renderable);
  ASSERT_EQ(4u, r.params.transforms.size());
  for (const auto& transform : r.params.transforms) {
    ASSERT_NE(nullptr, dynamic_cast<const SphericalFisheyeTransform*>(transform.get()));
    EXPECT_EQ(14, transform->kind);  // the base's kind: no overlap and no focal length in the report
  }
  // Views a half turn apart share nothing; neighbours do.
  ASSERT_EQ(1u, r.params.connectivity.size());
  EXPECT_EQ((connectivity_matrix{{1, 1, 0, 1}, {1, 1, 1, 0}, {0, 1, 1, 1}, {1, 0, 1, 1}}), r.params.connectivity[0]);
}

TEST(AlignGroupFisheye, a_lone_frame_is_a_group_of_one_without_a_transform) {
  run r;
  test_support::fisheye_rig rig = rig_of_lens_type_2();
  component_record<rotation_motion> alone;
  alone.frames = {rig.component.frames[2]};
  alone.frame_ids = {2};
  alone.motions = {rig.component.motions[2]};
  r.aligner.AlignGroupFisheye(alone, 5, 3);
  EXPECT_EQ(std::vector<int32_t>{1}, r.params.groupCount);
  EXPECT_EQ(std::vector<int32_t>{13}, r.params.refSheetID);
  EXPECT_EQ(std::vector<int32_t>{1}, r.params.transformType);  // as a rotation group of one
  EXPECT_EQ(std::vector<int32_t>{13}, r.params.sheetID);
  EXPECT_EQ(std::vector<bool>{false}, r.params.renderable);
  ASSERT_EQ(1u, r.params.transforms.size());
  EXPECT_EQ(nullptr, r.params.transforms[0]);
  EXPECT_EQ((connectivity_matrix{{1}}), r.params.connectivity[0]);
}

TEST(AlignGroupFisheye, an_unknown_lens_type_is_refused_before_anything_is_appended) {
  run r;
  const test_support::fisheye_rig rig = rig_of_lens_type_2();
  for (const int32_t type : {1, 11}) {
    try {
      r.aligner.AlignGroupFisheye(rig.component, type, 3);
      ADD_FAILURE() << "no exception for type " << type;
    } catch (const std::runtime_error& error) {
      EXPECT_STREQ("construct_fisheye_projection(): Unknown fisheye lens type", error.what());
    }
  }
  EXPECT_TRUE(r.params.connectivity.empty());
  EXPECT_TRUE(r.params.groupCount.empty());
  EXPECT_TRUE(r.params.transforms.empty());
}

}  // namespace
