// A long session in one process: cycles of addImage, alignImages and
// resetImages as a script repeats them, with the resident memory printed
// every 20 cycles. The engine keeps nothing between calls, so once the
// first cycles have warmed the allocator the figure must stay flat; the
// program fails when it grows by more than the allowance after that.
//
//   soak_bench [cycles]   (200 by default; a few under valgrind)
#include <unistd.h>

#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

#include "plugin/lacewright.h"
#include "photographs/default_scene.h"

namespace {

constexpr int report_every = 20;
// The allocator settles its arenas in the first cycles; growth is judged
// from here on.
constexpr int warm_up_cycles = 20;
// Freed memory that the allocator keeps in its arenas moves the figure by
// a few hundred kilobytes; a leak of one 320 x 240 frame a cycle (77 kB)
// would pass this within 60 cycles.
constexpr double allowed_growth_mb = 4.0;

double resident_mb() {
  std::ifstream statm("/proc/self/statm");
  long pages = 0, resident = 0;
  statm >> pages >> resident;
  return static_cast<double>(resident) * static_cast<double>(sysconf(_SC_PAGESIZE)) / (1024.0 * 1024.0);
}

ScriptValue value(script_tag type, uint64_t bits) { return ScriptValue{bits, type, 0}; }

int32_t add(const lacewright_tool::pixel_image& image) {
  char address[32];
  std::snprintf(address, sizeof address, "0x%" PRIxPTR, reinterpret_cast<uintptr_t>(image.pixels.data()));
  const ScriptValue arguments[5] = {value(script_uint32, static_cast<uint32_t>(image.height)),
                                    value(script_uint32, static_cast<uint32_t>(image.width)),
                                    value(script_uint32, static_cast<uint32_t>(image.row_bytes())),
                                    value(script_int32, 0), value(script_text, reinterpret_cast<uintptr_t>(address))};
  ScriptValue result{};
  return addImage(arguments, 5, &result);
}

bool add_all(const std::vector<lacewright_tool::pixel_image>& views) {
  for (const auto& view : views) {
    if (add(view) != status_ok) return false;
  }
  return true;
}

// One cycle: the views in and aligned (both pipelines in turn), then the
// views in again and given up. Answers the report, or null on a failure.
const char* cycle(const std::vector<lacewright_tool::pixel_image>& views, int number) {
  if (!add_all(views)) return nullptr;
  const ScriptValue type = value(script_int32, static_cast<uint32_t>(number % 2 ? -1 : 1));
  ScriptValue aligned{};
  if (alignImages(&type, 1, &aligned) != status_ok) return nullptr;
  ScriptValue reset{};
  if (!add_all(views) || resetImages(nullptr, 0, &reset) != status_ok) return nullptr;
  return reinterpret_cast<const char*>(aligned.value);
}

// The default scene at half size: three views that overlap, small enough
// for hundreds of cycles.
std::vector<lacewright_tool::pixel_image> views() {
  std::vector<lacewright_tool::pixel_image> made;
  for (int view = 0; view < 3; ++view) {
    lacewright_tool::turning_camera camera;
    camera.width = 320;
    camera.height = 240;
    camera.focal_length = 320.0;
    camera.yaw_degrees = 18.0 * view;
    made.push_back(lacewright_tool::render_scene_view(camera));
  }
  return made;
}

}  // namespace

int main(int argc, char** argv) {
  const int cycles = argc > 1 ? std::atoi(argv[1]) : 200;
  const ScriptValue folder = value(script_text, reinterpret_cast<uintptr_t>("/soak/plugins"));
  if (!ScrivelInitialize(&folder, 1)) return 2;
  const auto scene = views();

  std::printf("cycle  resident MB\n");
  double first = 0.0, warm = 0.0, last = 0.0;
  for (int number = 1; number <= cycles; ++number) {
    const char* report = cycle(scene, number);
    if (!report) {
      std::printf("cycle %d failed\n", number);
      return 1;
    }
    if (number <= 2) std::printf("report of cycle %d: %s\n", number, report);
    if (number == 1 || number % report_every == 0 || number == cycles) {
      last = resident_mb();
      if (number == 1) first = last;
      if (number == warm_up_cycles) warm = last;
      std::printf("%5d  %8.2f\n", number, last);
    }
  }
  ScrivelTerminate();
  std::printf("growth from cycle 1: %.2f MB\n", last - first);
  // Too short a run (a few cycles under valgrind) has no settled figure to judge.
  if (cycles <= warm_up_cycles) return 0;
  const double growth = last - warm;
  std::printf("growth after cycle %d: %.2f MB (allowed %.1f)\n", warm_up_cycles, growth, allowed_growth_mb);
  return growth > allowed_growth_mb ? 1 : 0;
}
