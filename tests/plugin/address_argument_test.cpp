// The address parser reads every character: there is no early stop, a
// non-digit counts as zero, and overflow wraps.
#include <gtest/gtest.h>

#include "plugin/address_argument.h"
#include "plugin/lacewright.h"
#include "script_arguments.h"

namespace {

using namespace test_support;

uint64_t parse(const char* text) {
  const ScriptValue argument = text_argument(text);
  return ParseAddressArgument(&argument, 0);
}

TEST(ParseAddressArgument, reads_decimal_and_lower_case_0x_hexadecimal_digit_by_digit) {
  const std::pair<const char*, uint64_t> cases[] = {
      {"", 0},
      {"1234567890123", 1234567890123ull},
      {"0x7f3a00c0ffee", 0x7f3a00c0ffeeull},
      {"0xAbCdEf", 0xABCDEFull},
      // Strangers count as zero digits.
      {"0x", 0},     // too short for hexadecimal: "0" then a zero digit
      {"0X10", 10},  // upper-case X is not a prefix: 0, 0, 1, 0
      {"12z", 120},
      {"0x1g", 16},
      {"1 0a", 1000},  // 'a' is not a decimal digit
      // Overflow wraps around.
      {"18446744073709551616", 0},  // 2^64
      {"0x10000000000000001", 1},   // 2^68 + 1
      {"0xffffffffffffffff", UINT64_MAX},
  };
  for (const auto& [text, value] : cases) EXPECT_EQ(value, parse(text)) << text;
}

TEST(ParseAddressArgument, a_value_that_is_not_text_gives_zero) {
  const ScriptValue arguments[] = {signed_argument(1234), text_argument("77"),
                                   {0, script_text, untouched}};
  EXPECT_EQ(0u, ParseAddressArgument(arguments, 0));
  EXPECT_EQ(77u, ParseAddressArgument(arguments, 1));
  EXPECT_EQ(0u, ParseAddressArgument(arguments, 2));  // a text tag without a text
}

TEST(DemoString, answers_the_low_32_bits_as_a_signed_integer_whatever_the_count) {
  const ScriptValue argument = text_argument("0x1234567890");
  ScriptValue result = stale_result();
  EXPECT_EQ(status_ok, demoString(&argument, 0, &result));
  EXPECT_EQ(script_int32, result.type);
  EXPECT_EQ(0x34567890u, result.value);
  EXPECT_EQ(untouched, result.reserved);

  const ScriptValue not_text = signed_argument(5);
  EXPECT_EQ(status_ok, demoString(&not_text, 1, &result));
  EXPECT_EQ(0u, result.value);
}

}  // namespace
