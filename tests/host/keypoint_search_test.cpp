// The detector's search for candidates, which makes the differences of
// Gaussians row by row as it goes, finds what a search over whole planes of
// differences finds, in the same order, up to the same full work area.
#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

#include "host/extremum_kernels.h"
#include "host/keypoint_jobs.h"
#include "host/octave_planes.h"
#include "records/scale_space.h"

namespace {

// Candidates below half the contrast threshold are not searched.
constexpr float candidate_share = 0.5f;

// Level after level, row after row, from whole planes of differences.
std::vector<host::sift_candidate> candidates_over_whole_planes(const scale_space& record) {
  const host::octave_planes planes(record, 0);
  const auto w = static_cast<std::size_t>(planes.width()), h = static_cast<std::size_t>(planes.height());
  std::vector<std::vector<float>> differences(record.levels_per_octave + 2, std::vector<float>(w * h));
  for (std::size_t l = 0; l < differences.size(); ++l) {
    for (std::size_t i = 0; i < w * h; ++i) {
      differences[l][i] = planes.gain(l) * (planes.level(l + 1).samples[i] - planes.level(l).samples[i]);
    }
  }
  std::vector<host::sift_candidate> candidates;
  std::vector<uint32_t> columns(w);
  for (std::size_t l = 1; l <= record.levels_per_octave; ++l) {
    for (std::size_t y = 1; y + 1 < h; ++y) {
      const std::size_t found = host::extrema_in_row_portable(
          differences[l - 1].data(), differences[l].data(), differences[l + 1].data(), w, y, {0, w},
          candidate_share * record.contrast_threshold, columns.data());
      for (std::size_t k = 0; k < found; ++k) {
        if (candidates.size() == record.candidate_list.capacity()) return candidates;
        candidates.push_back({static_cast<uint32_t>(y * w + columns[k]), static_cast<uint32_t>(l)});
      }
    }
  }
  return candidates;
}

TEST(KeypointSearch, rows_of_differences_made_on_the_way_find_the_candidates_of_whole_planes) {
  // Octaves of three to five rows keep all their rows; taller ones a ring.
  // A work area of a few candidates is filled before the search ends.
  const std::pair<uint64_t, uint64_t> sizes[] = {{40, 3}, {33, 4}, {29, 5}, {31, 6}, {47, 7}, {90, 61}};
  for (const auto& [width, height] : sizes) {
    for (const auto& [noise, room] : {std::pair<float, std::size_t>{0.5f, 0}, {0.02f, 0}, {0.5f, 5}}) {
      std::vector<scale_space> batch;
      batch.emplace_back(width, height, 1);
      scale_space& record = batch.back();
      allocate_scale_space(record);
      if (room != 0) {
        record.candidate_list = {};
        record.candidate_list.reserve(room);
      }
      std::mt19937 generator(static_cast<unsigned>(width * height));
      std::uniform_real_distribution<float> value(0.0f, noise);
      for (std::size_t l = 0; l < record.octaves[0].size(); ++l) {
        float_image& plane = record.octaves[0][l];
        for (uint64_t y = 0; y < height; ++y) {
          for (uint64_t x = 0; x < width; ++x) {
            plane.row(y)[x] = 0.5f + 0.3f * std::sin(0.3f * x + 0.7f * y + 0.5f * l) + value(generator);
          }
        }
      }
      host::detect_keypoints(&batch);
      const std::vector<host::sift_candidate> expected = candidates_over_whole_planes(record);
      ASSERT_EQ(expected.size(), record.candidate_list.size()) << width << " x " << height << ", noise " << noise;
      EXPECT_FALSE(expected.empty());
      for (std::size_t i = 0; i < expected.size(); ++i) {
        ASSERT_EQ(expected[i].position, record.candidate_list[i].position) << i;
        ASSERT_EQ(expected[i].level, record.candidate_list[i].level) << i;
      }
    }
  }
}

}  // namespace
