// What a group adds to the results: its reference, its connectivity, and a
// rotation group's failure and lone-frame rules.
#include <gtest/gtest.h>

#include <stdexcept>

#include "pipeline/group_reporting.h"
#include "pipeline/multi_view_aligner.h"

namespace {

struct run {
  MultiViewParams params;
  MultiViewAligner aligner{params, homography_projective, FrameRect{0, 0, 300, 400}, aligner_options{}};
};

TEST(ChooseReference, the_first_preferred_frame_wins_unless_the_reference_is_preferred) {
  run r;
  const std::vector<bool> preferred = {false, true, false, true, false};
  EXPECT_EQ(1u, ChooseReference(r.aligner, preferred, 2, {0, 1, 2, 3}));
  EXPECT_TRUE(r.params.several_preferred);  // two preferred frames in the component

  run other;
  EXPECT_EQ(2u, ChooseReference(other.aligner, preferred, 2, {0, 2, 3}));  // frame 3 is preferred itself
  EXPECT_FALSE(other.params.several_preferred);
  EXPECT_EQ(0u, ChooseReference(other.aligner, preferred, 0, {0, 2, 4}));  // none preferred: unchanged
  EXPECT_EQ(1u, ChooseReference(other.aligner, preferred, 1, {}));
}

TEST(WriteConnectivity, links_become_a_symmetric_matrix_with_a_unit_diagonal) {
  run r;
  WriteConnectivity(r.aligner, {{true, false, true}, {true, false}, {false}});
  WriteConnectivity(r.aligner, {});
  ASSERT_EQ(2u, r.params.connectivity.size());
  EXPECT_EQ((connectivity_matrix{{1, 1, 0, 1}, {1, 1, 1, 0}, {0, 1, 1, 0}, {1, 0, 0, 1}}), r.params.connectivity[0]);
  EXPECT_EQ((connectivity_matrix{{1}}), r.params.connectivity[1]);
}

TEST(AlignGroupRotation, a_lone_frame_is_a_cylindrical_group_of_one_and_modes_are_checked) {
  run r;
  r.aligner.sheet_ids = {7};
  r.aligner.reduction_levels = {0};
  const std::vector<FrameRect> rects = {FrameRect{0, 0, 300, 400}};
  component_record<rotation_motion> group;
  group.frames.push_back(new frame_features);
  group.frame_ids = {0};
  group.motions.push_back({lens_record{}, {1, 0, 0, 0, 1, 0, 0, 0, 1}});
  const view_graph graph(1);

  EXPECT_THROW(
      {
        try {
          r.aligner.AlignGroupRotation(group, graph, rects, 3);
        } catch (const std::runtime_error& error) {
          EXPECT_STREQ("MultiViewAligner::AlignGroupRotation(): unknown input mode", error.what());
          throw;
        }
      },
      std::runtime_error);
  EXPECT_TRUE(r.params.connectivity.empty());  // nothing appended before the check

  r.aligner.AlignGroupRotation(group, graph, rects, 2);
  EXPECT_EQ(std::vector<int32_t>{1}, r.params.groupCount);
  EXPECT_EQ(std::vector<int32_t>{7}, r.params.refSheetID);
  EXPECT_EQ(std::vector<int32_t>{1}, r.params.transformType);  // cylindrical whatever the mode
  EXPECT_EQ(std::vector<int32_t>{7}, r.params.sheetID);
  EXPECT_EQ(std::vector<bool>{false}, r.params.renderable);
  ASSERT_EQ(1u, r.params.transforms.size());
  EXPECT_EQ(nullptr, r.params.transforms[0]);
  EXPECT_EQ((connectivity_matrix{{1}}), r.params.connectivity[0]);
}

TEST(AlignGroupRotation, a_camera_that_cannot_be_made_fails_the_refinement_and_the_group_is_still_written) {
  run r;
  r.aligner.sheet_ids = {7, 8};
  r.aligner.reduction_levels = {0, 0};
  const std::vector<FrameRect> rects(2, FrameRect{0, 0, 300, 400});
  component_record<rotation_motion> group;
  group.frames = {new frame_features, new frame_features};
  group.frame_ids = {0, 1};
  pair_matches_ptr pair(new pair_matches);
  pair->first = group.frames[0];
  pair->second = group.frames[1];
  group.pairs = {{pair}};
  group.links = {{true}};
  const lens_record lens{400, 400, 199.5, 149.5, 0, 0};
  // Twice the unit matrix is no rotation: rodrigues_inv refuses it.
  group.motions = {{lens, {1, 0, 0, 0, 1, 0, 0, 0, 1}}, {lens, {2, 0, 0, 0, 2, 0, 0, 0, 2}}};
  const view_graph graph(2);

  EXPECT_NO_THROW(r.aligner.AlignGroupRotation(group, graph, rects, 1));
  EXPECT_EQ(std::vector<int32_t>{2}, r.params.groupCount);
  EXPECT_EQ((std::vector<int32_t>{7, 8}), r.params.sheetID);
  EXPECT_EQ(2u, r.params.transforms.size());
}

}  // namespace
