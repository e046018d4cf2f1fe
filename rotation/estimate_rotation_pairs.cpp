#include "rotation/estimate_rotation_pairs.h"

#include <vector>

#include "numerics/matrix_3x3.h"
#include "platform/progress.h"
#include "rotation/refine_rotation_pair.h"
#include "rotation/rotation_ransac.h"

namespace {

// The positions of a pair's matches, in match order.
std::vector<point_match> positions_of(const pair_matches& pair) {
  std::vector<point_match> matches;
  matches.reserve(pair.matches.size());
  for (const feature_match& match : pair.matches) {
    const feature_record& a = pair.first->features[match.index_a];
    const feature_record& b = pair.second->features[static_cast<std::size_t>(match.index_b)];
    matches.push_back({{a.x, a.y}, {b.x, b.y}});
  }
  return matches;
}

image_point centre_of(const frame_features& frame) { return {frame.center_x, frame.center_y}; }

// The pair's explanation, or nothing when it is not connected.
bool explain_pair(const rotation_pair_options& options, pair_matches& pair, rotation_pair& record) {
  const std::vector<point_match> matches = positions_of(pair);
  const image_point centre_1 = centre_of(*pair.first), centre_2 = centre_of(*pair.second);
  const rotation_search search = rotation_ransac(matches, centre_1[0] + centre_1[1], centre_2[0] + centre_2[1],
                                                 centre_1, centre_2, options.threshold);
  const double needed = 5.9 + 0.22 * static_cast<double>(matches.size());
  if (search.failed || !(static_cast<double>(search.inlier_count) > needed)) return false;

  rotation_estimate estimate = search.best;
  if (!refine_rotation_pair(matches, search.inliers, centre_1, centre_2, options.refinement, estimate,
                            record.camera_first, record.camera_second)) {
    return false;
  }
  // The estimate takes directions of frame i to frame j; the record the
  // other way.
  transpose_3x3(estimate.rotation.data(), record.rotation.data());
  pair.inlier_count = search.inlier_count;
  for (std::size_t m = 0; m < pair.matches.size(); ++m) pair.matches[m].inlier = search.inliers[m];
  return true;
}

}  // namespace

void estimate_rotation_pairs(const pair_table<pair_matches_ptr>& pairs, uint64_t frame_count,
                             const rotation_pair_options& options, pair_table<rotation_pair>& pair_lists,
                             pair_table<bool>& connected) {
  pair_lists = make_pair_table<rotation_pair>(frame_count);
  connected = make_pair_table<bool>(frame_count);
  for (std::size_t i = 0; i + 1 < frame_count; ++i) {
    for (std::size_t j = i + 1; j < frame_count; ++j) {
      rotation_pair record{};
      const bool explained = explain_pair(options, *pairs[i][pair_position(i, j)], record);
      connected[i].push_back(explained);
      host::advance_progress(1);
      pair_lists[i].push_back(explained ? record : rotation_pair{});
    }
  }
}
