// What a person sees on stderr while the tool works: one progress line,
// rewritten in place, for each stage the engine reports (and the tool's own
// reading of the images), and the time each stage took. The line is shown
// only on a terminal; the times are kept for the summary either way.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdio>
#include <string>
#include <vector>

#include <lacewright/request.h>

namespace lacewright_tool {

class progress_display {
 public:
  // Shows the line only on a terminal and not when `quiet`.
  explicit progress_display(bool quiet);
  progress_display(const progress_display&) = delete;
  progress_display& operator=(const progress_display&) = delete;

  // What the alignment reports, drawn; never asks it to stop.
  lacewright::progress_callback progress();
  lacewright::warning_callback warning();

  void stage(const std::string& name, std::size_t total);
  void advance(std::size_t done);
  // Ends the current stage and clears the line.
  void finish();
  // A line for the person, "lacewright: warning: <sentence>", unless quiet;
  // the progress line goes on below it.
  void warn(const std::string& sentence);

  struct stage_time {
    std::string name;
    double seconds;
  };
  const std::vector<stage_time>& times() const { return times_; }

 private:
  void end_stage();
  void draw();

  using clock = std::chrono::steady_clock;
  bool quiet_;
  bool live_;
  std::string name_;
  std::size_t total_ = 0;
  std::size_t done_ = 0;
  clock::time_point started_;
  clock::time_point drawn_;
  std::vector<stage_time> times_;
};

}  // namespace lacewright_tool
