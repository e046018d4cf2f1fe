// The catalogue of host suite entries that the engine calls: which suite,
// which slot, and the exact signature. The host fills its tables from this
// catalogue and the engine reads its copies through it, so both sides agree
// on every call by construction.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

struct scale_space;
struct feature_record;
struct match_job;

namespace host {

// A slot of a suite table; entries are stored type-erased.
using host_function = void (*)();

enum class suite_id { core, rsmp, filt };

struct suite_descriptor {
  uint32_t tag;     // four characters as a 32-bit integer
  int32_t version;
  std::size_t count;
};

inline constexpr suite_descriptor core_suite{0x636F7265, 3, 15};
inline constexpr suite_descriptor rsmp_suite{0x72736D70, 5, 62};
inline constexpr suite_descriptor filt_suite{0x66696C74, 9, 310};

constexpr const suite_descriptor& descriptor_of(suite_id suite) {
  switch (suite) {
    case suite_id::core: return core_suite;
    case suite_id::rsmp: return rsmp_suite;
    default: return filt_suite;
  }
}

template <class Signature>
struct suite_entry {
  suite_id suite;
  std::size_t index;
};

// core 14: how many items one batch job should take; at least 1.
using batch_size_function = int32_t();
inline constexpr suite_entry<batch_size_function> batch_size_entry{suite_id::core, 14};

// rsmp 24: reduces an 8-bit plane by integer factors. Arguments: source,
// destination, destination rows, destination columns, source row bytes,
// source sample step, destination row bytes, destination sample step, row
// factor, column factor.
using reduce_plane_function = void(const uint8_t*, uint8_t*, int32_t, int32_t, int32_t, int32_t,
                                   int32_t, int32_t, int32_t, int32_t);
inline constexpr suite_entry<reduce_plane_function> reduce_plane_entry{suite_id::rsmp, 24};

// filt 130: adds the samples of an 8-bit plane to 256 counters. Arguments:
// samples, rows, columns, row bytes, counters (zeroed by the caller).
using histogram_function = void(const uint8_t*, int32_t, int32_t, int32_t, uint64_t*);
inline constexpr suite_entry<histogram_function> histogram_entry{suite_id::filt, 130};

// filt 188: the L1 distance of two 128-byte descriptors.
using descriptor_distance_function = uint32_t(const uint8_t*, const uint8_t*);
inline constexpr suite_entry<descriptor_distance_function> descriptor_distance_entry{suite_id::filt, 188};

// filt 191 to 194: the row filter kernels for kernel tables with rows of 8,
// 12, 16 and 20 floats. Arguments: padded line, its length, kernel table, tap
// count, half length, output row.
using row_filter_function = void(const float*, std::size_t, const float*, std::size_t, std::size_t, float*);
inline constexpr suite_entry<row_filter_function> row_filter_entries[4] = {
    {suite_id::filt, 191}, {suite_id::filt, 192}, {suite_id::filt, 193}, {suite_id::filt, 194}};

// filt 195: transposition of a float plane. Arguments: destination,
// destination row bytes, source, source row bytes, source width, source
// height.
using transpose_function = void(float*, std::size_t, const float*, std::size_t, std::size_t, std::size_t);
inline constexpr suite_entry<transpose_function> transpose_entry{suite_id::filt, 195};

// filt 196: matches every pair of descriptor arrays of a batch of jobs.
using match_batch_function = void(std::vector<match_job>*);
inline constexpr suite_entry<match_batch_function> match_batch_entry{suite_id::filt, 196};

// filt 198: finds the keypoints of every record of a batch of pyramids.
using detect_keypoints_function = void(std::vector<scale_space>*);
inline constexpr suite_entry<detect_keypoints_function> detect_keypoints_entry{suite_id::filt, 198};

// filt 199: describes them. The second argument has one entry per record:
// the first feature record of its frame, or null for a frame without
// keypoints.
using describe_keypoints_function = void(std::vector<scale_space>*, feature_record* const*);
inline constexpr suite_entry<describe_keypoints_function> describe_keypoints_entry{suite_id::filt, 199};

}  // namespace host
