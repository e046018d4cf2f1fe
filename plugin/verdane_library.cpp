#include "plugin/verdane_library.h"

#include <cstring>
#include <memory>

#include "host/engine_suites.h"
#include "host/hexlet.h"
#include "host/ostrel_exception.h"
#include "plugin/lacewright.h"

char pluginFolderText[plugin_folder_capacity];

namespace {

struct ostrel_release {
  void operator()(OstrelHandle object) const { OstrelRelease(object); }
};
using ostrel_holder = std::unique_ptr<OstrelObject, ostrel_release>;

void check(int32_t status) {
  if (status != ostrel_ok) throw OstrelException(status);
}

}  // namespace

int32_t PreferenceCallback(OstrelHandle preferences) {
  const ostrel_holder folder_entry(OstrelNewDict());
  const ostrel_holder folder(OstrelNewString(pluginFolderText));
  check(OstrelPutDictString(folder_entry.get(), "pluginFolder", folder.get()));
  check(OstrelPutDictDict(preferences, "ostrelPreferences", folder_entry.get()));
  return 0;
}

void InitVerdaneLibrary(const char* folder, bool flag) {
  if (folder) {
    // A longer text is cut to the buffer, since writing past it would
    // overwrite whatever the library keeps beside it.
    std::strncpy(pluginFolderText, folder, plugin_folder_capacity - 1);
    pluginFolderText[plugin_folder_capacity - 1] = '\0';
  }
  HostInitRecord record;
  record.session = flag ? nullptr : HexletOrdinal5();
  record.preference_callback = &PreferenceCallback;
  OstrelInit(flag ? 3 : 0, &record);
  host::load_suite(host::suite_id::core);
  host::load_suite(host::suite_id::rsmp);
  host::load_suite(host::suite_id::filt);
}

int32_t ShutDownVerdaneLibrary() { return OstrelShutdown(); }
