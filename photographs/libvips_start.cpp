#include "photographs/libvips_start.h"

#include <vips/vips8>

#include <cstdlib>
#include <stdexcept>

namespace lacewright_tool {

void start_libvips() {
  static const bool started = [] {
    if (VIPS_INIT("lacewright")) throw std::runtime_error("libvips cannot start: " + libvips_reason());
    // Its worker threads end with the process, not before, unless told.
    std::atexit(vips_shutdown);
    // Every file is read once: caching decoded images would only hold memory.
    vips_cache_set_max(0);
    // A damaged file is reported in one sentence when it fails; the
    // decoder's running commentary before that is noise.
    g_log_set_handler("VIPS", G_LOG_LEVEL_WARNING, [](const char*, GLogLevelFlags, const char*, void*) {}, nullptr);
    return true;
  }();
  (void)started;
}

std::string libvips_reason() {
  std::string text = vips_error_buffer();
  vips_error_clear();
  while (!text.empty() && text.back() == '\n') text.pop_back();
  const std::size_t line = text.rfind('\n');
  if (line != std::string::npos) text.erase(0, line + 1);
  // Drop the name of the libvips class that speaks ("VipsJpeg: ...").
  if (const std::size_t colon = text.find(": "); text.starts_with("Vips") && colon != std::string::npos) {
    text.erase(0, colon + 2);
  }
  return text.empty() ? "unknown error" : text;
}

}  // namespace lacewright_tool
