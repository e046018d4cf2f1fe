// Running feature extraction on frames the test owns.
#pragma once

#include <vector>

#include "features/extract_features.h"
#include "records/frame_features.h"

namespace test_support {

// The features of each frame, as the driver takes them (at least two
// frames).
inline std::vector<frame_features_ptr> features_of(const std::vector<AlignFrame>& frames) {
  std::vector<frame_features_ptr> features;
  for (extracted_frame& extracted : extract_features(frames)) features.push_back(std::move(extracted.features));
  return features;
}

}  // namespace test_support
