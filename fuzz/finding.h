// What a fuzz target does when a call breaks its promise: it says what was
// expected and what happened, and aborts, so that libFuzzer stores the input
// as a crash and the run fails.
#pragma once

#include <exception>

namespace fuzz_support {

[[noreturn]] void finding(const char* format, ...) __attribute__((format(printf, 1, 2)));

// The exception in flight, described for a finding: its type and text when
// it is a standard exception or a bare text, "unknown" otherwise.
[[noreturn]] void unexpected_exception(const char* call, std::exception_ptr error);

}  // namespace fuzz_support
