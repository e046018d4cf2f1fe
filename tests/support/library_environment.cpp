#include "library_environment.h"

#include "host/engine_suites.h"
#include "host/ostrel.h"

namespace test_support {

// As a host without a Hexlet session starts the library: mode 3, then the
// engine's copies of the suites.
void started_library::SetUp() {
  const HostInitRecord record;
  OstrelInit(3, &record);
  for (const host::suite_id suite : {host::suite_id::core, host::suite_id::rsmp, host::suite_id::filt}) {
    host::load_suite(suite);
  }
}

void started_library::TearDown() { OstrelShutdown(); }

namespace {
[[maybe_unused]] testing::Environment* const environment =
    testing::AddGlobalTestEnvironment(new started_library);
}  // namespace

}  // namespace test_support
