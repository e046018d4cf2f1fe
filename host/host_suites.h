// The engine's copies of the host suites and typed calls through them.
//
// InitVerdaneLibrary copies each suite's table once; from then on the engine
// calls entries through `entry`, which checks that the host provided the
// slot. A missing entry is a programming error of the integration and fails
// loudly instead of jumping through a null pointer.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>

#include "host/suite_entries.h"

namespace host {

// Fetches the suite from the host library and copies its table; a suite the
// host does not give leaves the copy empty.
void load_suite(suite_id suite);

// The copied slot, or null.
host_function slot(suite_id suite, std::size_t index);

[[noreturn]] void missing_entry(suite_id suite, std::size_t index);

template <class Signature>
Signature* entry(suite_entry<Signature> which) {
  host_function function = slot(which.suite, which.index);
  if (!function) missing_entry(which.suite, which.index);
  return reinterpret_cast<Signature*>(function);
}

}  // namespace host
