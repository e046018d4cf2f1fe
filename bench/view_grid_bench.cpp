// The default request on many views: a 15 x 7 grid of 400 x 300 views
// rendered by a camera turning about its centre over a mosaic of the shared
// photographs, with one and two threads, the time of each stage.
#include <omp.h>

#include <array>
#include <cstdlib>
#include <cstdio>
#include <vector>

#include "photographs.h"
#include "plugin/lacewright.h"
#include "stage_clock.h"
#include "turning_views.h"

namespace {

using namespace test_support;

constexpr int cell_width = 800, cell_height = 1300;
constexpr int columns = 15, rows = 7, view_width = 400, view_height = 300;
// Mosaic and views share the focal length, so that the centre of the grid
// sees the mosaic at its own scale; the turns overlap neighbours by half.
constexpr double focal = 3000.0, pan_step = 3.8, tilt_step = 2.8;

// The photograph scaled to cover a cell and centred in it.
grey_image cell_of(const grey_image& photograph) {
  const double scale = std::max(double(cell_width) / photograph.width, double(cell_height) / photograph.height);
  const double tx = (cell_width - 1) / 2.0 - scale * (photograph.width - 1) / 2.0;
  const double ty = (cell_height - 1) / 2.0 - scale * (photograph.height - 1) / 2.0;
  return warp(photograph, {scale, 0, tx, 0, scale, ty, 0, 0, 1}, cell_width, cell_height);
}

// Five cells across, one photograph of each shared set: no scene appears
// twice, so no view can match a far one by mistake.
grey_image mosaic() {
  const char* sets[] = {"hill", "ledge", "pier", "rainier", "uttower"};
  constexpr int cells = 5;
  grey_image result{cells * cell_width, cell_height, std::vector<uint8_t>(std::size_t(cells) * cell_width * cell_height)};
  for (int c = 0; c < cells; ++c) {
    const grey_image image = cell_of(read_grey(photograph_set(sets[c])[0]));
    for (int y = 0; y < cell_height; ++y) {
      std::copy_n(image.samples.begin() + std::ptrdiff_t(y) * cell_width, cell_width,
                  result.samples.begin() + std::ptrdiff_t(y) * result.width + c * cell_width);
    }
  }
  return result;
}

std::vector<grey_image> view_grid() {
  std::vector<std::array<double, 3>> turns;
  for (int row = 0; row < rows; ++row) {
    for (int column = 0; column < columns; ++column) {
      turns.push_back({(row - rows / 2) * tilt_step, (column - columns / 2) * pan_step, 0.0});
    }
  }
  return render_turning_views(mosaic(), focal, focal, view_width, view_height, turns).images;
}

}  // namespace

// Thread counts may be given as arguments; by default one and two.
int main(int argc, char** argv) {
  if (photograph_folder().empty()) {
    std::puts("no photograph folder: set LACEWRIGHT_DATA_DIR");
    return 0;
  }
  InitVerdaneLibrary(nullptr, true);
  const std::vector<grey_image> views = view_grid();
  std::printf("%d views of %d x %d, milliseconds\n", columns * rows, view_width, view_height);
  std::printf("%-7s %10s %8s %6s %7s %8s %6s\n", "threads", "extraction", "matching", "pairs", "groups", "total",
              "found");
  std::vector<int> thread_counts;
  for (int a = 1; a < argc; ++a) thread_counts.push_back(std::atoi(argv[a]));
  if (thread_counts.empty()) thread_counts = {1, 2};
  for (const int threads : thread_counts) {
    omp_set_num_threads(threads);
    int groups = 0;
    const bench::stage_times times = bench::align(views, 1, groups);
    std::printf("%-7d %10.1f %8.1f %6.1f %7.1f %8.1f %6d\n", threads, times.extraction, times.matching, times.pairs,
                times.groups, times.total(), groups);
  }
  ShutDownVerdaneLibrary();
  return 0;
}
