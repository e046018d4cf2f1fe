#include "session/plugin_session.h"

#include <cinttypes>
#include <cstdio>

#include "plugin/lacewright.h"

namespace lacewright_tool {
namespace {

ScriptValue value(script_tag type, uint64_t bits) { return ScriptValue{bits, type, 0}; }

ScriptValue text(const char* characters) {
  return value(script_text, reinterpret_cast<uintptr_t>(characters));
}

}  // namespace

plugin_session::plugin_session(const std::string& plugin_folder) {
  const ScriptValue folder = text(plugin_folder.c_str());
  if (!ScrivelInitialize(&folder, 1)) throw std::runtime_error("the plug-in refused its handshake");
}

plugin_session::~plugin_session() {
  ScriptValue result{};
  resetImages(nullptr, 0, &result);
  ScrivelTerminate();
}

void plugin_session::add_image(const pixel_image& image, const std::string& name) {
  char address[32];
  std::snprintf(address, sizeof address, "0x%" PRIxPTR, reinterpret_cast<uintptr_t>(image.pixels.data()));
  const ScriptValue arguments[5] = {
      value(script_uint32, static_cast<uint32_t>(image.height)),
      value(script_uint32, static_cast<uint32_t>(image.width)),
      value(script_uint32, static_cast<uint32_t>(image.row_bytes())),
      value(script_int32, 0),
      text(address),
  };
  ScriptValue result{};
  const int32_t status = addImage(arguments, 5, &result);
  if (status == status_no_memory) {
    throw plugin_status_error("not enough memory to take in '" + name + "'", status);
  }
  if (status != status_ok) {
    throw plugin_status_error("the plug-in refused '" + name + "' (status " + std::to_string(status) + ")",
                              status);
  }
}

std::string plugin_session::align(int32_t requested_type) {
  const ScriptValue type = value(script_int32, static_cast<uint32_t>(requested_type));
  ScriptValue result{};
  const int32_t status = alignImages(&type, 1, &result);
  switch (status) {
    case status_ok: return reinterpret_cast<const char*>(result.value);
    case status_too_few_images: throw plugin_status_error("at least two images are needed", status);
    case status_no_memory:
      throw plugin_status_error("too many images for one report (at most 105 can be reported)", status);
    default: throw plugin_status_error("alignImages answered status " + std::to_string(status), status);
  }
}

}  // namespace lacewright_tool
