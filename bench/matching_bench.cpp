// Pair matching: distances per second per core on the scalar and the vector
// road, and the whole pair stage on 10 frames of 1500 features with one and
// two threads, beside OpenCV's brute-force L1 matcher (k = 2) on the same
// descriptors when OpenCV is installed.
#include <omp.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <random>
#include <vector>

#include "features/extract_features.h"
#include "host/descriptor_kernels.h"
#include "host/ostrel.h"
#include "matching/descriptor_distance.h"
#include "matching/match_all_pairs.h"
#include "photographs.h"
#include "pipeline/multi_view_aligner.h"
#include "plugin/lacewright.h"

#ifdef LACEWRIGHT_HAVE_OPENCV
#include <opencv2/core/utility.hpp>
#include <opencv2/features2d.hpp>
#endif

namespace {

using namespace test_support;
using clock_type = std::chrono::steady_clock;

constexpr std::size_t frame_count = 10, features_per_frame = 1500;

double seconds_since(clock_type::time_point start) {
  return std::chrono::duration<double>(clock_type::now() - start).count();
}

// Descriptors of the photograph sets, or random ones without them.
std::vector<std::array<uint8_t, 128>> descriptor_pool() {
  std::vector<std::array<uint8_t, 128>> pool;
  std::vector<grey_image> images;
  for (const auto& path : all_photographs()) images.push_back(read_grey(path));
  for (std::size_t start = 0; start + 1 < images.size(); start += 2) {
    for (const extracted_frame& frame : extract_features({images[start].frame(0), images[start + 1].frame(1)})) {
      for (const feature_record& f : frame.features->features) {
        std::array<uint8_t, 128> d;
        std::memcpy(d.data(), f.descriptor, 128);
        pool.push_back(d);
      }
    }
  }
  std::mt19937 generator(5);
  while (pool.size() < frame_count * features_per_frame) {
    std::array<uint8_t, 128> d;
    for (uint8_t& byte : d) byte = static_cast<uint8_t>(generator() % 48);
    pool.push_back(d);
  }
  return pool;
}

// Frame f shares half of its descriptors with frame f - 1, so that
// neighbouring frames match as overlapping photographs do.
std::vector<frame_features_ptr> frames_from(const std::vector<std::array<uint8_t, 128>>& pool) {
  std::vector<frame_features_ptr> frames;
  const std::size_t half = features_per_frame / 2;
  for (std::size_t f = 0; f < frame_count; ++f) {
    frame_features_ptr frame(new frame_features);
    frame->frame_position = f;
    frame->features.resize(features_per_frame);
    for (std::size_t i = 0; i < features_per_frame; ++i) {
      const std::size_t source = (f * half + i) % pool.size();
      std::memcpy(frame->features[i].descriptor, pool[source].data(), 128);
    }
    complete_frame_features(*frame);
    frames.push_back(frame);
  }
  return frames;
}

void distance_rates(const std::vector<frame_features_ptr>& frames) {
  const uint8_t* a = descriptors_of(*frames[0]);
  const uint8_t* b = descriptors_of(*frames[1]);
  const std::size_t n = features_per_frame;
  std::vector<uint32_t> distances(n);
  std::vector<uint16_t> by_a(n * n), by_b(n * n);
  uint64_t checksum = 0;
  const auto rate = [&](auto compute) {
    const auto start = clock_type::now();
    std::size_t done = 0;
    while (seconds_since(start) < 0.5) {
      compute();
      done += n * n;
      checksum += distances[n / 2] + by_a[n / 2];
    }
    return static_cast<double>(done) / seconds_since(start);
  };
  const double engine = rate([&] {
    for (std::size_t i = 0; i < n; ++i) {
      for (std::size_t k = 0; k < n; ++k) distances[k] = descriptor_distance(a + 128 * i, b + 128 * k);
    }
  });
  const double portable = rate([&] { host::distance_tables_portable(a, n, b, n, by_a.data(), by_b.data()); });
  const double vector = rate([&] { host::distance_tables(a, n, b, n, by_a.data(), by_b.data()); });
  std::printf("distances per second on one core (checksum %llu)\n", static_cast<unsigned long long>(checksum % 10));
  std::printf("  engine's scalar distance        %8.1f million\n", engine / 1e6);
  std::printf("  host's portable table kernel    %8.1f million\n", portable / 1e6);
  std::printf("  host's vector table kernel      %8.1f million\n", vector / 1e6);
}

double pair_stage_seconds(const std::vector<frame_features_ptr>& frames, int threads, std::size_t& matches) {
  omp_set_num_threads(threads);
  OstrelSetBatchSize(0);
  std::vector<double> times;
  for (int r = 0; r < 3; ++r) {
    const auto start = clock_type::now();
    const pair_table<pair_matches_ptr> pairs = match_all_pairs(frames);
    times.push_back(seconds_since(start));
    matches = 0;
    for (const auto& row : pairs) {
      for (const auto& pair : row) matches += pair->matches.size();
    }
  }
  std::sort(times.begin(), times.end());
  return times[1];
}

#ifdef LACEWRIGHT_HAVE_OPENCV
double opencv_seconds(const std::vector<frame_features_ptr>& frames) {
  std::vector<cv::Mat> descriptors;
  for (const auto& frame : frames) {
    descriptors.emplace_back(static_cast<int>(features_per_frame), 128, CV_8U,
                             const_cast<uint8_t*>(descriptors_of(*frame)));
  }
  const cv::BFMatcher matcher(cv::NORM_L1);
  const auto start = clock_type::now();
  for (std::size_t i = 0; i + 1 < frames.size(); ++i) {
    for (std::size_t j = i + 1; j < frames.size(); ++j) {
      std::vector<std::vector<cv::DMatch>> knn;
      matcher.knnMatch(descriptors[i], descriptors[j], knn, 2);
    }
  }
  return seconds_since(start);
}
#endif

}  // namespace

int main() {
  InitVerdaneLibrary(nullptr, true);
  const auto frames = frames_from(descriptor_pool());
  distance_rates(frames);

  const double pairs = frame_count * (frame_count - 1) / 2.0;
  const double distances = pairs * features_per_frame * features_per_frame;
  std::printf("\npair stage, %zu frames of %zu features (%.0f pairs)\n", frame_count, features_per_frame, pairs);
  std::size_t matches = 0;
  const double one = pair_stage_seconds(frames, 1, matches);
  std::printf("  1 thread    %7.1f ms  (%.0f million distances per second, %zu matches)\n", one * 1e3,
              distances / one / 1e6, matches);
  const double two = pair_stage_seconds(frames, 2, matches);
  std::printf("  2 threads   %7.1f ms\n", two * 1e3);
#ifdef LACEWRIGHT_HAVE_OPENCV
  const double opencv = opencv_seconds(frames);
  std::printf("  OpenCV BFMatcher L1 knnMatch k=2: %7.1f ms with %d threads; the pair stage is %.1f times faster\n",
              opencv * 1e3, cv::getNumThreads(), opencv / two);
#else
  std::printf("  OpenCV: not installed (libopencv-features2d-dev), no comparison\n");
#endif
  return 0;
}
