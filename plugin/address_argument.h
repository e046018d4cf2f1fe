// Pixel addresses reach the library as text, since script values cannot
// carry a 64-bit integer.
#pragma once

#include <cstdint>

#include "plugin/script_value.h"

// Reads the text argument at `position` as a decimal or "0x" hexadecimal
// number. The scan never stops early: a character that is not a digit counts
// as the digit 0, and overflow wraps. A missing text gives 0.
uint64_t ParseAddressArgument(const ScriptValue* arguments, int32_t position);
