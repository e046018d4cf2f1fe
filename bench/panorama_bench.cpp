// The default request end to end on each shared photograph set, with one
// and two threads: the time of each stage (extraction, matching, pair
// estimation, groups) and, when OpenCV's stitching module is installed, the
// time of its panorama registration (feature finding, matching and camera
// estimation) on the same images in the same run, with as many threads,
// and the median ratio of the two.
#include <omp.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <vector>

#include "photographs.h"
#include "plugin/lacewright.h"
#include "stage_clock.h"

#ifdef LACEWRIGHT_HAVE_OPENCV_STITCHING
#include <opencv2/core/utility.hpp>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/stitching.hpp>
#endif

namespace {

using namespace test_support;
using bench::clock_type;

constexpr int repetitions = 5;

#ifdef LACEWRIGHT_HAVE_OPENCV_STITCHING
// OpenCV's registration of the same files: features, matches and cameras.
double opencv_registration(const std::vector<std::filesystem::path>& paths, bool& ok) {
  std::vector<cv::Mat> images;
  for (const auto& path : paths) images.push_back(cv::imread(path.string()));
  cv::Ptr<cv::Stitcher> stitcher = cv::Stitcher::create(cv::Stitcher::PANORAMA);
  const auto start = clock_type::now();
  ok = stitcher->estimateTransform(images) == cv::Stitcher::OK;
  return bench::milliseconds_since(start);
}
#endif

double median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  const std::size_t half = values.size() / 2;
  return values.size() % 2 ? values[half] : (values[half - 1] + values[half]) / 2.0;
}

void run_sets(int threads) {
  omp_set_num_threads(threads);
#ifdef LACEWRIGHT_HAVE_OPENCV_STITCHING
  cv::setNumThreads(threads);
#endif
  std::printf("%d thread%s, best of %d runs, milliseconds\n", threads, threads == 1 ? "" : "s", repetitions);
  std::printf("%-8s %6s %10s %8s %6s %6s %7s %8s %6s\n", "set", "images", "extraction", "matching", "pairs", "groups",
              "total", "opencv", "ratio");
  std::vector<double> ratios;
  for (const char* name : {"hill", "ledge", "pier", "rainier", "uttower"}) {
    const auto paths = photograph_set(name);
    std::vector<grey_image> images;
    for (const auto& path : paths) images.push_back(read_grey(path));
    int groups = 0;
    const bench::stage_times best = bench::best_of(repetitions, images, 1, groups);
    std::printf("%-8s %6zu %10.1f %8.1f %6.1f %6.1f %7.1f", name, images.size(), best.extraction, best.matching,
                best.pairs, best.groups, best.total());
#ifdef LACEWRIGHT_HAVE_OPENCV_STITCHING
    double opencv = 0.0;
    bool ok = false;
    for (int r = 0; r < repetitions; ++r) {
      const double time = opencv_registration(paths, ok);
      if (r == 0 || time < opencv) opencv = time;
    }
    ratios.push_back(opencv / best.total());
    std::printf(" %8.1f %6.2f%s", opencv, ratios.back(), ok ? "" : " (opencv failed)");
#endif
    std::printf("  groups %d\n", groups);
  }
  if (!ratios.empty()) std::printf("median ratio opencv / lacewright: %.2f\n", median(ratios));
}

}  // namespace

int main() {
  if (photograph_folder().empty()) {
    std::puts("no photograph folder: set LACEWRIGHT_DATA_DIR");
    return 0;
  }
  InitVerdaneLibrary(nullptr, true);
  for (const int threads : {1, 2}) run_sets(threads);
  ShutDownVerdaneLibrary();
  return 0;
}
