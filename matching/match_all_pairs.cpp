#include "matching/match_all_pairs.h"

#include <algorithm>
#include <utility>

#include "matching/match_pair.h"
#include "platform/host_suites.h"
#include "platform/pointer_check.h"
#include "platform/soft_requirement.h"
#include "records/pair_matches.h"
#include "records/pair_table.h"

namespace {

using frame_pair = std::pair<std::size_t, std::size_t>;

// The pairs in row order, with the rows of the table made ready.
std::vector<frame_pair> list_pairs(pair_table<pair_matches_ptr>& pairs, std::size_t n) {
  std::vector<frame_pair> list;
  if (n == 1) return list;
  for (std::size_t i = 0; i + 1 < n; ++i) {
    pairs.emplace_back();
    for (std::size_t j = i + 1; j < n; ++j) list.emplace_back(i, j);
  }
  return list;
}

// Makes the record of a pair, appends it to its row and merges the pair's
// raw matches into it.
void record_pair(const frame_list& frames, pair_table<pair_matches_ptr>& pairs, const frame_pair& pair,
                 const std::vector<raw_match>& raw) {
  const auto [i, j] = pair;
  pair_matches_ptr record(new pair_matches);
  record->first = frames[i];
  record->second = frames[j];
  pairs[i].push_back(record);
  pair_matches* const appended = pairs[i].back().get();
  if (pointer_present(appended)) append_matches(*appended, raw);
}

// match_pair on two packed descriptor arrays, its matches written as the
// host's job writes them; answers how many.
uint32_t match_raw(const uint8_t* descriptors_a, std::size_t count_a, const uint8_t* descriptors_b,
                   std::size_t count_b, std::vector<raw_match>& out) {
  std::vector<feature_match> found;
  match_pair(descriptors_a, count_a, descriptors_b, count_b, match_ratio, found);
  for (const feature_match& match : found) out.push_back({match.index_a, static_cast<uint64_t>(match.index_b), match.score});
  return static_cast<uint32_t>(found.size());
}

match_job job_for(const frame_list& frames, const frame_pair& pair, vector_slot<raw_match>& out, uint32_t* scratch) {
  const frame_features& a = *frames[pair.first];
  const frame_features& b = *frames[pair.second];
  match_job job;
  job.descriptors_a = descriptors_of(a);
  job.descriptors_b = descriptors_of(b);
  job.count_a = static_cast<uint32_t>(a.features.size());
  job.count_b = static_cast<uint32_t>(b.features.size());
  job.out = &out;
  job.scratch = scratch;
  job.ratio = match_ratio;
  return job;
}

// The pairs in batches of the host's batch size, each batch handed to
// `run_batch`; `line` names the check of the pair count.
template <class RunBatch>
pair_table<pair_matches_ptr> match_in_batches(const frame_list& frames, int line, RunBatch run_batch) {
  pair_table<pair_matches_ptr> pairs;
  const std::size_t n = frames.size();
  const std::size_t pair_total = n * (n - 1) / 2;
  const auto batch = static_cast<std::size_t>(std::max(1, host::entry(host::batch_size_entry)()));
  std::size_t largest = 0;
  for (const frame_features_ptr& frame : frames) largest = std::max(largest, frame->features.size());

  std::vector<match_job> jobs;
  jobs.reserve(batch);
  std::vector<vector_slot<raw_match>> raw(batch);
  // Slots' flag areas start `largest` entries apart although a job may need
  // more; the host job keeps flags of its own.
  std::vector<uint32_t> scratch_area(batch * largest * 2);

  const std::vector<frame_pair> list = list_pairs(pairs, n);
  require(list.size() == pair_total, line);

  std::size_t next = 0;
  for (bool finished = false; !finished;) {
    const std::size_t batch_start = next;
    for (std::size_t s = 0; s < batch; ++s) {
      if (next >= list.size()) {
        finished = true;
        jobs.emplace_back();  // an empty slot: no descriptors, no output
        continue;
      }
      jobs.push_back(job_for(frames, list[next], raw[s], scratch_area.data() + s * largest));
      ++next;
    }
    run_batch(&jobs);
    for (std::size_t p = batch_start; p < next; ++p) {
      vector_slot<raw_match>& slot = raw[p - batch_start];
      record_pair(frames, pairs, list[p], slot);
      slot.clear();
    }
    jobs.clear();
  }
  return pairs;
}

}  // namespace

pair_table<pair_matches_ptr> match_all_pairs(const frame_list& frames) {
  return match_in_batches(frames, 390, host::entry(host::match_batch_entry));
}

pair_table<pair_matches_ptr> match_all_pairs_job_by_job(const frame_list& frames) {
  return match_in_batches(frames, 478, [](std::vector<match_job>* jobs) {
    for (match_job& job : *jobs) {
      if (job.out) job.match_count = match_raw(job.descriptors_a, job.count_a, job.descriptors_b, job.count_b, *job.out);
    }
  });
}

pair_table<pair_matches_ptr> match_all_pairs_pair_by_pair(const frame_list& frames) {
  pair_table<pair_matches_ptr> pairs;
  std::vector<raw_match> raw;
  for (const frame_pair& pair : list_pairs(pairs, frames.size())) {
    const frame_features& a = *frames[pair.first];
    const frame_features& b = *frames[pair.second];
    match_raw(descriptors_of(a), a.features.size(), descriptors_of(b), b.features.size(), raw);
    record_pair(frames, pairs, pair, raw);
    raw.clear();
  }
  return pairs;
}
