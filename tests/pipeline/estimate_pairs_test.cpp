// The pair motion stage on the shared photograph sets: neighbouring views
// are accepted, refined, and explained as a camera turning about its
// centre; the tables keep a position for every pair.
#include <gtest/gtest.h>

#include <cstdlib>
#include <vector>

#include "feature_test_support.h"
#include "matching/match_all_pairs.h"
#include "photographs.h"
#include "pipeline/estimate_pairs.h"

namespace {

using namespace test_support;

TEST(EstimatePairs, neighbouring_photographs_are_accepted_with_a_rotation_explanation) {
  if (photograph_folder().empty()) GTEST_SKIP() << "no photograph folder (set LACEWRIGHT_DATA_DIR)";
  for (const char* name : {"hill", "ledge", "pier", "rainier", "uttower"}) {
    SCOPED_TRACE(name);
    std::vector<grey_image> images;
    std::vector<AlignFrame> frames;
    for (const auto& path : photograph_set(name)) images.push_back(read_grey(path));
    for (grey_image& image : images) frames.push_back(image.frame(static_cast<int32_t>(frames.size())));
    const auto pairs = match_all_pairs(features_of(frames));
    std::srand(1);
    pair_table<h_matrix_2d> motions;
    pair_table<bool> accepted, turning;
    pair_table<rotation_pair> rotations;
    estimate_pairs(pairs, frames.size(), {3.0, {true, 2.0}}, motions, accepted, rotations, turning);
    ASSERT_EQ(frames.size() - 1, motions.size());
    for (std::size_t i = 0; i + 1 < frames.size(); ++i) {
      ASSERT_EQ(frames.size() - 1 - i, rotations[i].size());
      EXPECT_TRUE(accepted[i][0]) << i;
      EXPECT_TRUE(turning[i][0]) << i;
      EXPECT_EQ(homography_projective, motions[i][0].type);
      const pair_matches& pair = *pairs[i][0];
      std::size_t marked = 0;
      for (const feature_match& match : pair.matches) marked += match.inlier;
      EXPECT_EQ(pair.inlier_count, marked);
      EXPECT_GT(static_cast<double>(marked), 0.22 * static_cast<double>(pair.matches.size()) + 5.9);
      // The explanation's cameras agree on a focal length of the order of the frame.
      const rotation_pair& record = rotations[i][0];
      EXPECT_GT(record.camera_first.fx, 0.5 * frames[i].width);
      EXPECT_LT(record.camera_first.fx, 5.0 * frames[i].width);
      EXPECT_NEAR(record.camera_first.fx, record.camera_second.fx, 0.05 * record.camera_first.fx);
    }
  }
}

}  // namespace
