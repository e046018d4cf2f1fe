// Building script argument records the way the host's script engine does.
#pragma once

#include <cinttypes>
#include <cstdio>
#include <string>

#include "plugin/script_value.h"

namespace test_support {

// The reserved word is filled so that tests can see it is never touched.
constexpr uint32_t untouched = 0xA5A5A5A5;

inline ScriptValue unsigned_argument(uint32_t value) { return {value, script_uint32, untouched}; }
inline ScriptValue signed_argument(int32_t value) {
  return {static_cast<uint32_t>(value), script_int32, untouched};
}
inline ScriptValue text_argument(const char* text) {
  return {reinterpret_cast<uintptr_t>(text), script_text, untouched};
}
inline ScriptValue stale_result() { return {0xDEADBEEF, 99, untouched}; }

inline std::string hexadecimal_address(const void* pointer) {
  char text[32];
  std::snprintf(text, sizeof text, "0x%" PRIxPTR, reinterpret_cast<uintptr_t>(pointer));
  return text;
}

inline std::string decimal_address(const void* pointer) {
  return std::to_string(reinterpret_cast<uintptr_t>(pointer));
}

}  // namespace test_support
