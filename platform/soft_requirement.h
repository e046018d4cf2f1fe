// The pair stages' soft assertion: a condition that cannot fail when the
// stage is built as intended is checked anyway and, if it fails, reported
// on the error stream; the stage carries on.
#pragma once

// Writes "REQUIRE failed <source> <line>" with the aligner's source name.
void report_failed_requirement(int line);

inline void require(bool condition, int line) {
  if (!condition) report_failed_requirement(line);
}
