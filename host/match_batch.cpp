#include "host/match_batch.h"

#include <algorithm>
#include <cstdint>

#include "host/descriptor_kernels.h"
#include "platform/progress.h"
#include "records/match_job.h"

namespace host {
namespace {

constexpr std::size_t bytes = 128;
constexpr uint32_t no_distance = 0xFFFFFFFF;
// Reverse checks usually refuse early; they compute their distances in
// chunks so that a refusal wastes little.
constexpr std::size_t reverse_chunk = 64;

bool beats_by_ratio(uint32_t runner_up, uint32_t best, float ratio) {
  return static_cast<float>(runner_up) > static_cast<float>(best) * ratio;
}

struct job_state {
  std::vector<uint8_t> used_a;
  std::vector<uint32_t> used_b;  // positions of the matched descriptors of `b`
  std::vector<uint32_t> distances;
};

// The nearest and second nearest free descriptor of `b` to descriptor i of
// `a`. Matched descriptors take the largest distance, which changes
// neither: a free descriptor is always nearer, and the scan of the matcher
// ignores them just as it ignores that value. The position is m when every
// candidate is matched.
nearest_two forward_scan(const match_job& job, std::size_t i, job_state& state) {
  const std::size_t m = job.count_b;
  distances_to_block(job.descriptors_a + i * bytes, job.descriptors_b, m, state.distances.data());
  for (const uint32_t k : state.used_b) state.distances[k] = no_distance;
  return two_smallest(state.distances.data(), m);
}

// The nearest free descriptor of `a` to descriptor j of `b`, other than i;
// `refused` when one comes closer than `best`.
uint32_t reverse_scan(const match_job& job, std::size_t j, uint32_t best, job_state& state, bool& refused) {
  const std::size_t n = job.count_a;
  uint32_t reverse = no_distance;
  for (std::size_t start = 0; start < n; start += reverse_chunk) {
    const std::size_t count = std::min(reverse_chunk, n - start);
    distances_to_block(job.descriptors_b + j * bytes, job.descriptors_a + start * bytes, count, state.distances.data());
    for (std::size_t k = 0; k < count; ++k) {
      if (state.used_a[start + k]) continue;
      const uint32_t d = state.distances[k];
      if (d < best) {
        refused = true;
        return reverse;
      }
      reverse = std::min(reverse, d);
    }
  }
  return reverse;
}

uint32_t run_job(const match_job& job) {
  const std::size_t n = job.count_a, m = job.count_b;
  if (n == 0 || m == 0) return 0;
  if (n == 1 && m == 1) {
    job.out->push_back({0, 0, 0.0f});
    return 1;
  }
  job_state state{std::vector<uint8_t>(n), {}, std::vector<uint32_t>(std::max(m, reverse_chunk))};
  uint32_t count = 0;
  for (std::size_t i = 0; i < n; ++i) {
    const nearest_two forward = forward_scan(job, i, state);
    if (forward.position == m || !beats_by_ratio(forward.second, forward.best, job.ratio)) continue;
    state.used_a[i] = 1;
    bool refused = false;
    const uint32_t reverse = reverse_scan(job, forward.position, forward.best, state, refused);
    if (refused || !beats_by_ratio(reverse, forward.best, job.ratio)) {
      state.used_a[i] = 0;
      continue;
    }
    const float score = (static_cast<float>(forward.best) * 2.0f) / static_cast<float>(reverse + forward.second);
    job.out->push_back({i, static_cast<uint64_t>(static_cast<int64_t>(static_cast<int32_t>(forward.position))), score});
    state.used_b.push_back(static_cast<uint32_t>(forward.position));
    ++count;
  }
  return count;
}

}  // namespace

void match_batch(std::vector<match_job>* jobs) {
  const auto count = static_cast<std::ptrdiff_t>(jobs->size());
#pragma omp parallel for schedule(dynamic, 1)
  for (std::ptrdiff_t s = 0; s < count; ++s) {
    match_job& job = (*jobs)[static_cast<std::size_t>(s)];
    if (!job.out) continue;
    job.match_count = run_job(job);
    advance_progress(1);
  }
}

}  // namespace host
