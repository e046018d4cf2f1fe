// The pair stage: every pair of frames matched through the host's batch job,
// into the aligner's triangular table of pair records.
#pragma once

class MultiViewAligner;

// Fills aligner.pairs from aligner.features: row i, position j - i - 1 holds
// the record of pair (i, j). Pairs go to the host in batches of the host's
// batch size, in the order (0, 1), (0, 2), ..., (1, 2), ...; empty slots of
// the last batch are marked, and the job is called even when every slot is
// empty.
void match_all_pairs(MultiViewAligner& aligner);
