// The address parser behind addImage and demoString, on any text and tag.
//
// The parser has no failure: every text is a number. What it promises is
// checked through relations that hold for every text instead of a second
// parser: appending a digit multiplies by the base and adds the digit,
// a character that is not a digit weighs as a 0, a value without the text
// tag is 0, and demoString answers the number's low 32 bits whatever its
// argument count.
#include <fuzzer/FuzzedDataProvider.h>

#include <cstring>
#include <string>

#include "fuzz/finding.h"
#include "plugin/address_argument.h"
#include "plugin/lacewright.h"

namespace {

using fuzz_support::finding;

uint64_t parse(const std::string& text, int32_t tag = script_text) {
  const ScriptValue arguments[2] = {{0, script_none, 0}, {reinterpret_cast<uintptr_t>(text.c_str()), tag, 0}};
  return ParseAddressArgument(arguments, 1);
}

bool is_hexadecimal(const std::string& text) { return text.size() > 2 && text.starts_with("0x"); }

bool is_digit(char c, bool hexadecimal) {
  return (c >= '0' && c <= '9') || (hexadecimal && ((c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F')));
}

// A digit of the text's base, and a character that is none.
char appended_digit(bool hexadecimal, uint8_t choice) {
  const char* digits = hexadecimal ? "0123456789abcdefABCDEF" : "0123456789";
  return digits[choice % std::strlen(digits)];
}

uint64_t digit_value(char digit) {
  if (digit >= 'a') return static_cast<uint64_t>(digit - 'a' + 10);
  if (digit >= 'A') return static_cast<uint64_t>(digit - 'A' + 10);
  return static_cast<uint64_t>(digit - '0');
}

void check_appending(const std::string& text, uint8_t choice) {
  const bool hexadecimal = is_hexadecimal(text);
  const char digit = appended_digit(hexadecimal, choice);
  const uint64_t base = hexadecimal ? 16 : 10;
  const uint64_t before = parse(text);
  const uint64_t after = parse(text + digit);
  // "0x" plus a digit becomes hexadecimal: the only text whose base changes.
  if (is_hexadecimal(text + digit) != hexadecimal) return;
  if (after != before * base + digit_value(digit)) {
    finding("\"%s\" + '%c' gave %llu after %llu", text.c_str(), digit, static_cast<unsigned long long>(after),
            static_cast<unsigned long long>(before));
  }
}

void check_strangers_weigh_zero(const std::string& text) {
  const bool hexadecimal = is_hexadecimal(text);
  std::string zeroed = text;
  for (std::size_t i = hexadecimal ? 2 : 0; i < zeroed.size(); ++i) {
    if (!is_digit(zeroed[i], hexadecimal)) zeroed[i] = '0';
  }
  if (parse(zeroed) != parse(text)) {
    finding("\"%s\" and its zeroed form \"%s\" differ", text.c_str(), zeroed.c_str());
  }
}

void check_demo_string(const std::string& text, int32_t tag, int32_t count) {
  const ScriptValue argument{reinterpret_cast<uintptr_t>(text.c_str()), tag, 0x5A5A5A5A};
  ScriptValue result{0xDEADBEEF, 99, 0x5A5A5A5A};
  const int32_t status = demoString(&argument, count, &result);
  const uint64_t expected = static_cast<uint32_t>(parse(text, tag));
  if (status != status_ok || result.type != script_int32 || result.value != expected ||
      result.reserved != 0x5A5A5A5A) {
    finding("demoString(\"%s\", tag %d, count %d) gave status %d, tag %d, value %llu", text.c_str(), tag, count,
            status, result.type, static_cast<unsigned long long>(result.value));
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
  FuzzedDataProvider input(data, size);
  const bool text_tag = input.ConsumeIntegral<uint8_t>() < 224;
  const int32_t tag = text_tag ? script_text : input.ConsumeIntegral<int32_t>();
  const int32_t count = input.ConsumeIntegral<int32_t>();
  const uint8_t digit_choice = input.ConsumeIntegral<uint8_t>();
  const std::string text = input.ConsumeRemainingBytesAsString();
  const std::string c_text = text.c_str();  // the parser sees up to the first NUL

  if (tag != script_text && parse(c_text, tag) != 0) finding("tag %d gave a number", tag);
  check_appending(c_text, digit_choice);
  check_strangers_weigh_zero(c_text);
  check_demo_string(c_text, tag, count);
  return 0;
}
