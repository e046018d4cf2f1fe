// The engine's copies of the host suites and typed calls through them.
//
// Whoever starts the host copies each suite's table once (host::load_suite); from then on the engine
// calls entries through `entry`, which checks that the host provided the
// slot. A missing entry is a programming error of the integration and fails
// loudly instead of jumping through a null pointer.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>

#include "platform/suite_entries.h"

namespace host {

// Copies the host's table of the suite, of the suite's count of entries;
// a null table leaves the copy empty.
void copy_suite(suite_id suite, const host_function* functions);

// The copied slot, or null.
host_function slot(suite_id suite, std::size_t index);

[[noreturn]] void missing_entry(suite_id suite, std::size_t index);

// Sets the copied slot and returns what it held.
host_function exchange_slot(suite_id suite, std::size_t index, host_function function);

template <class Signature>
Signature* entry(suite_entry<Signature> which) {
  host_function function = slot(which.suite, which.index);
  if (!function) missing_entry(which.suite, which.index);
  return reinterpret_cast<Signature*>(function);
}

// Stands in for one entry of the engine's copy while it lives: for an
// embedding host that wraps a job, or a test that watches one.
template <class Signature>
class scoped_entry {
 public:
  scoped_entry(suite_entry<Signature> which, Signature* replacement)
      : which_(which),
        previous_(exchange_slot(which.suite, which.index, reinterpret_cast<host_function>(replacement))) {}
  ~scoped_entry() { exchange_slot(which_.suite, which_.index, previous_); }
  scoped_entry(const scoped_entry&) = delete;
  scoped_entry& operator=(const scoped_entry&) = delete;

 private:
  suite_entry<Signature> which_;
  host_function previous_;
};

}  // namespace host
