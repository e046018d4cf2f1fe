// The records of the batched matching road, exchanged with the host's
// match_batch job, so their layouts are fixed.
#pragma once

#include <cstddef>
#include <cstdint>

#include "records/vector_slot.h"

// A match as the job writes it: feature_match without the inlier byte.
struct raw_match {
  uint64_t index_a;
  uint64_t index_b;
  float score;
};

static_assert(sizeof(raw_match) == 24);

// One pair of descriptor arrays to match; a null `out` marks an empty slot,
// which the job skips.
struct match_job {
  const uint8_t* descriptors_a = nullptr;  // packed, null for no features
  const uint8_t* descriptors_b = nullptr;
  uint32_t count_a = 0;
  uint32_t count_b = 0;
  vector_slot<raw_match>* out = nullptr;
  uint32_t* scratch = nullptr;  // the job's to use or ignore
  float ratio = 0.0f;
  uint32_t match_count = 0;     // the job's result
};

static_assert(sizeof(match_job) == 48);
static_assert(offsetof(match_job, out) == 24);
static_assert(offsetof(match_job, ratio) == 40);
