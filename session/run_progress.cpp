#include "session/run_progress.h"

#include <lacewright/errors.h>

#include "platform/progress.h"

namespace lacewright_tool {
namespace {

void on_stage(void* context, const char* name, std::size_t total) {
  static_cast<run_progress*>(context)->stage(name, total);
}

void on_advance(void* context, std::size_t done, std::size_t) { static_cast<run_progress*>(context)->advance(done); }

}  // namespace

run_progress::run_progress(lacewright::progress_callback progress, lacewright::warning_callback warning)
    : progress_(std::move(progress)), warning_(std::move(warning)) {
  host::set_progress_reporter({on_stage, on_advance, this});
}

run_progress::~run_progress() { host::set_progress_reporter({}); }

void run_progress::stage(const std::string& name, std::size_t total) {
  finish();
  name_ = name;
  total_ = total;
  started_ = clock::now();
  tell(0);
  check();
}

void run_progress::advance(std::size_t done) {
  // Nothing done is what the stage's beginning told.
  if (done > 0) tell(done);
}

void run_progress::finish() {
  if (!name_.empty()) {
    times_.push_back({name_, std::chrono::duration<double>(clock::now() - started_).count()});
    name_.clear();
  }
  check();
}

void run_progress::warn(const std::string& sentence) {
  if (warning_) warning_(sentence);
}

// A caller's stop is remembered, so that a stop asked from a job's worker
// thread takes effect on the run's own thread; so is an exception of the
// callback, which may not cross the jobs' threads, and which stops the run
// in the same way.
void run_progress::tell(std::size_t done) {
  if (!progress_ || stopped_) return;
  try {
    if (!progress_(name_, done, total_)) stopped_ = true;
  } catch (...) {
    failure_ = std::current_exception();
    stopped_ = true;
  }
}

void run_progress::check() const {
  if (stopped_) throw lacewright::cancelled_error("the alignment was cancelled");
}

void run_progress::rethrow_callback_failure() const {
  if (failure_) std::rethrow_exception(failure_);
}

}  // namespace lacewright_tool
