// The host starts its imaging library before any script call; intake
// (ShrinkImage) and conditioning call through its suites.
#include "plugin/lacewright.h"

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
  InitVerdaneLibrary(nullptr, true);
  return 0;
}
