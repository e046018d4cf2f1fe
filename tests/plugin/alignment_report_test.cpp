// The report text, byte for byte, from hand-filled result records.
#include <gtest/gtest.h>

#include <array>
#include <memory>
#include <string>
#include <vector>

#include "plugin/alignment_report.h"
#include "transforms/cylindrical_transform.h"
#include "transforms/spherical_transform.h"

namespace {

std::vector<AlignFrame> frames(int count) {
  std::vector<AlignFrame> list(count);
  for (int i = 0; i < count; ++i) {
    list[i].index = i;
    list[i].width = 640;
    list[i].height = 480;
  }
  return list;
}

// Results of groups in their order, with `transforms` transforms, none yet.
void fill(MultiViewParams& params, std::vector<int32_t> sheets, std::vector<bool> renderable,
          std::vector<int32_t> counts, std::vector<int32_t> references, std::vector<int32_t> types,
          std::vector<connectivity_matrix> connectivity, std::size_t transforms = 0) {
  params.sheetID = std::move(sheets);
  params.renderable = std::move(renderable);
  params.groupCount = std::move(counts);
  params.refSheetID = std::move(references);
  params.transformType = std::move(types);
  params.connectivity = std::move(connectivity);
  params.transforms.resize(transforms);
}

std::string report(const MultiViewParams& params, std::vector<AlignFrame> list) {
  std::vector<char> buffer(report_capacity, 'x');
  EXPECT_TRUE(write_alignment_report(params, list, buffer));
  return buffer.data();
}

TEST(AlignmentReport, empty_results_write_empty_lists_as_a_lone_bracket) {
  MultiViewParams params;
  EXPECT_EQ(
      "({'sheetID':], 'renderable':], 'groupCount':], 'refSheetID':], 'transformType':], "
      "'connectivity':[], 'overlap':[0.00000,0.00000], 'fl':[]})",
      report(params, frames(2)));
}

TEST(AlignmentReport, images_alone_in_their_groups_are_not_renderable) {
  MultiViewParams params;
  fill(params, {0, 1}, {false, false}, {1, 1}, {0, 1}, {1, 1}, {{{1}}, {{1}}}, 2);
  EXPECT_EQ(
      "({'sheetID':[0,1], 'renderable':[false,false], 'groupCount':[1,1], 'refSheetID':[0,1], "
      "'transformType':[1,1], 'connectivity':[[1],[1]], 'overlap':[0.00000,0.00000], "
      "'fl':[0.0,0.0]})",
      report(params, frames(2)));
}

// Two groups: three images around reference 1, then two with reference 3.
// Overlaps are measured against the first group's reference transform.
TEST(AlignmentReport, several_groups_follow_each_other_in_every_list) {
  MultiViewParams params;
  fill(params, {0, 1, 2, 3, 4}, {true, true, true, false, false}, {3, 2}, {1, 3}, {1, 0},
       {{{1, 1, 0}, {1, 1, 1}, {0, 1, 1}}, {{1, 1}, {1, 1}}}, 5);
  for (int i = 0; i < 3; ++i) params.transforms[i] = std::make_unique<PixelTransform>();
  EXPECT_EQ(
      "({'sheetID':[0,1,2,3,4], 'renderable':[true,true,true,false,false], 'groupCount':[3,2], "
      "'refSheetID':[1,3], 'transformType':[1,0], "
      "'connectivity':[[1,1,0],[1,1,1],[0,1,1],[1,1],[1,1]], "
      "'overlap':[0.00000,1.00000,0.00000,0.00000,0.00000], 'fl':[0.0,0.0,0.0,0.0,0.0]})",
      report(params, frames(5)));
}

TEST(AlignmentReport, overlap_positions_are_frame_positions_and_missing_bits_read_false) {
  // Frame 1 was refused: the results hold frames 0 and 2, but "overlap" has a
  // value for each of the three frames, and the reference frame number 2
  // names no transform position.
  MultiViewParams params;
  fill(params, {0, 2}, {true, true}, {2}, {2}, {1}, {{{1, 1}, {1, 1}}}, 2);
  params.transforms[1] = std::make_unique<PixelTransform>();
  EXPECT_EQ(
      "({'sheetID':[0,2], 'renderable':[true,true], 'groupCount':[2], 'refSheetID':[2], "
      "'transformType':[1], 'connectivity':[[1,1],[1,1]], 'overlap':[0.00000,0.00000,0.00000], "
      "'fl':[0.0,0.0]})",
      report(params, frames(3)));
}

// Only a cylindrical transform has a focal length; it is written with a
// width of 5, so two-digit lengths get a leading blank.
TEST(AlignmentReport, fl_gives_the_focal_length_of_cylindrical_transforms_only) {
  MultiViewParams params;
  fill(params, {0, 1, 2, 3}, std::vector<bool>(4, false), {4}, {0}, {1},
       {{{1, 1, 0, 0}, {1, 1, 1, 0}, {0, 1, 1, 1}, {0, 0, 1, 1}}});
  const double rotation[9] = {1, 0, 0, 0, 1, 0, 0, 0, 1};
  const auto cylindrical = [&](double focal) {
    SimpleCameraParameters camera;
    camera.focal_length()[0] = focal;
    camera.focal_length()[1] = 2.0 * focal;
    return std::make_unique<CylindricalTransform>(camera, rotation, focal, focal, 0.0, 0.0, 0.0);
  };
  params.transforms.push_back(cylindrical(98.1));
  params.transforms.push_back(nullptr);
  params.transforms.push_back(std::make_unique<SphericalTransform>());
  params.transforms.push_back(cylindrical(812.34));
  const std::string text = report(params, frames(4));
  EXPECT_EQ("'fl':[ 98.1,0.0,0.0,812.3]})", text.substr(text.find("'fl'")));
}

TEST(AlignmentReport, a_text_that_does_not_fit_is_refused) {
  MultiViewParams params;
  std::vector<AlignFrame> list = frames(2);
  std::array<char, 40> small{};
  EXPECT_FALSE(write_alignment_report(params, list, small));
  EXPECT_EQ('\0', small.back());
  std::array<char, 140> exact{};  // the 139 characters of the empty report and its NUL
  EXPECT_TRUE(write_alignment_report(params, list, exact));
  EXPECT_EQ(139u, std::string(exact.data()).size());
  std::array<char, 139> one_short{};
  EXPECT_FALSE(write_alignment_report(params, list, one_short));
}

}  // namespace
