#include "platform/soft_requirement.h"

#include <cstdio>

void report_failed_requirement(int line) {
  std::fprintf(stderr, "REQUIRE failed %s %d\n", "..\\..\\verdane\\sources\\MultiViewAligner", line);
}
