// The argument and result record of the host's script interface, its type
// tags and the status codes that script functions return.
#pragma once

#include <cstddef>
#include <cstdint>

struct ScriptValue {
  uint64_t value;     // a 32-bit integer in the low half, or a pointer
  int32_t type;       // one of script_tag
  uint32_t reserved;  // belongs to the script engine: never read or written here
};

static_assert(sizeof(ScriptValue) == 16);
static_assert(offsetof(ScriptValue, type) == 8);

enum script_tag : int32_t {
  script_none = 0,
  script_boolean = 2,
  script_text = 4,     // value points to NUL-terminated bytes
  script_int32 = 123,
  script_uint32 = 124,
  script_source = 125,  // value points to an expression for the script engine
};

enum script_status : int32_t {
  status_ok = 0,
  status_argument_count = 20,
  status_argument_type = 47,
  status_too_few_images = 32,
  status_no_memory = -28,
};

// Every result record starts as "no value"; the reserved word stays as the
// script engine left it.
inline void clear_result(ScriptValue* result) {
  result->value = 0;
  result->type = script_none;
}

inline void set_result(ScriptValue* result, script_tag type, uint64_t value) {
  result->value = value;
  result->type = type;
}

inline int32_t low_int32(const ScriptValue& argument) {
  return static_cast<int32_t>(static_cast<uint32_t>(argument.value));
}

inline uint32_t low_uint32(const ScriptValue& argument) {
  return static_cast<uint32_t>(argument.value);
}
