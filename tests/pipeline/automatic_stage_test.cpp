// The automatic stage's choice between a planar and a rotation group, on
// hand-built pair tables (frames without features: the refinements keep
// their start values, and the choice is what is seen).
#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

#include "pipeline/automatic_stage.h"
#include "pipeline/multi_view_aligner.h"

namespace {

struct tables {
  MultiViewParams params;
  MultiViewAligner aligner{params, homography_projective, FrameRect{0, 0, 300, 400}, aligner_options{}};
  pair_table<h_matrix_2d> motions;
  pair_table<bool> planar;
  pair_table<rotation_pair> rotations;
  pair_table<bool> turning;

  explicit tables(std::size_t n) {
    for (std::size_t i = 0; i < n; ++i) {
      frame_features_ptr frame(new frame_features);
      frame->width = 400;
      frame->height = 300;
      frame->center_x = 199.5;
      frame->center_y = 149.5;
      aligner.features.push_back(frame);
      aligner.sheet_ids.push_back(static_cast<int32_t>(10 + i));
      aligner.reduction_levels.push_back(0);
    }
    aligner.frame_count = n;
    aligner.pairs = make_pair_table<pair_matches_ptr>(n);
    motions = make_pair_table<h_matrix_2d>(n);
    planar = make_pair_table<bool>(n);
    rotations = make_pair_table<rotation_pair>(n);
    turning = make_pair_table<bool>(n);
    for (std::size_t i = 0; i + 1 < n; ++i) {
      for (std::size_t j = i + 1; j < n; ++j) {
        pair_matches_ptr pair(new pair_matches);
        pair->first = aligner.features[i];
        pair->second = aligner.features[j];
        pair->inlier_count = 50;
        aligner.pairs[i].push_back(pair);
        motions[i].push_back(h_matrix_2d::identity(homography_projective));
        planar[i].push_back(false);
        rotations[i].push_back(rotation_pair{});
        turning[i].push_back(false);
      }
    }
  }

  // A homography link, and a rotation link turning by `yaw` degrees.
  void link(std::size_t i, std::size_t j, bool homography, bool rotation, double yaw) {
    planar[i][j - i - 1] = homography;
    motions[i][j - i - 1].parameters[2] = -2.0 * yaw;
    turning[i][j - i - 1] = rotation;
    const double a = yaw * std::numbers::pi / 180.0;
    const lens_record lens{400, 400, 199.5, 149.5, 0, 0};
    rotations[i][j - i - 1] = {lens, lens, {std::cos(a), 0, std::sin(a), 0, 1, 0, -std::sin(a), 0, std::cos(a)}};
  }

  void run() {
    run_automatic_stage(aligner, std::vector<FrameRect>(aligner.frame_count, FrameRect{0, 0, 300, 400}),
                        std::vector<bool>(aligner.frame_count, false), motions, planar, rotations, turning);
  }
};

TEST(AutomaticStage, a_turn_below_the_limit_stays_planar_and_one_above_it_turns) {
  tables narrow(2);
  narrow.link(0, 1, true, true, 39.0);
  narrow.run();
  EXPECT_EQ(std::vector<int32_t>{0}, narrow.params.transformType);  // projective, no distortion
  EXPECT_EQ(std::vector<int32_t>{2}, narrow.params.groupCount);

  tables wide(2);
  wide.link(0, 1, true, true, 41.0);
  wide.run();
  ASSERT_EQ(1u, wide.params.transformType.size());
  EXPECT_NE(0, wide.params.transformType[0]);  // cylinder or sphere
  EXPECT_EQ(std::vector<int32_t>{2}, wide.params.groupCount);
}

TEST(AutomaticStage, a_planar_component_over_two_rotation_components_is_planar) {
  tables set(3);
  set.link(0, 1, true, true, 60.0);
  set.link(1, 2, true, false, 60.0);
  set.run();
  EXPECT_EQ(std::vector<int32_t>{0}, set.params.transformType);
  EXPECT_EQ(std::vector<int32_t>{3}, set.params.groupCount);
}

TEST(AutomaticStage, a_planar_group_takes_the_rotation_components_reference_position_as_its_own) {
  // Planar components {0} and {1, 2} of the rotation component {0, 1, 2},
  // whose reference is at position 1 (frame 1, the centre).
  tables set(3);
  set.link(0, 1, false, true, 10.0);
  set.link(1, 2, true, true, 10.0);
  set.run();
  EXPECT_EQ((std::vector<int32_t>{1, 2}), set.params.groupCount);
  // {0}: position 1 lies beyond its list, and frame 1 is not in it, so its
  // own reference stays; {1, 2}: position 1 is frame 2.
  EXPECT_EQ((std::vector<int32_t>{10, 12}), set.params.refSheetID);
}

TEST(AutomaticStage, rotation_linked_frames_without_a_homography_link_are_reported_twice) {
  tables set(2);
  set.link(0, 1, false, true, 50.0);
  set.run();
  EXPECT_EQ((std::vector<int32_t>{2, 2}), set.params.groupCount);
  EXPECT_EQ((std::vector<int32_t>{10, 11, 10, 11}), set.params.sheetID);
  EXPECT_EQ(2u, set.params.connectivity.size());
}

}  // namespace
