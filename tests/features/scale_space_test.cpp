// The pyramid record: keypoint numbers, sizes, the first level, the
// decimation and the blur chain.
#include <gtest/gtest.h>

#include <vector>

#include "features/pyramid.h"
#include "photographs.h"
#include "records/scale_space.h"

namespace {

using test_support::grey_image;

filter_workspace workspace;

scale_space pyramid_of(grey_image& image, uint64_t octaves = scale_space::full_octave_count) {
  scale_space record(static_cast<uint64_t>(image.width), static_cast<uint64_t>(image.height), octaves);
  allocate_scale_space(record);
  load_first_image(record, image.frame(), workspace);
  build_scale_space(record, workspace);
  return record;
}

struct budget_case {
  uint64_t width, height, target, budget;
  std::vector<std::size_t> capacities;
};

TEST(ScaleSpace, keypoint_numbers_and_list_capacities_follow_the_frame_size) {
  const budget_case cases[] = {
      {100, 100, 128, 256, {768, 192, 48, 12, 3}},
      {1000, 1000, 1953, 3906, {11718, 2928, 732, 183, 45}},
  };
  for (const budget_case& c : cases) {
    scale_space record(c.width, c.height, 5);
    EXPECT_EQ(c.target, record.keypoint_target);
    EXPECT_EQ(c.budget, record.keypoint_budget);
    allocate_scale_space(record);
    for (std::size_t o = 0; o < 5; ++o) EXPECT_EQ(c.capacities[o], record.keypoints[o].capacity()) << o;
    const uint64_t p = c.width * c.height;
    EXPECT_EQ(p, record.pixel_flags.size());
    EXPECT_EQ(p / 9 * 2, record.candidate_list.capacity());
    EXPECT_EQ(3 * p / 9, record.extrema_list_a.capacity());
  }
  EXPECT_EQ(8192u, scale_space(4000, 3000, 5).keypoint_target);
  EXPECT_EQ(16384u, scale_space(4000, 3000, 5).keypoint_budget);
  EXPECT_EQ(8192u, scale_space(8193, 512, 5).keypoint_target);
}

TEST(ScaleSpace, the_small_budget_caps_the_budget_and_fixes_the_target) {
  scale_space small(100, 100, 1);
  apply_small_feature_budget(small);
  EXPECT_EQ(256u, small.keypoint_budget);
  EXPECT_EQ(512u, small.keypoint_target);  // more than the frame's own 128
  scale_space large(1000, 1000, 1);
  apply_small_feature_budget(large);
  EXPECT_EQ(1024u, large.keypoint_budget);
  scale_space none(100, 100, 1);
  none.keypoint_budget = 0;
  apply_small_feature_budget(none);
  EXPECT_EQ(1024u, none.keypoint_budget);
}

TEST(ScaleSpace, octaves_halve_rounding_up_down_to_one_sample) {
  const std::pair<uint64_t, uint64_t> sizes[][5] = {
      {{3, 2}, {2, 1}, {1, 1}, {1, 1}, {1, 1}},
      {{7, 5}, {4, 3}, {2, 2}, {1, 1}, {1, 1}},
  };
  for (const auto& expected : sizes) {
    scale_space record(expected[0].first, expected[0].second, 5);
    allocate_scale_space(record);
    for (std::size_t o = 0; o < 5; ++o) {
      ASSERT_EQ(6u, record.octaves[o].size());
      for (const float_image& plane : record.octaves[o]) {
        EXPECT_EQ(expected[o].first, plane.width);
        EXPECT_EQ(expected[o].second, plane.height);
      }
    }
  }
}

TEST(ScaleSpace, flat_frames_stay_flat_through_every_level) {
  grey_image one{1, 1, {200}};
  grey_image white{13, 9, std::vector<uint8_t>(13 * 9, 255)};
  for (grey_image* image : {&one, &white}) {
    const scale_space record = pyramid_of(*image);
    const float level = static_cast<float>(image->samples[0]) / 255.0f;
    for (const auto& octave : record.octaves) {
      for (const float_image& plane : octave) {
        for (uint64_t i = 0; i < plane.width * plane.height; ++i) EXPECT_NEAR(level, plane.samples[i], 2e-6f);
      }
    }
  }
}

TEST(ScaleSpace, the_first_level_is_a_plain_copy_when_the_frame_is_blurred_enough) {
  grey_image image{3, 2, {0, 51, 102, 153, 204, 255}};
  scale_space record(3, 2, 2);
  record.input_blur = 0.8f;
  allocate_scale_space(record);
  load_first_image(record, image.frame(), workspace);
  for (int i = 0; i < 6; ++i) EXPECT_EQ(static_cast<float>(image.samples[i]) / 255.0f, record.octaves[0][0].samples[i]);
}

TEST(ScaleSpace, each_octave_starts_from_every_second_sample_of_level_s_below) {
  grey_image image{9, 7, {}};
  for (int i = 0; i < 63; ++i) image.samples.push_back(static_cast<uint8_t>((i * 37) % 251));
  const scale_space record = pyramid_of(image, 3);
  for (std::size_t o = 1; o < 3; ++o) {
    const float_image& below = record.octaves[o - 1][3];
    const float_image& first = record.octaves[o][0];
    for (uint64_t y = 0; y < first.height; ++y) {
      for (uint64_t x = 0; x < first.width; ++x) EXPECT_EQ(below.row(2 * y)[2 * x], first.row(y)[x]);
    }
  }
}

TEST(ScaleSpace, each_level_is_blurrier_than_the_one_below) {
  grey_image image{32, 32, std::vector<uint8_t>(32 * 32, 0)};
  image.samples[16 * 32 + 16] = 255;  // an impulse spreads level by level
  const scale_space record = pyramid_of(image, 1);
  float previous = 2.0f;
  for (const float_image& plane : record.octaves[0]) {
    const float peak = plane.row(16)[16];
    EXPECT_LT(peak, previous);
    previous = peak;
  }
  EXPECT_EQ(0u, feature_count(record));
}

}  // namespace
