#include "graph/feature_tracks.h"

#include <algorithm>
#include <utility>

namespace {

using feature_link = std::pair<uint32_t, uint32_t>;  // (feature here, feature there)

constexpr int32_t untouched = -1, conflict = -2, claimed = -3;

class track_builder {
 public:
  track_builder(const std::vector<frame_features_ptr>& frames, const pair_table<pair_matches_ptr>& pairs,
                const pair_table<bool>& links)
      : images_(frames.size()), lists_(images_ * images_), slot_(images_) {
    for (std::size_t i = 0; i < images_; ++i) {
      feature_counts_.push_back(frames[i]->features.size());
      tracks_.offsets.push_back(tracks_.ids.size());
      tracks_.ids.resize(tracks_.ids.size() + frames[i]->features.size(), untouched);
    }
    for (std::size_t a = 0; a + 1 < images_; ++a) {
      for (std::size_t b = a + 1; b < images_; ++b) {
        if (links[a][pair_position(a, b)]) add_pair(a, b, *pairs[a][pair_position(a, b)]);
      }
    }
  }

  feature_tracks build() {
    for (std::size_t image = 0; image < images_; ++image) {
      for (uint32_t feature = 0; feature < feature_counts_[image]; ++feature) {
        if (id(image, feature) == untouched) start_track(image, feature);
      }
    }
    tracks_.observation_count = static_cast<std::size_t>(
        std::count_if(tracks_.ids.begin(), tracks_.ids.end(), [](int32_t v) { return v >= 0; }));
    return std::move(tracks_);
  }

 private:
  // Both directions of the pair's inlying matches, each sorted by the
  // feature it is looked up by.
  void add_pair(std::size_t a, std::size_t b, const pair_matches& pair) {
    std::vector<feature_link>& forward = lists_[a * images_ + b];
    std::vector<feature_link>& backward = lists_[b * images_ + a];
    for (const feature_match& match : pair.matches) {
      if (!match.inlier) continue;
      const auto fa = static_cast<uint32_t>(match.index_a), fb = static_cast<uint32_t>(match.index_b);
      forward.emplace_back(fa, fb);
      backward.emplace_back(fb, fa);
    }
    std::sort(forward.begin(), forward.end());
    std::sort(backward.begin(), backward.end());
  }

  int32_t& id(std::size_t image, uint32_t feature) { return tracks_.ids[tracks_.offsets[image] + feature]; }

  // Calls visit(image, feature) for every match of `feature` of `image` into
  // the other images, image by image.
  template <class Visit>
  void for_each_match(std::size_t image, uint32_t feature, Visit visit) {
    for (std::size_t other = 0; other < images_; ++other) {
      if (other == image) continue;
      const std::vector<feature_link>& list = lists_[image * images_ + other];
      const auto [first, last] = std::equal_range(list.begin(), list.end(), feature_link{feature, 0},
                                                  [](const feature_link& x, const feature_link& y) { return x.first < y.first; });
      for (auto link = first; link != last; ++link) visit(other, link->second);
    }
  }

  // First pass: which feature each image would bring, or a conflict.
  void probe(std::size_t image, uint32_t feature) {
    for_each_match(image, feature, [&](std::size_t other, uint32_t reached) {
      if (slot_[other] == untouched) {
        slot_[other] = static_cast<int32_t>(reached);
        probe(other, reached);
      } else if (slot_[other] != static_cast<int32_t>(reached)) {
        slot_[other] = conflict;
      }
    });
  }

  // Second pass: claim the features of the images without a conflict.
  void claim(std::size_t image, uint32_t feature, int32_t track, int& count) {
    if (slot_[image] == conflict || slot_[image] == claimed) return;
    slot_[image] = claimed;
    id(image, feature) = track;
    ++count;
    for_each_match(image, feature, [&](std::size_t other, uint32_t reached) {
      if (id(other, reached) == untouched) claim(other, reached, track, count);
    });
  }

  void start_track(std::size_t image, uint32_t feature) {
    std::fill(slot_.begin(), slot_.end(), untouched);
    slot_[image] = static_cast<int32_t>(feature);
    probe(image, feature);
    int count = 0;
    claim(image, feature, tracks_.track_count, count);
    if (count >= 2) {
      ++tracks_.track_count;
    } else if (count == 1) {
      id(image, feature) = untouched;  // a lone feature is no track; its number is used again
    }
  }

  std::size_t images_;
  std::vector<std::vector<feature_link>> lists_;  // [from * images + to]
  std::vector<int32_t> slot_;
  std::vector<std::size_t> feature_counts_;
  feature_tracks tracks_;
};

}  // namespace

feature_tracks build_feature_tracks(const std::vector<frame_features_ptr>& frames,
                                    const pair_table<pair_matches_ptr>& pairs, const pair_table<bool>& links) {
  return track_builder(frames, pairs, links).build();
}
