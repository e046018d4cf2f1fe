// Running feature extraction on frames the test owns.
#pragma once

#include <vector>

#include "features/extract_features.h"
#include "features/frame_features.h"
#include "sources/multi_view_aligner.h"

namespace test_support {

// The features of each frame, extracted as the aligner does (at least two
// frames).
inline std::vector<frame_features_ptr> features_of(const std::vector<AlignFrame>& frames) {
  MultiViewParams params;
  MultiViewAligner aligner(params, homography_projective, FrameRect{}, aligner_options{});
  extract_features(aligner, frames);
  return aligner.features;
}

}  // namespace test_support
