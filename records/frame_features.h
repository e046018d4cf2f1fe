// The features of one frame: positions and 128-byte descriptors, kept for
// the whole run and shared, by counted references, between the aligner and
// the match records of every pair the frame is in.
#pragma once

#include <boost/intrusive_ptr.hpp>
#include <cstddef>
#include <cstdint>
#include <vector>

// One feature, as the host's descriptor job writes it (184 bytes).
struct feature_record {
  double x;                 // columns of the frame; 0 is the centre of the first sample
  double y;                 // rows, downwards
  double detector_data[5];  // the job's own: octave, level, scale in frame samples, angle, 0
  uint8_t descriptor[128];
};

static_assert(sizeof(feature_record) == 184);

struct frame_features {
  uint64_t ref_count = 0;
  uint64_t frame_position = 0;  // the frame's place among the usable frames
  // Never resized once complete: the pointers below, the pair matches and
  // the estimators' point lists depend on its addresses and order.
  std::vector<feature_record> features;
  std::vector<const feature_record*> feature_points;  // element i points to features[i]
  double width = 0.0;
  double height = 0.0;
  double center_x = 0.0;  // (width - 1) / 2
  double center_y = 0.0;
  // The descriptors again, packed back to back from the first 16-byte
  // boundary of this storage: the all-pairs matcher reads only this array.
  std::vector<uint8_t> packed_descriptors;
};

using frame_features_ptr = boost::intrusive_ptr<frame_features>;

inline void intrusive_ptr_add_ref(frame_features* record) { ++record->ref_count; }
inline void intrusive_ptr_release(frame_features* record) {
  if (--record->ref_count == 0) delete record;
}

// The first packed descriptor, 128 bytes each with no gap, or null for a
// frame without features.
const uint8_t* descriptors_of(const frame_features& frame);

// Fills feature_points and packed_descriptors from the written features.
void complete_frame_features(frame_features& frame);
