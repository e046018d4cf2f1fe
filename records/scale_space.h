// The Gaussian pyramid of one frame, with the parameters and work areas of
// the host's keypoint jobs.
//
// The whole record is handed to the jobs, so its layout is fixed: every
// vector sits in a 32-byte slot and the record is 376 bytes. Level l of an
// octave has a blur of base_sigma * 2^(l / S) in that octave's samples; each
// octave halves the previous one.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "records/float_image.h"
#include "records/sift_records.h"
#include "records/vector_slot.h"

struct scale_space {
  static constexpr uint64_t full_octave_count = 5;

  // Sets the sizes, the parameters and the keypoint numbers; buffers stay
  // empty until allocate_scale_space.
  scale_space(uint64_t columns, uint64_t rows, uint64_t octaves_wanted);

  uint64_t width;
  uint64_t height;
  uint64_t octave_count;
  uint64_t levels_per_octave = 3;  // S
  bool double_first_image = false;
  vector_slot<vector_slot<float_image>> octaves;  // S + 3 planes each
  float_image work_image_a;
  float_image work_image_b;
  float_image work_image_c;
  float input_blur = 0.5f;          // the blur the frame is taken to have
  float base_sigma = 0.8f;          // level 0 of every octave
  float contrast_threshold = 0.02f;
  float edge_threshold = 12.1f;     // (r + 1)^2 / r with r = 10
  float orientation_sigma_factor = 1.5f;
  float descriptor_window_factor = 3.0f;
  float descriptor_clip = 0.2f;
  uint64_t keypoint_budget;         // keypoint capacity unit of the first octave
  uint64_t keypoint_target;         // features wanted
  vector_slot<uint8_t> pixel_flags;
  vector_slot<host::sift_candidate> candidate_list;
  vector_slot<host::sift_extremum> extrema_list_a;
  vector_slot<host::sift_extremum> extrema_list_b;
  vector_slot<vector_slot<host::sift_keypoint>> keypoints;  // one list per octave
};

// The vector slots make the record non-standard-layout; GCC still gives
// exact offsets, which is all the layout check needs.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Winvalid-offsetof"
static_assert(offsetof(scale_space, octaves) == 40);
static_assert(offsetof(scale_space, work_image_a) == 72);
static_assert(offsetof(scale_space, input_blur) == 168);
static_assert(offsetof(scale_space, descriptor_clip) == 192);
static_assert(offsetof(scale_space, keypoint_budget) == 200);
static_assert(offsetof(scale_space, pixel_flags) == 216);
static_assert(offsetof(scale_space, candidate_list) == 248);
static_assert(offsetof(scale_space, extrema_list_a) == 280);
static_assert(offsetof(scale_space, extrema_list_b) == 312);
static_assert(offsetof(scale_space, keypoints) == 344);
static_assert(sizeof(scale_space) == 376);
#pragma GCC diagnostic pop

// The small feature budget of a frame with feature_mode 1 (which is also
// limited to its first octave): a budget of at most 1024 and a target of
// 512, which may be more than the frame's own.
void apply_small_feature_budget(scale_space& record);

// Makes `record` what the constructor makes for a frame of these sizes, but
// keeps its planes and lists for allocate_scale_space to reuse: a run's
// records serve batch after batch without fresh memory.
void reset_scale_space(scale_space& record, uint64_t columns, uint64_t rows, uint64_t octaves_wanted);

// Sizes every plane and reserves every list to its full capacity, so that
// the jobs never allocate. Planes and lists that a reset record kept are
// reused where they are large enough; the lists are emptied.
void allocate_scale_space(scale_space& record);

// The keypoints the job found, over all octaves.
std::size_t feature_count(const scale_space& record);
