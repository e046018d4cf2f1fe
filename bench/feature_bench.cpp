// Feature extraction: time per 760 x 570 frame with one and two threads,
// for a run of one batch and for a run of three batches, peak memory of a
// batch, OpenCV's SIFT on the same frames when it is installed, and the
// quality figures on the photograph sets. `feature_bench --timing` gives
// the times alone, and `--timing N` takes N runs of each.
#include <malloc.h>
#include <omp.h>

#include <algorithm>
#include <atomic>
#include <new>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <vector>

#include "feature_quality.h"
#include "features/extract_features.h"
#include "host/ostrel.h"
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

constexpr int frame_width = 760, frame_height = 570, batch = 4;
int repetitions = 7;

// Photographs scaled to the frame size, or, without them, a rendered texture.
std::vector<grey_image> test_frames() {
  std::vector<grey_image> frames;
  for (const auto& path : all_photographs()) {
    if (frames.size() == batch) break;
    const grey_image photo = read_grey(path);
    const homography scale = {double(frame_width) / photo.width, 0, 0, 0, double(frame_height) / photo.height, 0, 0, 0, 1};
    frames.push_back(warp(photo, scale, frame_width, frame_height));
  }
  for (unsigned seed = 1; frames.size() < batch; ++seed) {
    grey_image frame{frame_width, frame_height, std::vector<uint8_t>(frame_width * frame_height)};
    for (int y = 0; y < frame_height; ++y) {
      for (int x = 0; x < frame_width; ++x) {
        const double v = 128 + 60 * std::sin(x * 0.07 * seed + std::cos(y * 0.05)) * std::cos(y * 0.11 + x * 0.013);
        frame.samples[y * frame_width + x] = static_cast<uint8_t>(v);
      }
    }
    frames.push_back(frame);
  }
  return frames;
}

std::size_t extract(std::vector<AlignFrame>& frames) {
  std::size_t count = 0;
  for (const extracted_frame& f : extract_features(frames)) count += f.features->features.size();
  return count;
}

double median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

double process_milliseconds() {
  timespec now{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
  return 1e3 * static_cast<double>(now.tv_sec) + 1e-6 * static_cast<double>(now.tv_nsec);
}

// Medians per frame of the wall-clock time and of the processor time of all
// threads; on a machine shared with other work the second is the steadier.
struct frame_times {
  double wall;
  double processor;
};

frame_times milliseconds_per_frame(std::vector<AlignFrame>& frames, int threads, std::size_t& features) {
  omp_set_num_threads(threads);
  std::vector<double> wall, processor;
  for (int r = 0; r < repetitions; ++r) {
    const auto start = clock_type::now();
    const double start_processor = process_milliseconds();
    features = extract(frames);
    processor.push_back((process_milliseconds() - start_processor) / frames.size());
    wall.push_back(std::chrono::duration<double, std::milli>(clock_type::now() - start).count() / frames.size());
  }
  return {median(wall), median(processor)};
}

void print_times(const char* label, const frame_times& times) {
  std::printf("  %-34s %6.1f ms per frame  (processor %6.1f ms)\n", label, times.wall, times.processor);
}

// Heap in use, and its high-water mark, through the program's own
// allocation operators.
std::atomic<std::size_t> heap_in_use{0};
std::atomic<std::size_t> heap_peak{0};

void note_allocation(void* block) {
  const std::size_t now = heap_in_use += malloc_usable_size(block);
  std::size_t peak = heap_peak.load();
  while (now > peak && !heap_peak.compare_exchange_weak(peak, now)) {
  }
}

// The highest heap a batch's extraction reaches above what was in use before.
double peak_batch_megabytes(std::vector<AlignFrame>& frames) {
  const std::size_t before = heap_in_use.load();
  heap_peak = before;
  extract(frames);
  return static_cast<double>(heap_peak.load() - before) / (1024.0 * 1024.0);
}

#ifdef LACEWRIGHT_HAVE_OPENCV
double opencv_milliseconds_per_frame(std::vector<grey_image>& images, std::size_t& keypoints) {
  const auto sift = cv::SIFT::create();
  std::vector<double> times;
  for (int r = 0; r < repetitions; ++r) {
    keypoints = 0;
    const auto start = clock_type::now();
    for (grey_image& image : images) {
      const cv::Mat mat(image.height, image.width, CV_8U, image.samples.data());
      std::vector<cv::KeyPoint> found;
      cv::Mat descriptors;
      sift->detectAndCompute(mat, cv::noArray(), found, descriptors);
      keypoints += found.size();
    }
    times.push_back(std::chrono::duration<double, std::milli>(clock_type::now() - start).count() / images.size());
  }
  return median(times);
}
#endif

void print_quality() {
  const auto photographs = all_photographs();
  if (photographs.empty()) {
    std::printf("quality: no photograph folder (set LACEWRIGHT_DATA_DIR)\n");
    return;
  }
  std::printf("\nquality against a copy rotated by 30 degrees and scaled by 0.7:\n");
  double repeatability = 0.0, precision = 0.0;
  for (const auto& path : photographs) {
    grey_image original = read_grey(path);
    const homography h = rotation_about_centre(original, 30.0, 0.7);
    grey_image warped = warp(original, h, original.width, original.height);
    std::vector<AlignFrame> pair = {original.frame(0), warped.frame(1)};
    const std::vector<extracted_frame> features = extract_features(pair);
    const feature_quality q =
        measure_feature_quality(*features[0].features, *features[1].features, original, warped, h);
    std::printf("  %-14s repeatability %.3f (%zu of %zu/%zu)  two-way matches %4zu  precision %.3f\n",
                path.filename().c_str(), q.repeatability, q.repeated, q.keypoints_original, q.keypoints_warped,
                q.matches, q.match_precision);
    repeatability += q.repeatability;
    precision += q.match_precision;
  }
  std::printf("  mean           repeatability %.3f  precision %.3f\n", repeatability / photographs.size(),
              precision / photographs.size());
}

}  // namespace

void* operator new(std::size_t size) {
  void* block = std::malloc(size ? size : 1);
  if (!block) throw std::bad_alloc();
  note_allocation(block);
  return block;
}
void* operator new[](std::size_t size) { return operator new(size); }
void operator delete(void* block) noexcept {
  if (!block) return;
  heap_in_use -= malloc_usable_size(block);
  std::free(block);
}
void operator delete[](void* block) noexcept { operator delete(block); }
void operator delete(void* block, std::size_t) noexcept { operator delete(block); }
void operator delete[](void* block, std::size_t) noexcept { operator delete(block); }

int main(int argc, char** argv) {
  const bool timing_only = argc > 1 && std::strcmp(argv[1], "--timing") == 0;
  if (timing_only && argc > 2) repetitions = std::max(1, std::atoi(argv[2]));
  InitVerdaneLibrary(nullptr, true);
  OstrelSetBatchSize(batch);
  std::vector<grey_image> images = test_frames();
  std::vector<AlignFrame> frames;
  for (grey_image& image : images) frames.push_back(image.frame(static_cast<int32_t>(frames.size())));

  std::printf("feature extraction, %d x %d frames in a batch of %d, median of %d runs\n", frame_width, frame_height,
              batch, repetitions);
  std::size_t features = 0;
  const frame_times one = milliseconds_per_frame(frames, 1, features);
  print_times("one batch, 1 thread", one);
  std::printf("    (%zu features per frame)\n", features / frames.size());
  const frame_times two = milliseconds_per_frame(frames, 2, features);
  print_times("one batch, 2 threads", two);
  // Later batches of a run find their memory already in use.
  std::vector<AlignFrame> three_batches;
  for (int copy = 0; copy < 3; ++copy) three_batches.insert(three_batches.end(), frames.begin(), frames.end());
  print_times("a run of three batches, 1 thread", milliseconds_per_frame(three_batches, 1, features));
  print_times("a run of three batches, 2 threads", milliseconds_per_frame(three_batches, 2, features));
  if (timing_only) return 0;
  std::printf("  peak memory of a batch: %.1f MB\n", peak_batch_megabytes(frames));
#ifdef LACEWRIGHT_HAVE_OPENCV
  std::size_t keypoints = 0;
  const double opencv = opencv_milliseconds_per_frame(images, keypoints);
  std::printf("  OpenCV SIFT %6.1f ms per frame with %d threads (%zu keypoints per frame); ratio %.2f\n", opencv,
              cv::getNumThreads(), keypoints / images.size(), two.wall / opencv);
#else
  std::printf("  OpenCV SIFT: not installed (libopencv-features2d-dev), no comparison\n");
#endif
  print_quality();
  return 0;
}
