// The engine's copies of the suites, filled from the running host library.
#pragma once

#include "platform/suite_entries.h"

namespace host {

// Fetches the suite from the host library and copies its table into the
// engine's copy; a suite the host does not give leaves the copy empty.
void load_suite(suite_id suite);

}  // namespace host
