// The observer of the pair stage's outcomes, through which the tool gets the
// inlier matches it writes as control points and learns why an image was
// left out: told once per run, of every pair with matches, the accepted ones
// with matches that fit the pair's motion, and without changing anything the
// run computes.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <sstream>
#include <string>
#include <vector>

#include "photographs.h"
#include "pipeline/pair_outcomes.h"
#include "pipeline/multi_view_align_main.h"
#include "pipeline/multi_view_params.h"
#include "pipeline/transformation_type.h"

namespace {

using test_support::grey_image;

// What the observer heard in one run.
struct heard {
  int calls = 0;
  std::vector<pair_outcome> pairs;
};

class PairOutcomes : public testing::Test {
 protected:
  void SetUp() override {
    if (test_support::photograph_folder().empty()) GTEST_SKIP() << "no photograph folder (set LACEWRIGHT_DATA_DIR)";
  }
  void TearDown() override { observe_pair_outcomes({}); }

  void listen() {
    observe_pair_outcomes([this](std::span<const pair_outcome> pairs) {
      ++heard_.calls;
      heard_.pairs.assign(pairs.begin(), pairs.end());
    });
  }

  // What one run on copies of `images` (conditioning rescales the frames it
  // is given) answers, from the state of a fresh process's rand(): the
  // result lists, and each transform's kind and offset to the last bit.
  static std::string align(std::vector<grey_image> images, int32_t type) {
    std::vector<AlignFrame> frames;
    for (std::size_t k = 0; k < images.size(); ++k) frames.push_back(images[k].frame(static_cast<int32_t>(k)));
    MultiViewParams params;
    params.requested_type = type;
    std::srand(1);
    MultiViewAlignMain(&params, &frames);
    std::ostringstream answer;
    answer.precision(17);
    for (std::size_t k = 0; k < params.sheetID.size(); ++k) {
      answer << "sheet " << params.sheetID[k] << " renderable " << params.renderable[k];
      if (const PixelTransform* transform = params.transforms[k].get()) {
        double first = 0.0, second = 0.0;
        transform->getOffset(&first, &second);
        answer << " kind " << transform->kind << " offset " << first << " " << second;
      }
      answer << "\n";
    }
    for (std::size_t g = 0; g < params.groupCount.size(); ++g) {
      answer << "group " << params.groupCount[g] << " reference " << params.refSheetID[g] << " type "
             << params.transformType[g] << " links";
      for (const auto& row : params.connectivity[g]) {
        for (const int32_t link : row) answer << " " << link;
      }
      answer << "\n";
    }
    return answer.str();
  }

  heard heard_;
};

TEST_F(PairOutcomes, are_told_once_with_inliers_that_the_pairs_motion_maps_onto_each_other) {
  const grey_image photograph = test_support::read_grey(test_support::photograph_set("pier")[0]);
  const test_support::homography motion = test_support::rotation_about_centre(photograph, 12.0, 0.9);
  const grey_image seen = test_support::warp(photograph, motion, photograph.width, photograph.height);
  listen();
  align({photograph, seen}, transform_automatic);

  ASSERT_EQ(1, heard_.calls);
  ASSERT_EQ(1u, heard_.pairs.size());
  const pair_outcome& pair = heard_.pairs[0];
  EXPECT_TRUE(pair.accepted);
  EXPECT_EQ(0, pair.first_sheet);
  EXPECT_EQ(1, pair.second_sheet);
  ASSERT_GT(pair.inliers.size(), 50u);
  // The warp puts photograph point p at motion(p) of the second frame; an
  // inlier lies within the pair threshold, most far closer.
  double total = 0.0;
  for (const inlier_match& match : pair.inliers) {
    const auto mapped = test_support::apply(motion, match.first[0], match.first[1]);
    const double distance = std::hypot(mapped[0] - match.second[0], mapped[1] - match.second[1]);
    EXPECT_LT(distance, 3.0 * std::sqrt(2.0));
    total += distance;
  }
  EXPECT_LT(total / static_cast<double>(pair.inliers.size()), 0.5);
}

TEST_F(PairOutcomes, accepted_are_the_connected_pairs_of_a_turning_camera) {
  std::vector<grey_image> images;
  for (const auto& path : test_support::photograph_set("rainier")) images.push_back(test_support::read_grey(path));
  listen();
  const std::string answer = align(images, transform_cylindrical);
  ASSERT_EQ(1, heard_.calls);
  // The group's connectivity lists the same links, row by row.
  std::string links(images.size() * images.size(), '0');
  for (std::size_t k = 0; k < images.size(); ++k) links[k * images.size() + k] = '1';
  for (const pair_outcome& pair : heard_.pairs) {
    EXPECT_LT(pair.first_sheet, pair.second_sheet);
    EXPECT_GT(pair.matches, 0u);
    if (!pair.accepted) {
      EXPECT_TRUE(pair.inliers.empty());
      continue;
    }
    EXPECT_GT(pair.inliers.size(), 10u);
    EXPECT_LE(pair.inliers.size(), pair.matches);
    links[static_cast<std::size_t>(pair.first_sheet) * images.size() + static_cast<std::size_t>(pair.second_sheet)] = '1';
    links[static_cast<std::size_t>(pair.second_sheet) * images.size() + static_cast<std::size_t>(pair.first_sheet)] = '1';
  }
  // Rainier is one group of every image, in image order.
  std::string reported;
  for (std::size_t k = answer.find(" links"); k < answer.size(); ++k) {
    if (answer[k] == '0' || answer[k] == '1') reported += answer[k];
  }
  EXPECT_EQ(links, reported);
}

TEST_F(PairOutcomes, telling_them_changes_nothing_that_the_run_computes_and_a_removed_observer_is_not_told) {
  std::vector<grey_image> images;
  for (const auto& path : test_support::photograph_set("hill")) images.push_back(test_support::read_grey(path));
  for (const int32_t type : {transform_cylindrical, transform_automatic}) {
    SCOPED_TRACE(type);
    listen();
    const std::string observed = align(images, type);
    observe_pair_outcomes({});
    EXPECT_EQ(observed, align(images, type));
  }
  EXPECT_EQ(2, heard_.calls);  // once for each observed run
}

}  // namespace
