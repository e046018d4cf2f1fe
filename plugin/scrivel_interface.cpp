// The script engine's handshake with the plug-in.
#include "plugin/image_list.h"
#include "plugin/lacewright.h"
#include "plugin/verdane_library.h"

namespace {
// One letter per argument after the underscore: s text, u unsigned, d signed.
// "shutdown" stays in the list although no such function exists: scripts
// that call it find nothing.
constexpr const char function_list[] = "demoString_s,addImage_uuuds,resetImages,alignImages_d,shutdown";
}  // namespace

const char* ScrivelInitialize(const ScriptValue* arguments, int32_t count) {
  pluginFolderText[0] = '\0';
  if (count != 1 || !arguments || arguments[0].type != script_text) return nullptr;
  // A new session starts with an empty list, and the frames of an earlier
  // one are released rather than forgotten, since nothing else would ever
  // free their buffers.
  ClearImages();
  InitVerdaneLibrary(reinterpret_cast<const char*>(arguments[0].value), false);
  return function_list;
}

int32_t ScrivelGetVersion() { return 1; }

int32_t ScrivelTerminate() { return OstrelShutdown(); }
