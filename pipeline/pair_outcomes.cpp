#include "pipeline/pair_outcomes.h"

#include <utility>

namespace {

pair_outcomes_observer& observer() {
  static pair_outcomes_observer installed;
  return installed;
}

std::vector<inlier_match> inliers_of(const pair_matches& pair) {
  std::vector<inlier_match> inliers;
  inliers.reserve(pair.inlier_count);
  for (const feature_match& match : pair.matches) {
    if (!match.inlier) continue;
    const feature_record& a = pair.first->features[match.index_a];
    const feature_record& b = pair.second->features[static_cast<std::size_t>(match.index_b)];
    inliers.push_back({{a.x, a.y}, {b.x, b.y}});
  }
  return inliers;
}

}  // namespace

void observe_pair_outcomes(pair_outcomes_observer installed) { observer() = std::move(installed); }

void report_pair_outcomes(const pair_table<pair_matches_ptr>& pairs, const std::vector<int32_t>& sheet_ids,
                           const pair_table<bool>& accepted) {
  if (!observer()) return;
  std::vector<pair_outcome> found;
  for (std::size_t i = 0; i < accepted.size(); ++i) {
    for (std::size_t position = 0; position < accepted[i].size(); ++position) {
      const pair_matches_ptr& matched = pairs[i][position];
      if (!matched || matched->matches.empty()) continue;
      const std::size_t j = i + 1 + position;
      const bool taken = accepted[i][position];
      found.push_back({sheet_ids[i], sheet_ids[j], matched->matches.size(), taken,
                       taken ? inliers_of(*matched) : std::vector<inlier_match>{}});
    }
  }
  observer()(found);
}
