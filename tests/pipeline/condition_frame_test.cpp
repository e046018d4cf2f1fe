// Frame conditioning: which frames are refused, and where the median of a
// dark or bright frame's non-black samples lands.
#include <gtest/gtest.h>

#include <utility>
#include <vector>

#include "pipeline/condition_frame.h"

namespace {

// (level, count) runs of samples.
using runs = std::vector<std::pair<uint8_t, int>>;

// A 10 by 10 frame filled from the runs.
std::vector<uint8_t> frame_of(const runs& given) {
  std::vector<uint8_t> samples;
  for (const auto& [level, count] : given) samples.insert(samples.end(), count, level);
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

TEST(ConditionFrame, the_median_of_the_non_black_samples_is_moved_to_127_with_truncation) {
  const struct {
    const char* name;
    runs given, conditioned;
  } cases[] = {
      {"a dark frame is lifted", {{1, 100}}, {{127, 100}}},
      // 61 per cent black, the rest at 40: black stays, 40 becomes 127 (gain 3.175).
      {"black stays black", {{0, 61}, {40, 39}}, {{0, 61}, {127, 39}}},
      // Gain 0.635; 63.5 truncates.
      {"a bright frame is lowered", {{200, 70}, {100, 30}}, {{127, 70}, {63, 30}}},
      // The median is the first level whose count exceeds half: 20 non-black
      // samples, half at 30; the running count equals half at 30 and only
      // exceeds it at 60.
      {"a median from the dark end", {{0, 80}, {30, 10}, {60, 10}}, {{0, 80}, {63, 10}, {127, 10}}},
      // Half of 100 is 50: 35 at 230 is not more, 70 at 200 is; gain 0.635.
      {"a median from the bright end", {{230, 35}, {200, 35}, {100, 30}}, {{146, 35}, {127, 35}, {63, 30}}},
      {"a balanced frame is unchanged", {{10, 50}, {240, 50}}, {{10, 50}, {240, 50}}},
      {"a median at 127 is unchanged", {{0, 70}, {127, 30}}, {{0, 70}, {127, 30}}},
      // Median 20 gives a gain of 6.35: 60 would become 381 and stops at 255.
      {"the gain clamps at white", {{20, 80}, {60, 20}}, {{127, 80}, {255, 20}}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    auto samples = frame_of(c.given);
    EXPECT_TRUE(condition(samples));
    EXPECT_EQ(frame_of(c.conditioned), samples);
  }
}

}  // namespace
