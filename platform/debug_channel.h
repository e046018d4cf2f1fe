// The platform's debugger output. Text written here is lost unless a
// listener (a debugger, a test, the tool's verbose mode) is attached.
#pragma once

#include <functional>
#include <string_view>

void OutputDebugStringA(const char* text);

namespace host {

using debug_listener = std::function<void(std::string_view)>;

// Attaches a listener and returns the one it replaces; an empty function
// detaches.
debug_listener attach_debug_listener(debug_listener listener);

}  // namespace host
