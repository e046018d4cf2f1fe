// The matches of one unordered pair of frames, shared by counted references
// between the pair table and the stages that read it.
#pragma once

#include <boost/intrusive_ptr.hpp>
#include <cstdint>
#include <utility>
#include <vector>

#include "records/feature_match.h"
#include "records/frame_features.h"
#include "records/match_job.h"

struct pair_matches {
  uint64_t ref_count = 0;
  frame_features_ptr first;   // the frame with the lower position
  frame_features_ptr second;  // the frame with the higher position
  // Sorted by index_a; never reordered or resized once the stage is done,
  // since inlier marks and masks go by position here.
  std::vector<feature_match> matches;
  // (index_b, position in matches), sorted by index_b: the way from a
  // feature of the second frame to its match.
  std::vector<std::pair<uint64_t, uint64_t>> index_by_b;
  uint64_t inlier_count = 0;  // set by the pair estimators
};

using pair_matches_ptr = boost::intrusive_ptr<pair_matches>;

inline void intrusive_ptr_add_ref(pair_matches* record) { ++record->ref_count; }
inline void intrusive_ptr_release(pair_matches* record) {
  if (--record->ref_count == 0) delete record;
}

// Merges one job's raw matches into the record: appends them, sorts the new
// part by index_a, and indexes it by index_b.
void append_matches(pair_matches& pair, const std::vector<raw_match>& raw);
