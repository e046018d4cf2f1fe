#include "platform/debug_channel.h"

#include <utility>

namespace {
host::debug_listener& listener() {
  static host::debug_listener instance;
  return instance;
}
}  // namespace

void OutputDebugStringA(const char* text) {
  if (listener() && text) listener()(text);
}

namespace host {
debug_listener attach_debug_listener(debug_listener replacement) {
  return std::exchange(listener(), std::move(replacement));
}
}  // namespace host
