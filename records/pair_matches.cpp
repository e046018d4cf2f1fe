#include "records/pair_matches.h"

#include <algorithm>

void append_matches(pair_matches& pair, const std::vector<raw_match>& raw) {
  const std::size_t start = pair.matches.size();
  for (const raw_match& match : raw) {
    pair.matches.push_back({match.index_a, static_cast<int64_t>(match.index_b), match.score, 0});
  }
  // Matching gives ascending index_a already; the sort keeps records from
  // several calls in order. index_a and index_b are unique within a call, so
  // the sorts' instability cannot show.
  std::sort(pair.matches.begin() + static_cast<std::ptrdiff_t>(start), pair.matches.end(),
            [](const feature_match& x, const feature_match& y) { return x.index_a < y.index_a; });
  const std::size_t index_start = pair.index_by_b.size();
  for (std::size_t position = start; position < pair.matches.size(); ++position) {
    pair.index_by_b.emplace_back(static_cast<uint64_t>(pair.matches[position].index_b), position);
  }
  std::sort(pair.index_by_b.begin() + static_cast<std::ptrdiff_t>(index_start), pair.index_by_b.end(),
            [](const auto& x, const auto& y) { return x.first < y.first; });
}
