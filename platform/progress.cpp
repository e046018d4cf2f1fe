#include "platform/progress.h"

#include <mutex>

namespace host {
namespace {

struct progress_state {
  std::mutex lock;
  progress_reporter reporter;
  std::size_t done = 0;
  std::size_t total = 0;
};

progress_state& state() {
  static progress_state shared;
  return shared;
}

}  // namespace

void set_progress_reporter(const progress_reporter& reporter) {
  progress_state& s = state();
  const std::lock_guard guard(s.lock);
  s.reporter = reporter;
}

void begin_progress_stage(const char* name, std::size_t total) {
  progress_state& s = state();
  const std::lock_guard guard(s.lock);
  s.done = 0;
  s.total = total;
  if (s.reporter.stage) s.reporter.stage(s.reporter.context, name, total);
}

void advance_progress(std::size_t items) {
  progress_state& s = state();
  const std::lock_guard guard(s.lock);
  s.done += items;
  if (s.reporter.advance) s.reporter.advance(s.reporter.context, s.done, s.total);
}

}  // namespace host
