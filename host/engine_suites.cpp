#include "host/engine_suites.h"

#include "host/ostrel.h"
#include "platform/host_suites.h"

namespace host {

void load_suite(suite_id suite) {
  const suite_descriptor& descriptor = descriptor_of(suite);
  const OstrelSuite* fetched = nullptr;
  OstrelGetExtensionSuite(descriptor.tag, descriptor.version, static_cast<int32_t>(descriptor.count), &fetched);
  copy_suite(suite, fetched ? fetched->functions : nullptr);
}

}  // namespace host
