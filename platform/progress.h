// Progress of a long alignment, as the host shows it. The engine opens each
// stage with its amount of work and the host jobs count the items they
// finish; whoever installed a reporter decides what a person sees. With no
// reporter installed every call is a cheap no-op.
#pragma once

#include <cstddef>

namespace host {

struct progress_reporter {
  // A stage begins; `total` items are ahead, 0 when the amount is unknown.
  void (*stage)(void* context, const char* name, std::size_t total) = nullptr;
  // `done` of the current stage's items are finished.
  void (*advance)(void* context, std::size_t done, std::size_t total) = nullptr;
  void* context = nullptr;
};

// Installs the process's reporter; an empty record silences progress.
void set_progress_reporter(const progress_reporter& reporter);

void begin_progress_stage(const char* name, std::size_t total);

// Counts finished items of the current stage. Safe to call from the jobs'
// worker threads: the reporter is called by one thread at a time.
void advance_progress(std::size_t items);

}  // namespace host
