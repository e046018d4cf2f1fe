#include "rotation/estimate_rotation_pairs.h"

#include <vector>

#include "host/progress.h"
#include "mvg/matrix_3x3.h"
#include "rotation/refine_rotation_pair.h"
#include "rotation/rotation_ransac.h"
#include "sources/multi_view_aligner.h"

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
bool explain_pair(const MultiViewAligner& aligner, pair_matches& pair, rotation_pair& record) {
  const std::vector<point_match> matches = positions_of(pair);
  const image_point centre_1 = centre_of(*pair.first), centre_2 = centre_of(*pair.second);
  const rotation_search search = rotation_ransac(matches, centre_1[0] + centre_1[1], centre_2[0] + centre_2[1],
                                                 centre_1, centre_2, aligner.pair_rotation_threshold);
  const double needed = 5.9 + 0.22 * static_cast<double>(matches.size());
  if (search.failed || !(static_cast<double>(search.inlier_count) > needed)) return false;

  rotation_estimate estimate = search.best;
  const rotation_refinement options{aligner.nonlinear_refine, aligner.group_rotation_threshold};
  if (!refine_rotation_pair(matches, search.inliers, centre_1, centre_2, options, estimate, record.camera_first,
                            record.camera_second)) {
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

void estimate_rotation_pairs(MultiViewAligner& aligner, pair_table<rotation_pair>& pair_lists,
                             pair_table<bool>& connected) {
  pair_lists = make_pair_table<rotation_pair>(aligner.frame_count);
  connected = make_pair_table<bool>(aligner.frame_count);
  for (std::size_t i = 0; i + 1 < aligner.frame_count; ++i) {
    for (std::size_t j = i + 1; j < aligner.frame_count; ++j) {
      rotation_pair record{};
      const bool explained = explain_pair(aligner, *aligner.pairs[i][pair_position(i, j)], record);
      connected[i].push_back(explained);
      host::advance_progress(1);
      pair_lists[i].push_back(explained ? record : rotation_pair{});
    }
  }
}
