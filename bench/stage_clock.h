// Times one run of the driver stage by stage, as the driver names its stages
// to the host's progress reporter: each stage ends when the next begins, the
// last when the run does.
#pragma once

#include <chrono>
#include <cstdlib>
#include <string>
#include <vector>

#include "photographs.h"
#include "platform/progress.h"
#include "plugin/lacewright.h"

namespace bench {

using clock_type = std::chrono::steady_clock;

inline double milliseconds_since(clock_type::time_point start) {
  return std::chrono::duration<double, std::milli>(clock_type::now() - start).count();
}

struct stage_times {
  double extraction = 0, matching = 0, pairs = 0, groups = 0;
  double total() const { return extraction + matching + pairs + groups; }
};

class stage_clock {
 public:
  stage_clock() { host::set_progress_reporter({&stage_clock::on_stage, nullptr, this}); }
  ~stage_clock() { host::set_progress_reporter({}); }
  stage_clock(const stage_clock&) = delete;
  stage_clock& operator=(const stage_clock&) = delete;

  // Ends the stage under way and gives the times.
  stage_times stop() {
    switch_to(nullptr);
    return times_;
  }

 private:
  stage_times times_;
  double* current_ = nullptr;
  clock_type::time_point started_;

  void switch_to(double* next) {
    const auto now = clock_type::now();
    if (current_) *current_ += std::chrono::duration<double, std::milli>(now - started_).count();
    current_ = next;
    started_ = now;
  }

  static void on_stage(void* context, const char* name, std::size_t) {
    auto& clock = *static_cast<stage_clock*>(context);
    const std::string stage = name;
    clock.switch_to(stage == "extraction" ? &clock.times_.extraction
                    : stage == "matching" ? &clock.times_.matching
                    : stage == "pairs"    ? &clock.times_.pairs
                                          : &clock.times_.groups);
  }
};

// One run of the request through the driver, on copies of the images since
// conditioning works in place. Gives the stage times and the group count.
// The engine draws from rand and never seeds it, so each run starts from a
// fresh process's draws: every run then does the same work, whatever ran
// before it.
inline stage_times align(const std::vector<test_support::grey_image>& images, int32_t requested_type,
                         int& group_count) {
  std::srand(1);
  std::vector<test_support::grey_image> copies = images;
  std::vector<AlignFrame> frames;
  for (test_support::grey_image& image : copies) frames.push_back(image.frame(static_cast<int32_t>(frames.size())));
  MultiViewParams params;
  params.requested_type = requested_type;
  stage_clock clock;
  MultiViewAlignMain(&params, &frames);
  group_count = static_cast<int>(params.groupCount.size());
  return clock.stop();
}

// The best of `repetitions` runs by total time.
inline stage_times best_of(int repetitions, const std::vector<test_support::grey_image>& images,
                           int32_t requested_type, int& group_count) {
  stage_times best;
  for (int r = 0; r < repetitions; ++r) {
    const stage_times times = align(images, requested_type, group_count);
    if (r == 0 || times.total() < best.total()) best = times;
  }
  return best;
}

}  // namespace bench
