// What both pipelines share when they report a group: the choice of its
// reference and its connectivity matrix.
#pragma once

#include <cstdint>
#include <vector>

#include "matching/pair_table.h"

class MultiViewAligner;

// The reference position within a component's `frames` (positions in the
// aligner's frame table): the first frame marked preferred, unless the
// current reference is marked itself. Sets several_preferred of the run's
// results once a component holds more than one preferred frame.
std::size_t ChooseReference(MultiViewAligner& aligner, const std::vector<bool>& preferred,
                            std::size_t reference_position, const std::vector<uint64_t>& frames);

// Appends the group's symmetric 0/1 matrix of linked frames, built from its
// link table (row i holds a bit for every frame after i), with ones on the
// diagonal.
void WriteConnectivity(MultiViewAligner& aligner, const pair_table<bool>& links);
