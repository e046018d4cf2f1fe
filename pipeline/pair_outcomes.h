// What the pair stage made of every pair that has matches, for callers in
// the engine's own process: how many matches it had, whether its motion was
// accepted, and the inlier matches of an accepted one. The pair tables hold
// them only while a run lasts, so a caller that hands correspondences on (as
// control points of a stitching project) or tells why an image was left out
// installs an observer here; the driver tells it once per run, right after
// the pair stage, before any group is refined. Telling only reads the
// tables: nothing that the run computes changes.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <span>
#include <vector>

#include "records/pair_matches.h"
#include "records/pair_table.h"

// One inlier match: the feature's position in each frame of the pair, in
// samples of the frame as given to the engine (0 is the centre of the first
// sample).
struct inlier_match {
  std::array<double, 2> first;
  std::array<double, 2> second;
};

// A pair with at least one match.
struct pair_outcome {
  int32_t first_sheet = 0;   // the `index` of the frame with the lower position
  int32_t second_sheet = 0;  // the `index` of the other frame
  std::size_t matches = 0;
  bool accepted = false;              // the pair stage accepted its motion
  std::vector<inlier_match> inliers;  // of an accepted pair, in match order
};

using pair_outcomes_observer = std::function<void(std::span<const pair_outcome>)>;

// Installs the process's observer; an empty one stops the reports.
void observe_pair_outcomes(pair_outcomes_observer observer);

// Tells the observer, if there is one, of every pair with matches, in pair
// order; `accepted` marks the pairs whose inliers it hands on, with their
// matches' inlier marks as the pair stage left them; `sheet_ids` gives each
// usable frame's `index`. Builds nothing when no observer is installed.
void report_pair_outcomes(const pair_table<pair_matches_ptr>& pairs, const std::vector<int32_t>& sheet_ids,
                           const pair_table<bool>& accepted);
