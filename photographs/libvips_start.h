// libvips, which the tool reads and writes images with, starts once per
// process before its first use.
#pragma once

#include <string>

namespace lacewright_tool {

// Starts libvips on the first call. Throws std::runtime_error when it cannot.
void start_libvips();

// The last line of what libvips said of its latest failure, which it then
// forgets: one clause for a sentence on stderr.
std::string libvips_reason();

}  // namespace lacewright_tool
