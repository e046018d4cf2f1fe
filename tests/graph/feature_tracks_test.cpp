// Tracks over hand-built matches: chains, conflicts, marks and links.
#include <gtest/gtest.h>

#include <tuple>
#include <vector>

#include "graph/feature_tracks.h"

namespace {

// Images with `features` features each; matches (i, fi, j, fj) with i < j,
// inlying unless the fifth value is false; all pairs linked unless cleared.
struct group {
  std::vector<frame_features_ptr> frames;
  pair_table<pair_matches_ptr> pairs;
  pair_table<bool> links;

  group(std::size_t images, std::size_t features,
        const std::vector<std::tuple<std::size_t, uint64_t, std::size_t, int64_t, bool>>& matches) {
    for (std::size_t i = 0; i < images; ++i) {
      frames.push_back(new frame_features);
      frames.back()->features.resize(features);
    }
    pairs.resize(images - 1);
    links.resize(images - 1);
    for (std::size_t i = 0; i + 1 < images; ++i) {
      for (std::size_t j = i + 1; j < images; ++j) {
        pair_matches_ptr pair(new pair_matches);
        for (const auto& [a, fa, b, fb, inlier] : matches) {
          if (a == i && b == j) pair->matches.push_back({fa, fb, 0.0f, static_cast<uint8_t>(inlier)});
        }
        pairs[i].push_back(pair);
        links[i].push_back(true);
      }
    }
  }
  feature_tracks tracks() const { return build_feature_tracks(frames, pairs, links); }
};

TEST(FeatureTracks, matches_chain_into_tracks_of_one_feature_per_image) {
  // 0:1 - 1:2 - 2:0 chain; 0:3 - 1:0 a pair; 1:3 - 2:3 only by an outlier.
  const group g(3, 4, {{0, 1, 1, 2, true}, {1, 2, 2, 0, true}, {0, 3, 1, 0, true}, {1, 3, 2, 3, false}});
  const feature_tracks tracks = g.tracks();
  EXPECT_EQ(2, tracks.track_count);
  EXPECT_EQ(5u, tracks.observation_count);
  EXPECT_EQ((std::vector<std::size_t>{0, 4, 8}), tracks.offsets);
  EXPECT_EQ(0, tracks.id_of(0, 1));
  EXPECT_EQ(0, tracks.id_of(1, 2));
  EXPECT_EQ(0, tracks.id_of(2, 0));
  EXPECT_EQ(1, tracks.id_of(0, 3));
  EXPECT_EQ(1, tracks.id_of(1, 0));
  EXPECT_EQ(-1, tracks.id_of(1, 3));
}

TEST(FeatureTracks, an_image_that_brings_two_features_takes_no_part) {
  // 0:0 - 1:0, and both reach image 2, at different features.
  const group g(3, 2, {{0, 0, 1, 0, true}, {0, 0, 2, 0, true}, {1, 0, 2, 1, true}});
  const feature_tracks tracks = g.tracks();
  EXPECT_EQ(1, tracks.track_count);
  EXPECT_EQ(2u, tracks.observation_count);
  EXPECT_EQ(0, tracks.id_of(0, 0));
  EXPECT_EQ(0, tracks.id_of(1, 0));
  // Started from image 2, each of its features meets the other: no track.
  EXPECT_EQ(-1, tracks.id_of(2, 0));
  EXPECT_EQ(-1, tracks.id_of(2, 1));
}

TEST(FeatureTracks, unlinked_pairs_and_lone_features_make_no_track) {
  group g(3, 2, {{0, 0, 1, 1, true}, {1, 0, 2, 1, true}});
  g.links[0][0] = false;  // (0, 1) not connected
  const feature_tracks tracks = g.tracks();
  EXPECT_EQ(1, tracks.track_count);  // only 1:0 - 2:1, numbered 0 after the lone starts gave theirs back
  EXPECT_EQ(0, tracks.id_of(1, 0));
  EXPECT_EQ(0, tracks.id_of(2, 1));
  EXPECT_EQ(-1, tracks.id_of(0, 0));
}

}  // namespace
