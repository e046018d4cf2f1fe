// Frame conditioning: which frames are refused, and where the median of a
// dark or bright frame's non-black samples lands.
#include <gtest/gtest.h>

#include <vector>

#include "pipeline/condition_frame.h"

namespace {

// A 10 by 10 frame filled from (level, count) runs.
std::vector<uint8_t> frame_of(std::initializer_list<std::pair<uint8_t, int>> runs) {
  std::vector<uint8_t> samples;
  for (const auto& [level, count] : runs) samples.insert(samples.end(), count, level);
  samples.resize(100, 0);
  return samples;
}

bool condition(std::vector<uint8_t>& samples) { return ConditionFrame(10, 10, samples.data()); }

TEST(ConditionFrame, frames_without_structure_are_refused) {
  auto black = frame_of({{0, 100}});
  auto white = frame_of({{255, 100}});
  EXPECT_FALSE(condition(black));
  EXPECT_FALSE(condition(white));
  uint8_t sample = 128;
  EXPECT_FALSE(ConditionFrame(0, 10, &sample));
  EXPECT_FALSE(ConditionFrame(10, 0, &sample));
  EXPECT_FALSE(ConditionFrame(-3, -3, &sample));
  EXPECT_EQ(128, sample);
}

TEST(ConditionFrame, a_dark_frame_is_lifted_so_that_its_median_lands_on_127) {
  auto ones = frame_of({{1, 100}});
  EXPECT_TRUE(condition(ones));
  EXPECT_EQ(frame_of({{127, 100}}), ones);

  // 61 per cent black, the rest at 40: black stays, 40 becomes 127 (gain 3.175).
  auto mostly_black = frame_of({{0, 61}, {40, 39}});
  EXPECT_TRUE(condition(mostly_black));
  EXPECT_EQ(frame_of({{0, 61}, {127, 39}}), mostly_black);
}

TEST(ConditionFrame, a_bright_frame_is_lowered_with_truncation) {
  auto bright = frame_of({{200, 70}, {100, 30}});
  EXPECT_TRUE(condition(bright));
  EXPECT_EQ(frame_of({{127, 70}, {63, 30}}), bright);  // gain 0.635; 63.5 truncates
}

TEST(ConditionFrame, the_median_is_the_first_level_whose_count_exceeds_half) {
  // 20 non-black samples, half at 30: the running count equals half at 30
  // and only exceeds it at 60.
  auto dark = frame_of({{0, 80}, {30, 10}, {60, 10}});
  EXPECT_TRUE(condition(dark));
  EXPECT_EQ(frame_of({{0, 80}, {63, 10}, {127, 10}}), dark);

  // The same from the bright end: 200 then 230, reached from above.
  auto bright = frame_of({{230, 35}, {200, 35}, {100, 30}});
  EXPECT_TRUE(condition(bright));
  // Half of 100 is 50: 35 at 230 is not more, 70 at 200 is; gain 0.635.
  EXPECT_EQ(frame_of({{146, 35}, {127, 35}, {63, 30}}), bright);
}

TEST(ConditionFrame, balanced_frames_and_medians_already_at_127_are_unchanged) {
  auto split = frame_of({{10, 50}, {240, 50}});
  const auto split_before = split;
  EXPECT_TRUE(condition(split));
  EXPECT_EQ(split_before, split);

  auto centred = frame_of({{0, 70}, {127, 30}});
  const auto centred_before = centred;
  EXPECT_TRUE(condition(centred));
  EXPECT_EQ(centred_before, centred);
}

TEST(ConditionFrame, the_gain_clamps_at_white) {
  // Median 20 gives a gain of 6.35: 60 would become 381 and stops at 255.
  auto dark = frame_of({{20, 80}, {60, 20}});
  EXPECT_TRUE(condition(dark));
  EXPECT_EQ(frame_of({{127, 80}, {255, 20}}), dark);
}

}  // namespace
