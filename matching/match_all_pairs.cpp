#include "matching/match_all_pairs.h"

#include <algorithm>
#include <utility>

#include "host/host_suites.h"
#include "matching/match_pair.h"
#include "matching/pair_matches.h"
#include "matching/pair_table.h"
#include "matching/soft_requirement.h"
#include "sources/multi_view_aligner.h"

namespace {

using frame_pair = std::pair<std::size_t, std::size_t>;

// The pairs in row order, with the rows of the table made ready.
std::vector<frame_pair> list_pairs(MultiViewAligner& aligner, std::size_t n) {
  std::vector<frame_pair> list;
  if (n == 1) return list;
  for (std::size_t i = 0; i + 1 < n; ++i) {
    aligner.pairs.emplace_back();
    for (std::size_t j = i + 1; j < n; ++j) list.emplace_back(i, j);
  }
  return list;
}

match_job job_for(const MultiViewAligner& aligner, const frame_pair& pair, vector_slot<raw_match>& out,
                  uint32_t* scratch) {
  const frame_features& a = *aligner.features[pair.first];
  const frame_features& b = *aligner.features[pair.second];
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

}  // namespace

void match_all_pairs(MultiViewAligner& aligner) {
  const auto n = static_cast<std::size_t>(aligner.frame_count);
  const std::size_t pair_total = n * (n - 1) / 2;
  const auto batch = static_cast<std::size_t>(std::max(1, host::entry(host::batch_size_entry)()));
  std::size_t largest = 0;
  for (const frame_features_ptr& frame : aligner.features) largest = std::max(largest, frame->features.size());

  std::vector<match_job> jobs;
  jobs.reserve(batch);
  std::vector<vector_slot<raw_match>> raw(batch);
  // Slots' flag areas start `largest` entries apart although a job may need
  // more; the host job keeps flags of its own.
  std::vector<uint32_t> scratch_area(batch * largest * 2);

  const std::vector<frame_pair> list = list_pairs(aligner, n);
  require(list.size() == pair_total, 390);
  host::match_batch_function* const match_batch = host::entry(host::match_batch_entry);

  std::size_t next = 0;
  for (bool finished = false; !finished;) {
    const std::size_t batch_start = next;
    for (std::size_t s = 0; s < batch; ++s) {
      if (next >= list.size()) {
        finished = true;
        jobs.emplace_back();  // an empty slot: no descriptors, no output
        continue;
      }
      jobs.push_back(job_for(aligner, list[next], raw[s], scratch_area.data() + s * largest));
      ++next;
    }
    match_batch(&jobs);
    for (std::size_t p = batch_start; p < next; ++p) {
      const auto [i, j] = list[p];
      pair_matches_ptr record(new pair_matches);
      record->first = aligner.features[i];
      record->second = aligner.features[j];
      aligner.pairs[i].push_back(record);
      vector_slot<raw_match>& slot = raw[p - batch_start];
      append_matches(*record, slot);
      slot.clear();
    }
    jobs.clear();
  }
}
