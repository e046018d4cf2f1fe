// The pair stage: the table's shape, batching through the host job with its
// empty slots, and records equal to those of its two sequential forms.
#include <gtest/gtest.h>
#include <omp.h>

#include <cstdio>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "descriptors.h"
#include "feature_test_support.h"
#include "host/ostrel.h"
#include "matching/match_all_pairs.h"
#include "matching/match_pair.h"
#include "photographs.h"
#include "platform/host_suites.h"

namespace {

using namespace test_support;

// Frames whose descriptors share a common pool, so that pairs do match.
frame_features_ptr frame_with(std::size_t count, unsigned seed, std::size_t position) {
  const auto pool = random_descriptors(400, 99);
  const auto own = random_descriptors(count, seed);
  frame_features_ptr frame(new frame_features);
  frame->frame_position = position;
  frame->features.resize(count);
  for (std::size_t i = 0; i < count; ++i) {
    const descriptor& d = i % 2 == 0 ? pool[(i * seed) % pool.size()] : own[i];
    std::memcpy(frame->features[i].descriptor, d.data(), 128);
    frame->features[i].x = static_cast<double>(i);
  }
  complete_frame_features(*frame);
  return frame;
}

// The features of a set of photographs read as the plug-in sees them.
frame_list features_of_photographs(const std::vector<std::filesystem::path>& paths) {
  std::vector<grey_image> images;
  std::vector<AlignFrame> frames;
  for (const auto& path : paths) images.push_back(read_grey(path));
  for (grey_image& image : images) frames.push_back(image.frame(static_cast<int32_t>(frames.size())));
  return features_of(frames);
}

frame_list frames_with(const std::vector<std::size_t>& counts) {
  frame_list frames;
  for (std::size_t f = 0; f < counts.size(); ++f) frames.push_back(frame_with(counts[f], 11 + static_cast<unsigned>(f), f));
  return frames;
}

// Counts the host job's calls and their empty slots while it lives.
struct watched_job {
  static inline int calls = 0;
  static inline std::vector<std::size_t> empty_slots;
  static void run(std::vector<match_job>* jobs) {
    ++calls;
    std::size_t empty = 0;
    for (const match_job& job : *jobs) empty += job.out == nullptr;
    empty_slots.push_back(empty);
    real(jobs);
  }
  static inline host::match_batch_function* real = nullptr;

  watched_job() : entry_(host::match_batch_entry, &run) {
    calls = 0;
    empty_slots.clear();
  }
  host::scoped_entry<host::match_batch_function> entry_;
};

class MatchAllPairs : public testing::Test {
 protected:
  void SetUp() override { watched_job::real = host::entry(host::match_batch_entry); }
  void TearDown() override { OstrelSetBatchSize(0); }
};

TEST_F(MatchAllPairs, the_table_has_a_row_per_frame_but_the_last_and_a_record_per_pair) {
  const frame_list frames = frames_with({40, 0, 55, 61});
  const auto pairs = match_all_pairs(frames);
  ASSERT_EQ(3u, pairs.size());
  for (std::size_t i = 0; i < 3; ++i) {
    ASSERT_EQ(3 - i, pairs[i].size());
    for (std::size_t j = i + 1; j < 4; ++j) {
      const pair_matches& record = *pairs[i][j - i - 1];
      EXPECT_EQ(frames[i], record.first);
      EXPECT_EQ(frames[j], record.second);
      EXPECT_EQ(0u, record.inlier_count);
      if (i == 1 || j == 1) {
        EXPECT_TRUE(record.matches.empty());  // the frame without features
      }
    }
  }
  EXPECT_FALSE(pairs[0][1]->matches.empty());
  EXPECT_EQ(4u, frames[1]->ref_count);  // the frame list and its three pairs' records
}

TEST_F(MatchAllPairs, batches_end_with_empty_slots_and_a_call_even_when_all_are_empty) {
  struct expectation {
    std::size_t frames;
    int batch;
    int calls;
    std::vector<std::size_t> empty_slots;
  };
  const expectation cases[] = {
      {2, 1, 2, {0, 1}},        // one pair: a second call with an empty slot
      {3, 2, 2, {0, 1}},        // three pairs in slots of two
      {3, 3, 2, {0, 3}},        // a multiple of the batch: a last call with nothing
      {1, 4, 1, {4}},           // no pair at all
      {4, 4, 2, {0, 2}},
  };
  for (const expectation& c : cases) {
    OstrelSetBatchSize(c.batch);
    const frame_list frames = frames_with(std::vector<std::size_t>(c.frames, 30));
    const watched_job watch;
    const auto pairs = match_all_pairs(frames);
    EXPECT_EQ(c.calls, watched_job::calls) << c.frames << " frames, batch " << c.batch;
    EXPECT_EQ(c.empty_slots, watched_job::empty_slots) << c.frames << " frames, batch " << c.batch;
    EXPECT_EQ(c.frames - (c.frames > 0 ? 1 : 0), pairs.size());
  }
}

// Every record of `run` equals the record of the same pair in `reference`,
// its index by the second frame included.
using table = pair_table<pair_matches_ptr>;

void expect_equal_records(const table& reference, const table& run, const std::string& what) {
  ASSERT_EQ(reference.size(), run.size()) << what;
  for (std::size_t i = 0; i < run.size(); ++i) {
    ASSERT_EQ(reference[i].size(), run[i].size()) << what;
    for (std::size_t k = 0; k < run[i].size(); ++k) {
      EXPECT_EQ(reference[i][k]->matches, run[i][k]->matches) << what << ", pair " << i << ", " << i + k + 1;
      EXPECT_EQ(reference[i][k]->index_by_b, run[i][k]->index_by_b) << what << ", pair " << i << ", " << i + k + 1;
    }
  }
}

TEST_F(MatchAllPairs, pair_by_pair_gives_the_matches_of_each_pair_alone_indexed_by_the_second_frame) {
  const frame_list frames = frames_with({300, 1, 250, 280, 1, 0, 260});
  const table pairs = match_all_pairs_pair_by_pair(frames);
  std::size_t p = 0;
  for (std::size_t i = 0; i + 1 < 7; ++i) {
    for (std::size_t j = i + 1; j < 7; ++j, ++p) {
      const pair_matches& record = *pairs[i][j - i - 1];
      std::vector<feature_match> expected;
      match_pair(*frames[i], *frames[j], match_ratio, expected);
      EXPECT_EQ(expected, record.matches) << "pair " << p;
      ASSERT_EQ(record.matches.size(), record.index_by_b.size());
      for (std::size_t k = 0; k < record.index_by_b.size(); ++k) {
        const auto [index_b, position] = record.index_by_b[k];
        EXPECT_EQ(static_cast<int64_t>(index_b), record.matches[position].index_b);
        if (k > 0) {
          EXPECT_LT(record.index_by_b[k - 1].first, index_b);
        }
      }
    }
  }
  // The lone features of frames 1 and 4 match each other by default.
  EXPECT_EQ((std::vector<feature_match>{{0, 0, 0.0f, 0}}), pairs[1][2]->matches);
}

TEST_F(MatchAllPairs, records_equal_the_sequential_forms_for_any_batch_and_thread_count) {
  const std::vector<std::size_t> counts = {300, 1, 250, 280, 1, 0, 260};
  const int threads = omp_get_max_threads();
  for (const auto& [batch, thread_count] : {std::pair{1, 1}, std::pair{4, 2}, std::pair{7, 2}, std::pair{21, 3}}) {
    OstrelSetBatchSize(batch);
    const table pair_by_pair = match_all_pairs_pair_by_pair(frames_with(counts));
    const table job_by_job = match_all_pairs_job_by_job(frames_with(counts));
    omp_set_num_threads(thread_count);
    const table run = match_all_pairs(frames_with(counts));
    omp_set_num_threads(threads);
    const std::string what = "batch " + std::to_string(batch) + ", threads " + std::to_string(thread_count);
    expect_equal_records(pair_by_pair, run, what);
    expect_equal_records(job_by_job, run, what);
  }
}

TEST_F(MatchAllPairs, photographs_match_their_neighbours_exactly_as_pair_by_pair) {
  const auto paths = photograph_set("rainier");
  if (paths.empty()) GTEST_SKIP() << "no photograph folder (set LACEWRIGHT_DATA_DIR)";
  const frame_list features = features_of_photographs(paths);
  const table pairs = match_all_pairs(features);
  expect_equal_records(match_all_pairs_pair_by_pair(features), pairs, "rainier");
  std::size_t total = 0;
  for (const auto& row : pairs) {
    for (const pair_matches_ptr& record : row) total += record->matches.size();
  }
  // Neighbouring views of the set overlap: each has dozens of matches.
  for (std::size_t i = 0; i + 1 < features.size(); ++i) EXPECT_GT(pairs[i][0]->matches.size(), 30u) << i;
  EXPECT_GT(total, 300u);
}

TEST(AppendMatches, later_calls_continue_the_positions_and_keep_each_part_sorted) {
  pair_matches pair;
  append_matches(pair, {{4, 9, 0.5f}, {1, 2, 0.25f}});
  append_matches(pair, {{0, 7, 0.75f}});
  ASSERT_EQ(3u, pair.matches.size());
  EXPECT_EQ((feature_match{1, 2, 0.25f, 0}), pair.matches[0]);
  EXPECT_EQ((feature_match{4, 9, 0.5f, 0}), pair.matches[1]);
  EXPECT_EQ((feature_match{0, 7, 0.75f, 0}), pair.matches[2]);
  const std::vector<std::pair<uint64_t, uint64_t>> index = {{2, 0}, {9, 1}, {7, 2}};
  EXPECT_EQ(index, pair.index_by_b);
}

}  // namespace
