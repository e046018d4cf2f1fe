// How well features survive a known warp of an image: the repeatability of
// keypoint positions and the precision of descriptor matches. Shared by the
// feature tests and the extraction benchmark.
#pragma once

#include <cstddef>

#include "photographs.h"
#include "records/frame_features.h"

namespace test_support {

struct feature_quality {
  std::size_t keypoints_original = 0;  // distinct positions inside both images
  std::size_t keypoints_warped = 0;
  std::size_t repeated = 0;            // one-to-one pairs within the radius
  double repeatability = 0.0;          // repeated / the smaller of the two counts
  std::size_t matches = 0;             // two-way ratio-test matches
  std::size_t correct_matches = 0;     // landing within the match radius
  double match_precision = 0.0;
};

struct quality_settings {
  double repeat_radius = 1.5;  // pixels of the warped image
  double match_radius = 2.0;
  double ratio = 1.35;         // L1 ratio of the matcher
  double border = 12.0;        // keeps clear of both images' edges and the warp's black surround
};

// `original` and `warped` are the features of an image and of its warp by
// `h` (warped = h(original)); the images give the sizes. Repeatability
// counts distinct keypoint positions in the region both images see, pairs
// them one to one within the radius, and divides by the smaller count (the
// usual definition). Matches are those of the two-way ratio test that the
// engine's matcher applies: the nearest neighbour in L1 must beat the second
// by the ratio, and so must the reverse nearest neighbour.
feature_quality measure_feature_quality(const frame_features& original, const frame_features& warped,
                                        const grey_image& original_image, const grey_image& warped_image,
                                        const homography& h, const quality_settings& settings = {});

}  // namespace test_support
