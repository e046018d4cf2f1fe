#include "fuzz/finding.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <typeinfo>

namespace fuzz_support {

void finding(const char* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  std::fputs("FINDING: ", stderr);
  std::vfprintf(stderr, format, arguments);
  std::fputc('\n', stderr);
  va_end(arguments);
  std::abort();
}

void unexpected_exception(const char* call, std::exception_ptr error) {
  try {
    std::rethrow_exception(error);
  } catch (const std::exception& exception) {
    finding("%s threw %s \"%s\"", call, typeid(exception).name(), exception.what());
  } catch (const char* text) {
    finding("%s threw the text \"%s\"", call, text);
  } catch (...) {
    finding("%s threw an exception of unknown type", call);
  }
}

}  // namespace fuzz_support
