// One correspondence between a feature of the first frame of a pair and one
// of the second.
#pragma once

#include <cstdint>

struct feature_match {
  uint64_t index_a;  // feature of the first frame
  int64_t index_b;   // feature of the second frame
  float score;       // 2 best / (sum of the two runner-ups): lower is better
  uint8_t inlier;    // set by the pair estimators

  friend bool operator==(const feature_match&, const feature_match&) = default;
};

static_assert(sizeof(feature_match) == 24);
