// What the group refinements share when they report a group: the choice of
// its reference, its connectivity matrix, the entries every group starts
// with, and the entry of a frame alone in its group.
#pragma once

#include <cstdint>
#include <vector>

#include "records/pair_table.h"

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

// Appends what every group starts with: its connectivity (from `links`),
// its size and its reference frame's sheet id.
void WriteGroupHead(MultiViewAligner& aligner, const pair_table<bool>& links, const std::vector<uint64_t>& frame_ids,
                    std::size_t reference_position);

// Appends the one frame of a group alone: nothing places it, so it is not
// renderable and has no transform.
void WriteLoneFrame(MultiViewAligner& aligner, uint64_t frame_id);
