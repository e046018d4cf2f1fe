// The matcher's order semantics: forward and reverse ratio tests, features
// leaving the game as they match, ties, lone features and the wrapped score.
// Descriptors are placed on a line: with_weight(x) and with_weight(y) are
// |x - y| apart.
#include <gtest/gtest.h>

#include <set>

#include "descriptors.h"
#include "matching/descriptor_distance.h"
#include "matching/match_pair.h"

namespace {

using namespace test_support;

std::vector<feature_match> match(std::initializer_list<uint32_t> a, std::initializer_list<uint32_t> b) {
  std::vector<descriptor> first, second;
  for (const uint32_t w : a) first.push_back(with_weight(w));
  for (const uint32_t w : b) second.push_back(with_weight(w));
  const packed_descriptors pa(first), pb(second);
  std::vector<feature_match> out;
  const std::size_t count = match_pair(pa.data(), pa.size(), pb.data(), pb.size(), match_ratio, out);
  EXPECT_EQ(out.size(), count);
  return out;
}

TEST(DescriptorDistance, sums_absolute_byte_differences) {
  const descriptor zero{}, full = with_weight(128 * 255);
  EXPECT_EQ(32640u, descriptor_distance(zero.data(), full.data()));
  EXPECT_EQ(32640u, descriptor_distance(full.data(), zero.data()));
  EXPECT_EQ(0u, descriptor_distance(full.data(), full.data()));
  EXPECT_EQ(555u, descriptor_distance(with_weight(1000).data(), with_weight(445).data()));
  descriptor a{}, b{};
  a[127] = 3;
  b[0] = 250;
  EXPECT_EQ(253u, descriptor_distance(a.data(), b.data()));
}

TEST(MatchPair, frames_without_features_match_nothing_and_lone_features_match_anyway) {
  EXPECT_TRUE(match({}, {1, 2}).empty());
  EXPECT_TRUE(match({1, 2}, {}).empty());
  const auto lone = match({0}, {30000});
  ASSERT_EQ(1u, lone.size());
  EXPECT_EQ((feature_match{0, 0, 0.0f, 0}), lone[0]);
}

TEST(MatchPair, the_runner_up_must_be_more_than_ratio_times_the_best) {
  // 136 beats 1.35 x 100; 135 does not. The reverse scan finds no
  // competitor, so its distance stays 0xFFFFFFFF and the sum wraps.
  const auto passing = match({0}, {100, 136});
  ASSERT_EQ(1u, passing.size());
  EXPECT_EQ(0u, passing[0].index_a);
  EXPECT_EQ(0, passing[0].index_b);
  EXPECT_EQ(200.0f / 135.0f, passing[0].score);
  EXPECT_TRUE(match({0}, {100, 135}).empty());
  // A runner-up of 100 with no reverse competitor: 0xFFFFFFFF + 100 wraps to 99.
  const auto wrapped = match({0}, {50, 100});
  ASSERT_EQ(1u, wrapped.size());
  EXPECT_EQ(100.0f / 99.0f, wrapped[0].score);
}

TEST(MatchPair, equal_best_distances_fail_even_at_zero) {
  EXPECT_TRUE(match({0}, {50, 50}).empty());
  EXPECT_TRUE(match({7}, {7, 7}).empty());
}

TEST(MatchPair, a_reverse_competitor_as_close_as_the_best_refuses_and_stays_a_competitor) {
  // a0 and a1 are both 100 from b0: each is refused by the other, since
  // the refused a0 is still free when a1 is checked.
  EXPECT_TRUE(match({0, 200}, {100, 1000}).empty());
}

TEST(MatchPair, matched_features_leave_the_game_and_a_lone_candidate_always_passes) {
  // a0 takes b0; a1 then sees only b1, whose runner-up is never found, and
  // no free competitor remains on its side either.
  const auto matches = match({0, 10}, {0, 1000});
  ASSERT_EQ(2u, matches.size());
  EXPECT_EQ((feature_match{0, 0, 0.0f, 0}), matches[0]);
  EXPECT_EQ(1u, matches[1].index_a);
  EXPECT_EQ(1, matches[1].index_b);
  EXPECT_EQ(1980.0f / 4294967294.0f, matches[1].score);
}

TEST(MatchPair, the_lower_index_wins_a_forward_tie_and_the_tie_fails_the_ratio) {
  EXPECT_TRUE(match({60}, {20, 100}).empty());
  // a0 ties between b1 and b2; a1 then matches b1 (10 against 90), and
  // looking back from b1 the unmatched a0 is 40 away.
  const auto matches = match({60, 110}, {1000, 100, 20});
  ASSERT_EQ(1u, matches.size());
  EXPECT_EQ((feature_match{1, 1, 20.0f / 130.0f, 0}), matches[0]);
}

TEST(MatchPair, a_closer_reverse_competitor_refuses_the_match) {
  // From b0, a1 (5 away) is closer than a0 (100): a0 is refused, a1 takes b0.
  const auto matches = match({0, 95}, {100, 1000});
  ASSERT_EQ(1u, matches.size());
  EXPECT_EQ((feature_match{1, 0, 10.0f / 1005.0f, 0}), matches[0]);
}

TEST(MatchPair, results_are_one_to_one_and_in_ascending_first_index) {
  const auto a = random_descriptors(300, 1), b = random_descriptors(280, 2);
  // Some true correspondences, slightly disturbed.
  std::vector<descriptor> shared = b;
  for (std::size_t i = 0; i < 200; ++i) {
    shared[i] = a[(i * 7) % 300];
    shared[i][i % 128] = static_cast<uint8_t>(shared[i][i % 128] ^ 3);
  }
  const packed_descriptors pa(a), pb(shared);
  std::vector<feature_match> out;
  match_pair(pa.data(), pa.size(), pb.data(), pb.size(), match_ratio, out);
  ASSERT_GT(out.size(), 150u);
  std::set<int64_t> seen_b;
  for (std::size_t k = 0; k < out.size(); ++k) {
    if (k > 0) {
      EXPECT_LT(out[k - 1].index_a, out[k].index_a);
    }
    EXPECT_TRUE(seen_b.insert(out[k].index_b).second);
    EXPECT_EQ(0, out[k].inlier);
  }
}

}  // namespace
