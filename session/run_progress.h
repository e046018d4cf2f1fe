// A run's progress as its caller follows it: the stages of the tool's own
// reading and writing and the engine's, the count of each stage's finished
// items, warnings, the time each stage took, and the caller's wish to stop.
// The engine reports through the host's process-wide reporter, which this
// installs for its lifetime; a stop is honoured where a stage begins and at
// the end of the engine's work, never inside the engine's parallel jobs.
#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <exception>
#include <string>
#include <vector>

#include <lacewright/alignment.h>
#include <lacewright/request.h>

namespace lacewright_tool {

class run_progress {
 public:
  run_progress(lacewright::progress_callback progress, lacewright::warning_callback warning);
  ~run_progress();
  run_progress(const run_progress&) = delete;
  run_progress& operator=(const run_progress&) = delete;

  // Ends the current stage and begins the next. Throws cancelled_error when
  // the caller asked to stop.
  void stage(const std::string& name, std::size_t total);
  // `done` items of the current stage are finished. Called by one thread at
  // a time.
  void advance(std::size_t done);
  // Ends the current stage. Throws cancelled_error when the caller asked to
  // stop during it.
  void finish();
  void warn(const std::string& sentence);
  // Throws cancelled_error when the caller asked to stop, or its callback
  // threw.
  void check() const;
  // Throws what the callback threw, if it did: in place of the
  // cancelled_error that carried its stop through the engine.
  void rethrow_callback_failure() const;

  const std::vector<lacewright::stage_time>& times() const { return times_; }

 private:
  void tell(std::size_t done);

  using clock = std::chrono::steady_clock;
  lacewright::progress_callback progress_;
  lacewright::warning_callback warning_;
  std::string name_;
  std::size_t total_ = 0;
  clock::time_point started_;
  std::vector<lacewright::stage_time> times_;
  std::atomic<bool> stopped_{false};
  std::exception_ptr failure_;  // what the callback threw; set before stopped_
};

}  // namespace lacewright_tool
