// The pair stage: every pair of frames matched through the host's batch job,
// into the triangular table of pair records; and its two
// sequential forms, the reference for what the job computes.
#pragma once

#include <vector>

#include "records/frame_features.h"
#include "records/pair_matches.h"
#include "records/pair_table.h"

using frame_list = std::vector<frame_features_ptr>;

// The pair records of the frames' features: row i, position j - i - 1 holds
// the record of pair (i, j); no rows for fewer than two frames. Pairs go to the host in batches of the host's
// batch size, in the order (0, 1), (0, 2), ..., (1, 2), ...; empty slots of
// the last batch are marked, and the job is called even when every slot is
// empty.
pair_table<pair_matches_ptr> match_all_pairs(const frame_list& frames);

// The same jobs in the same batches, each run by match_pair in turn on the
// calling thread.
pair_table<pair_matches_ptr> match_all_pairs_job_by_job(const frame_list& frames);

// match_pair on one pair after the other, in the same order, each pair's
// matches merged into its record at once.
pair_table<pair_matches_ptr> match_all_pairs_pair_by_pair(const frame_list& frames);
