#include "host/match_batch.h"

#include <cstdint>

#include "host/descriptor_kernels.h"
#include "platform/progress.h"
#include "records/match_job.h"

namespace host {
namespace {

constexpr uint32_t no_distance = 0xFFFFFFFF;

bool beats_by_ratio(uint32_t runner_up, uint32_t best, float ratio) {
  return static_cast<float>(runner_up) > static_cast<float>(best) * ratio;
}

// One thread's buffers, kept from job to job of a batch. Every distance of
// a pair is computed once, into a table by rows of `a` for the forward
// scans and its transposition for the reverse checks; a descriptor that
// leaves the game is marked in the tables rather than skipped, since a
// marked entry is no distance to the scans and never the nearest.
struct job_tables {
  std::vector<uint16_t> by_a, by_b;
  std::vector<uint32_t> used_a, used_b;  // positions of the matched descriptors

  void compute(const match_job& job) {
    const std::size_t entries = std::size_t(job.count_a) * job.count_b;
    if (by_a.size() < entries) {
      by_a.resize(entries);
      by_b.resize(entries);
    }
    distance_tables(job.descriptors_a, job.count_a, job.descriptors_b, job.count_b, by_a.data(), by_b.data());
    used_a.clear();
    used_b.clear();
  }
};

// The nearest and second nearest free descriptor of `b` to descriptor i of
// `a`; position m when every candidate is matched. Each row is scanned once,
// so its marks need not last.
nearest_two forward_scan(const match_job& job, std::size_t i, job_tables& tables) {
  uint16_t* row = tables.by_a.data() + i * job.count_b;
  for (const uint32_t k : tables.used_b) row[k] = no_table_distance;
  return two_smallest(row, job.count_b);
}

// The nearest free descriptor of `a` to descriptor j of `b`, other than i.
// The check refuses when it is nearer than the forward best, which is the
// scan that stops at the first such descriptor. The marks of the matched
// descriptors last, as they stay matched; that of i is lifted unless the
// match is made.
uint32_t reverse_scan(const match_job& job, std::size_t i, std::size_t j, job_tables& tables, uint16_t& own) {
  uint16_t* column = tables.by_b.data() + j * job.count_a;
  for (const uint32_t k : tables.used_a) column[k] = no_table_distance;
  own = column[i];
  column[i] = no_table_distance;
  return smallest(column, job.count_a);
}

uint32_t run_job(const match_job& job, job_tables& tables) {
  const std::size_t n = job.count_a, m = job.count_b;
  if (n == 0 || m == 0) return 0;
  if (n == 1 && m == 1) {
    job.out->push_back({0, 0, 0.0f});
    return 1;
  }
  tables.compute(job);
  uint32_t count = 0;
  for (std::size_t i = 0; i < n; ++i) {
    const nearest_two forward = forward_scan(job, i, tables);
    if (forward.position == m || !beats_by_ratio(forward.second, forward.best, job.ratio)) continue;
    const std::size_t j = forward.position;
    uint16_t own = 0;
    const uint32_t reverse = reverse_scan(job, i, j, tables, own);
    if (reverse < forward.best || !beats_by_ratio(reverse, forward.best, job.ratio)) {
      tables.by_b[j * n + i] = own;  // still a competitor in later reverse checks
      continue;
    }
    const float score = (static_cast<float>(forward.best) * 2.0f) / static_cast<float>(reverse + forward.second);
    job.out->push_back({i, static_cast<uint64_t>(static_cast<int64_t>(static_cast<int32_t>(j))), score});
    tables.used_a.push_back(static_cast<uint32_t>(i));
    tables.used_b.push_back(static_cast<uint32_t>(j));
    ++count;
  }
  return count;
}

}  // namespace

void match_batch(std::vector<match_job>* jobs) {
  const auto count = static_cast<std::ptrdiff_t>(jobs->size());
#pragma omp parallel
  {
    job_tables tables;
#pragma omp for schedule(dynamic, 1)
    for (std::ptrdiff_t s = 0; s < count; ++s) {
      match_job& job = (*jobs)[static_cast<std::size_t>(s)];
      if (!job.out) continue;
      job.match_count = run_job(job, tables);
      advance_progress(1);
    }
  }
}

}  // namespace host
