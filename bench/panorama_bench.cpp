// The default request end to end on each shared photograph set, with one
// thread: the time of each stage (extraction, matching, pair estimation,
// groups) and, when OpenCV's stitching module is installed, the time of its
// panorama registration (feature finding, matching and camera estimation)
// on the same images in the same run.
#include <omp.h>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <vector>

#include <string>

#include "photographs.h"
#include "platform/progress.h"
#include "plugin/lacewright.h"

#ifdef LACEWRIGHT_HAVE_OPENCV_STITCHING
#include <opencv2/core/utility.hpp>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/stitching.hpp>
#endif

namespace {

using namespace test_support;
using clock_type = std::chrono::steady_clock;

constexpr int repetitions = 5;

double milliseconds_since(clock_type::time_point start) {
  return std::chrono::duration<double, std::milli>(clock_type::now() - start).count();
}

struct stage_times {
  double extraction = 0, matching = 0, pairs = 0, groups = 0;
  double total() const { return extraction + matching + pairs + groups; }
};

// Times the stages as the driver names them to the host's progress
// reporter: each ends when the next begins, the last when the run does.
struct stage_clock {
  stage_times times;
  double* current = nullptr;
  clock_type::time_point started;

  void switch_to(double* next) {
    const auto now = clock_type::now();
    if (current) *current += std::chrono::duration<double, std::milli>(now - started).count();
    current = next;
    started = now;
  }

  static void on_stage(void* context, const char* name, std::size_t) {
    auto& clock = *static_cast<stage_clock*>(context);
    const std::string stage = name;
    clock.switch_to(stage == "extraction" ? &clock.times.extraction
                    : stage == "matching" ? &clock.times.matching
                    : stage == "pairs"    ? &clock.times.pairs
                                          : &clock.times.groups);
  }
};

// One run of the rotation request through the driver.
stage_times align(const std::vector<grey_image>& images, int& group_count) {
  std::vector<grey_image> copies = images;  // conditioning works in place
  std::vector<AlignFrame> frames;
  for (grey_image& image : copies) frames.push_back(image.frame(static_cast<int32_t>(frames.size())));
  MultiViewParams params;
  params.requested_type = 1;
  stage_clock clock;
  host::set_progress_reporter({&stage_clock::on_stage, nullptr, &clock});
  MultiViewAlignMain(&params, &frames);
  clock.switch_to(nullptr);
  host::set_progress_reporter({});
  group_count = static_cast<int>(params.groupCount.size());
  return clock.times;
}

#ifdef LACEWRIGHT_HAVE_OPENCV_STITCHING
// OpenCV's registration of the same files: features, matches and cameras.
double opencv_registration(const std::vector<std::filesystem::path>& paths, bool& ok) {
  std::vector<cv::Mat> images;
  for (const auto& path : paths) images.push_back(cv::imread(path.string()));
  cv::Ptr<cv::Stitcher> stitcher = cv::Stitcher::create(cv::Stitcher::PANORAMA);
  const auto start = clock_type::now();
  ok = stitcher->estimateTransform(images) == cv::Stitcher::OK;
  return milliseconds_since(start);
}
#endif

}  // namespace

int main() {
  if (photograph_folder().empty()) {
    std::puts("no photograph folder: set LACEWRIGHT_DATA_DIR");
    return 0;
  }
  InitVerdaneLibrary(nullptr, true);
  omp_set_num_threads(1);
#ifdef LACEWRIGHT_HAVE_OPENCV_STITCHING
  cv::setNumThreads(1);
#endif
  std::printf("one thread, best of %d runs, milliseconds\n", repetitions);
  std::printf("%-8s %6s %10s %8s %6s %6s %7s %8s %6s\n", "set", "images", "extraction", "matching", "pairs", "groups",
              "total", "opencv", "ratio");
  for (const char* name : {"hill", "ledge", "pier", "rainier", "uttower"}) {
    const auto paths = photograph_set(name);
    std::vector<grey_image> images;
    for (const auto& path : paths) images.push_back(read_grey(path));
    stage_times best;
    int groups = 0;
    for (int r = 0; r < repetitions; ++r) {
      const stage_times times = align(images, groups);
      if (r == 0 || times.total() < best.total()) best = times;
    }
    std::printf("%-8s %6zu %10.1f %8.1f %6.1f %6.1f %7.1f", name, images.size(), best.extraction, best.matching,
                best.pairs, best.groups, best.total());
#ifdef LACEWRIGHT_HAVE_OPENCV_STITCHING
    double opencv = 0.0;
    bool ok = false;
    for (int r = 0; r < repetitions; ++r) {
      const double time = opencv_registration(paths, ok);
      if (r == 0 || time < opencv) opencv = time;
    }
    std::printf(" %8.1f %6.2f%s", opencv, opencv / best.total(), ok ? "" : " (opencv failed)");
#endif
    std::printf("  groups %d\n", groups);
  }
  ShutDownVerdaneLibrary();
  return 0;
}
