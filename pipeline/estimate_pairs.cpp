#include "pipeline/estimate_pairs.h"

#include <vector>

#include "geometry/pair_rotation_model.h"
#include "geometry/refine_pair_motion.h"
#include "geometry/robust_estimate.h"
#include "platform/progress.h"
#include "rotation/refine_rotation_pair.h"

namespace {

// The matches of a pair as point lists, in match order.
struct correspondences {
  point_list first, second;
};

correspondences lists_of(const pair_matches& pair) {
  correspondences lists;
  for (const feature_match& match : pair.matches) {
    lists.first.push_back(&pair.first->features[match.index_a].x);
    lists.second.push_back(&pair.second->features[static_cast<std::size_t>(match.index_b)].x);
  }
  return lists;
}

// The robust motion of an accepted pair, with its inliers marked on the
// matches; nothing for a rejected one.
bool accept(double threshold, pair_matches& pair, const correspondences& lists, HomographyType kind, bit_mask& mask,
            h_matrix_2d& motion) {
  robust_options options;
  options.threshold = 2.0 * threshold * threshold;
  motion = h_matrix_2d(kind);
  if (!robust_estimate(options, lists.first, lists.second, mask, motion)) return false;
  const double needed = 0.22 * static_cast<double>(pair.matches.size()) + 5.9;
  if (needed >= static_cast<double>(mask.count())) return false;
  pair.inlier_count = 0;
  for (std::size_t m = 0; m < pair.matches.size(); ++m) {
    pair.matches[m].inlier = mask[m] ? 1 : 0;
    pair.inlier_count += mask[m];
  }
  return true;
}

// The pair's motion as a camera of frame i turned against frame j's, both
// refined over the inliers; nothing when it does not decompose or refine.
bool explain_as_rotation(const rotation_refinement& options, const pair_matches& pair, const bit_mask& mask,
                         const h_matrix_2d& motion, rotation_pair& record) {
  const image_point centre_i{pair.first->center_x, pair.first->center_y};
  const image_point centre_j{pair.second->center_x, pair.second->center_y};
  const pair_rotation_model model(motion, centre_i, centre_j);
  if (model.failed) return false;
  // Frame j is the first image, which the robust refinement holds at the
  // unit rotation.
  std::vector<point_match> matches;
  std::vector<uint8_t> inliers;
  for (std::size_t m = 0; m < pair.matches.size(); ++m) {
    const feature_record& a = pair.first->features[pair.matches[m].index_a];
    const feature_record& b = pair.second->features[static_cast<std::size_t>(pair.matches[m].index_b)];
    matches.push_back({{b.x, b.y}, {a.x, a.y}});
    inliers.push_back(mask[m] ? 1 : 0);
  }
  rotation_estimate estimate{model.camera_second.fx, model.camera_first.fx, model.rotation};
  if (!refine_rotation_pair(matches, inliers, centre_j, centre_i, options, estimate, record.camera_second,
                            record.camera_first)) {
    return false;
  }
  record.rotation = estimate.rotation;  // directions of frame j to frame i
  return true;
}

// The walk of both stages; `explain` is null for the one without rotations.
void walk(const pair_table<pair_matches_ptr>& pairs, uint64_t frame_count, const pair_estimation_options& options,
          HomographyType kind, pair_table<h_matrix_2d>& pair_motions, pair_table<bool>& pair_set,
          pair_table<rotation_pair>* pair_rotations, pair_table<bool>* rotation_set) {
  pair_motions = make_pair_table<h_matrix_2d>(frame_count);
  pair_set = make_pair_table<bool>(frame_count);
  if (pair_rotations) {
    *pair_rotations = make_pair_table<rotation_pair>(frame_count);
    *rotation_set = make_pair_table<bool>(frame_count);
  }
  for (std::size_t i = 0; i + 1 < frame_count; ++i) {
    for (std::size_t j = i + 1; j < frame_count; ++j) {
      pair_matches& pair = *pairs[i][pair_position(i, j)];
      const correspondences lists = lists_of(pair);
      bit_mask mask;
      h_matrix_2d motion(kind);
      const bool accepted = accept(options.threshold, pair, lists, kind, mask, motion);
      if (accepted) refine_pair_motion(lists.first, lists.second, mask, motion);
      pair_set[i].push_back(accepted);
      host::advance_progress(1);
      pair_motions[i].push_back(accepted ? motion : h_matrix_2d(kind));
      if (!pair_rotations) continue;
      rotation_pair record{};
      const bool explained = accepted && explain_as_rotation(options.refinement, pair, mask, motion, record);
      (*rotation_set)[i].push_back(explained);
      (*pair_rotations)[i].push_back(explained ? record : rotation_pair{});
    }
  }
}

}  // namespace

void estimate_pairs(const pair_table<pair_matches_ptr>& pairs, uint64_t frame_count,
                    const pair_estimation_options& options, pair_table<h_matrix_2d>& pair_motions,
                    pair_table<bool>& pair_set, pair_table<rotation_pair>& pair_rotations,
                    pair_table<bool>& rotation_set) {
  walk(pairs, frame_count, options, homography_projective, pair_motions, pair_set, &pair_rotations, &rotation_set);
}

void estimate_pairs_of_kind(const pair_table<pair_matches_ptr>& pairs, uint64_t frame_count,
                            const pair_estimation_options& options, HomographyType kind,
                            pair_table<h_matrix_2d>& pair_motions, pair_table<bool>& pair_set) {
  walk(pairs, frame_count, options, kind, pair_motions, pair_set, nullptr, nullptr);
}
