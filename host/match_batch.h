// The host's batch matching job (filt 196): the two-way ratio-tested
// matching of every pair of a batch, the pairs in parallel.
#pragma once

#include <vector>

struct match_job;

namespace host {

// Runs every job whose `out` is not null: appends its matches to *out and
// sets match_count. Each job is the engine's match_pair on the job's
// operands, with the same matches in the same order.
void match_batch(std::vector<match_job>* jobs);

}  // namespace host
