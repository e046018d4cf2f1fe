#include "library_environment.h"

#include "sources/image_list.h"
#include "sources/lacewright.h"

namespace test_support {

void started_library::SetUp() { InitVerdaneLibrary("/test/plugins", true); }

void started_library::TearDown() {
  ClearImages();
  ShutDownVerdaneLibrary();
}

namespace {
[[maybe_unused]] testing::Environment* const environment =
    testing::AddGlobalTestEnvironment(new started_library);
}  // namespace

}  // namespace test_support
