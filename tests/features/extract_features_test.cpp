// Feature extraction as the aligner runs it: batches, the per-frame records,
// the packed descriptors, and independence from threads and batch sizes.
#include <gtest/gtest.h>
#include <omp.h>

#include <cstring>
#include <random>

#include "allocation_counter.h"
#include "feature_test_support.h"
#include "features/pyramid.h"
#include "host/keypoint_jobs.h"
#include "host/ostrel.h"
#include "photographs.h"
#include "records/scale_space.h"

namespace {

using namespace test_support;

// Blobs of several sizes on a noisy ramp: plenty of keypoints at every scale.
grey_image textured(int width, int height, unsigned seed) {
  std::mt19937 generator(seed);
  std::uniform_real_distribution<double> position(0.0, 1.0);
  std::vector<double> field(static_cast<std::size_t>(width) * height, 60.0);
  for (int b = 0; b < width * height / 300; ++b) {
    const double cx = position(generator) * width, cy = position(generator) * height;
    const double s = 1.5 + 6.0 * position(generator), a = position(generator) > 0.5 ? 120.0 : -50.0;
    for (int y = 0; y < height; ++y) {
      for (int x = 0; x < width; ++x) {
        const double d2 = (x - cx) * (x - cx) + (y - cy) * (y - cy);
        if (d2 < 16 * s * s) field[y * width + x] += a * std::exp(-d2 / (2 * s * s));
      }
    }
  }
  grey_image image{width, height, {}};
  for (const double v : field) image.samples.push_back(static_cast<uint8_t>(std::clamp(v, 0.0, 255.0)));
  return image;
}

TEST(ExtractFeatures, a_single_frame_is_not_worth_features) {
  grey_image image = textured(64, 48, 1);
  EXPECT_TRUE(features_of({image.frame()}).empty());
}

TEST(ExtractFeatures, records_carry_sizes_centres_positions_and_packed_descriptors) {
  grey_image a = textured(160, 120, 2), blank{4, 3, std::vector<uint8_t>(12, 90)}, b = textured(120, 160, 3);
  const std::vector<extracted_frame> extracted = extract_features({a.frame(7), blank.frame(8), b.frame(9)});

  ASSERT_EQ(3u, extracted.size());
  for (std::size_t f = 0; f < 3; ++f) EXPECT_EQ(f, extracted[f].frame);
  EXPECT_EQ(4.0, extracted[1].features->width);
  EXPECT_EQ(3.0, extracted[1].features->height);
  EXPECT_EQ(120.0, extracted[2].features->width);
  EXPECT_EQ(160.0, extracted[2].features->height);

  const frame_features& empty = *extracted[1].features;
  EXPECT_EQ(1u, empty.frame_position);
  EXPECT_EQ(1.5, empty.center_x);
  EXPECT_EQ(1.0, empty.center_y);
  EXPECT_TRUE(empty.features.empty());
  EXPECT_TRUE(empty.feature_points.empty());
  EXPECT_EQ(nullptr, descriptors_of(empty));

  for (const std::size_t f : {0u, 2u}) {
    const frame_features& record = *extracted[f].features;
    const std::size_t n = record.features.size();
    ASSERT_GT(n, 20u);
    EXPECT_EQ(f, record.frame_position);
    EXPECT_EQ(1u, record.ref_count);  // held by the extraction's list alone
    const uint8_t* packed = descriptors_of(record);
    EXPECT_EQ(0u, reinterpret_cast<uintptr_t>(packed) % 16);
    for (std::size_t i = 0; i < n; ++i) {
      EXPECT_EQ(&record.features[i], record.feature_points[i]);
      EXPECT_EQ(0, std::memcmp(record.features[i].descriptor, packed + 128 * i, 128));
      EXPECT_GE(record.features[i].x, 0.0);
      EXPECT_LE(record.features[i].x, record.width - 1);
    }
    EXPECT_EQ(reinterpret_cast<const uint8_t*>(record.feature_points[1]) - reinterpret_cast<const uint8_t*>(record.feature_points[0]), 184);
  }
}

// Batches of one frame reuse the records of the batch before: larger and
// smaller frames, and a frame limited to its first octave, must find
// nothing of the earlier frame in the reused planes and lists. A batch of
// all five frames has fresh records.
TEST(ExtractFeatures, features_do_not_depend_on_threads_batch_sizes_or_reused_records) {
  std::vector<grey_image> images = {textured(150, 120, 20), textured(210, 90, 21), textured(90, 100, 22),
                                    textured(170, 130, 23), textured(160, 160, 24)};
  std::vector<AlignFrame> frames;
  for (std::size_t i = 0; i < images.size(); ++i) frames.push_back(images[i].frame(static_cast<int32_t>(i)));
  frames[3].feature_mode = 1;

  const int threads = omp_get_max_threads();
  const auto run = [&](int thread_count, int batch) {
    omp_set_num_threads(thread_count);
    OstrelSetBatchSize(batch);
    auto features = features_of(frames);
    omp_set_num_threads(threads);
    OstrelSetBatchSize(0);
    return features;
  };
  const auto fresh = run(1, 5);
  for (const auto& [thread_count, batch] : {std::pair{1, 1}, std::pair{2, 1}, std::pair{2, 2}, std::pair{1, 3}, std::pair{2, 5}, std::pair{4, 4}}) {
    const auto features = run(thread_count, batch);
    ASSERT_EQ(fresh.size(), features.size());
    for (std::size_t f = 0; f < features.size(); ++f) {
      const auto& a = fresh[f]->features;
      const auto& b = features[f]->features;
      ASSERT_EQ(a.size(), b.size()) << thread_count << " threads, batch " << batch << ", frame " << f;
      EXPECT_EQ(0, std::memcmp(a.data(), b.data(), a.size() * sizeof(feature_record)))
          << thread_count << " threads, batch " << batch << ", frame " << f;
    }
  }
}

TEST(ExtractFeatures, the_host_jobs_need_no_allocation_once_the_lists_are_reserved) {
  std::vector<grey_image> images = {textured(300, 220, 6), textured(260, 240, 7)};
  std::vector<scale_space> batch;
  batch.reserve(images.size());
  filter_workspace workspace;
  for (grey_image& image : images) {
    const AlignFrame frame = image.frame();
    batch.emplace_back(static_cast<uint64_t>(frame.width), static_cast<uint64_t>(frame.height),
                       scale_space::full_octave_count);
    allocate_scale_space(batch.back());
    load_first_image(batch.back(), frame, workspace);
    build_scale_space(batch.back(), workspace);
  }
  EXPECT_EQ(0u, test_support::allocations_during([&] { host::detect_keypoints(&batch); }));

  std::vector<std::vector<feature_record>> features;
  std::vector<feature_record*> first_records;
  for (const scale_space& record : batch) {
    ASSERT_GT(record.keypoints[1].size(), 0u);  // keypoints beyond the first octave too
    features.emplace_back(feature_count(record));
    first_records.push_back(features.back().data());
  }
  EXPECT_EQ(0u, test_support::allocations_during([&] { host::describe_keypoints(&batch, first_records.data()); }));
}

TEST(ExtractFeatures, the_small_budget_keeps_to_the_first_octave) {
  grey_image a = textured(200, 150, 4), b = textured(200, 150, 5);
  AlignFrame small = a.frame(0), full = b.frame(1);
  small.feature_mode = 1;
  const auto features = features_of({small, full});
  for (const feature_record& f : features[0]->features) EXPECT_EQ(0.0, f.detector_data[0]);
  bool coarser = false;
  for (const feature_record& f : features[1]->features) coarser |= f.detector_data[0] > 0.0;
  EXPECT_TRUE(coarser);
}

}  // namespace
