// The scene points of a group: chains of features joined by the inlying
// matches of the group's connected pairs, with at most one feature of an
// image in a chain. An image that would bring two different features into a
// chain takes no part in it at all.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "records/frame_features.h"
#include "records/pair_matches.h"
#include "records/pair_table.h"

struct feature_tracks {
  // The track of feature f of image i is ids[offsets[i] + f], or -1.
  std::vector<std::size_t> offsets;
  std::vector<int32_t> ids;
  int32_t track_count = 0;
  std::size_t observation_count = 0;  // features in a track

  int32_t id_of(std::size_t image, std::size_t feature) const { return ids[offsets[image] + feature]; }
};

// Tracks over a group's frames, its pair table and link bits (row a, entry
// b - a - 1 for the images a < b of the group). Features are visited in
// image order, then feature order; each one not yet in a track starts one,
// which is kept when it joins at least two features.
feature_tracks build_feature_tracks(const std::vector<frame_features_ptr>& frames,
                                    const pair_table<pair_matches_ptr>& pairs, const pair_table<bool>& links);

// Calls visit(image, feature, track) for every feature in a track, in image
// order, then feature order: the walk that gives the scene points of a
// group their start values and their observations.
template <class Visit>
void for_each_tracked_feature(const std::vector<frame_features_ptr>& frames, const feature_tracks& tracks,
                              Visit visit) {
  for (std::size_t image = 0; image < frames.size(); ++image) {
    const std::vector<feature_record>& features = frames[image]->features;
    for (std::size_t f = 0; f < features.size(); ++f) {
      const int32_t id = tracks.id_of(image, f);
      if (id >= 0) visit(image, features[f], static_cast<std::size_t>(id));
    }
  }
}
