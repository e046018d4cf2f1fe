#include "plugin/address_argument.h"

#include <cstring>

#include "plugin/lacewright.h"

namespace {

unsigned digit_value(char character, bool hexadecimal) {
  if (character >= '0' && character <= '9') return static_cast<unsigned>(character - '0');
  if (hexadecimal && character >= 'a' && character <= 'f') return static_cast<unsigned>(character - 'a' + 10);
  if (hexadecimal && character >= 'A' && character <= 'F') return static_cast<unsigned>(character - 'A' + 10);
  return 0;
}

}  // namespace

uint64_t ParseAddressArgument(const ScriptValue* arguments, int32_t position) {
  if (!arguments || position < 0) return 0;
  const ScriptValue& argument = arguments[position];
  if (argument.type != script_text || argument.value == 0) return 0;
  const char* text = reinterpret_cast<const char*>(argument.value);
  const std::size_t length = std::strlen(text);
  // Only a lower-case "0x" with at least one character after it is hexadecimal.
  const bool hexadecimal = length > 2 && text[0] == '0' && text[1] == 'x';
  const uint64_t base = hexadecimal ? 16 : 10;
  uint64_t number = 0;
  for (std::size_t i = hexadecimal ? 2 : 0; i < length; ++i) {
    number = number * base + digit_value(text[i], hexadecimal);
  }
  return number;
}

int32_t demoString(const ScriptValue* arguments, int32_t /*count*/, ScriptValue* result) {
  // The proof of life of the parser: it reads its argument whatever the count.
  const uint64_t number = ParseAddressArgument(arguments, 0);
  if (result) set_result(result, script_int32, static_cast<uint32_t>(number));
  return status_ok;
}
