#include "platform/pointer_check.h"

#include <cstdio>

bool pointer_present(const void* pointer) {
  if (pointer) return true;
  std::fputs("NULL Pointer!\n", stderr);
  return false;
}
