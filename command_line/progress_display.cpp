#include "command_line/progress_display.h"

#include <unistd.h>

namespace lacewright_tool {

progress_display::progress_display(bool quiet) : quiet_(quiet), live_(!quiet && ::isatty(STDERR_FILENO)) {}

lacewright::progress_callback progress_display::progress() {
  return [this](std::string_view stage_name, std::size_t done, std::size_t total) {
    if (done == 0) {
      stage(std::string(stage_name), total);
    } else {
      advance(done);
    }
    return true;
  };
}

lacewright::warning_callback progress_display::warning() {
  return [this](std::string_view sentence) { warn(std::string(sentence)); };
}

void progress_display::stage(const std::string& name, std::size_t total) {
  end_stage();
  name_ = name;
  total_ = total;
  done_ = 0;
  started_ = clock::now();
  draw();
}

void progress_display::advance(std::size_t done) {
  done_ = done;
  // A redraw a few times a second is plenty, and keeps the terminal cheap.
  if (clock::now() - drawn_ > std::chrono::milliseconds(100) || done_ == total_) draw();
}

void progress_display::finish() {
  end_stage();
  if (live_) std::fputs("\r\033[K", stderr);
}

void progress_display::warn(const std::string& sentence) {
  if (quiet_) return;
  std::fprintf(stderr, "%slacewright: warning: %s\n", live_ ? "\r\033[K" : "", sentence.c_str());
  if (!name_.empty()) draw();
}

void progress_display::end_stage() {
  if (name_.empty()) return;
  times_.push_back({name_, std::chrono::duration<double>(clock::now() - started_).count()});
  name_.clear();
}

void progress_display::draw() {
  drawn_ = clock::now();
  if (!live_) return;
  if (total_ > 0) {
    std::fprintf(stderr, "\r\033[K%s %zu/%zu", name_.c_str(), done_, total_);
  } else {
    std::fprintf(stderr, "\r\033[K%s ...", name_.c_str());
  }
  std::fflush(stderr);
}

}  // namespace lacewright_tool
