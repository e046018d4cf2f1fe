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

// Each case names the rule it holds the matcher to. A runner-up never found
// and a reverse scan without a competitor leave their distances at
// 0xFFFFFFFF, and the score's sum wraps.
TEST(MatchPair, the_forward_and_reverse_ratio_tests_decide_in_order_of_the_first_frame) {
  struct pair_case {
    const char* rule;
    std::initializer_list<uint32_t> a, b;
    std::vector<feature_match> expected;
  };
  const pair_case cases[] = {
      {"a first frame without features matches nothing", {}, {1, 2}, {}},
      {"a second frame without features matches nothing", {1, 2}, {}, {}},
      {"lone features match anyway", {0}, {30000}, {{0, 0, 0.0f, 0}}},
      {"136 beats 1.35 x 100", {0}, {100, 136}, {{0, 0, 200.0f / 135.0f, 0}}},
      {"135 does not", {0}, {100, 135}, {}},
      {"a runner-up of 100 without a reverse competitor: 0xFFFFFFFF + 100 wraps to 99", {0}, {50, 100},
       {{0, 0, 100.0f / 99.0f, 0}}},
      {"equal best distances fail", {0}, {50, 50}, {}},
      {"equal best distances fail even at zero", {7}, {7, 7}, {}},
      // a0 and a1 are both 100 from b0: each is refused by the other, since
      // the refused a0 is still free when a1 is checked.
      {"a reverse competitor as close as the best refuses and stays a competitor", {0, 200}, {100, 1000}, {}},
      // a0 takes b0; a1 then sees only b1, whose runner-up is never found,
      // and no free competitor remains on its side either.
      {"matched features leave the game and a lone candidate always passes", {0, 10}, {0, 1000},
       {{0, 0, 0.0f, 0}, {1, 1, 1980.0f / 4294967294.0f, 0}}},
      {"the lower index wins a forward tie, and the tie fails the ratio", {60}, {20, 100}, {}},
      // a0 ties between b1 and b2; a1 then matches b1 (10 against 90), and
      // looking back from b1 the unmatched a0 is 40 away.
      {"a tied feature stays a reverse competitor", {60, 110}, {1000, 100, 20}, {{1, 1, 20.0f / 130.0f, 0}}},
      // From b0, a1 (5 away) is closer than a0 (100): a0 is refused, a1 takes b0.
      {"a closer reverse competitor refuses the match", {0, 95}, {100, 1000}, {{1, 0, 10.0f / 1005.0f, 0}}},
  };
  for (const pair_case& c : cases) EXPECT_EQ(c.expected, match(c.a, c.b)) << c.rule;
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
