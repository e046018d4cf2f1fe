// Someone else's program built against an installed Lacewright: it
// includes nothing of the library's but the public header and calls two
// of its exports.
#include <lacewright/lacewright.h>

#include <cstdio>

int main() {
  if (ScrivelGetVersion() != 1) return 1;
  const char text[] = "0x2a";
  const ScriptValue argument{reinterpret_cast<uint64_t>(text), script_text, 0};
  ScriptValue result{};
  if (demoString(&argument, 1, &result) != status_ok || result.type != script_int32 || result.value != 42) return 2;
  std::puts("the consumer called Lacewright");
  return 0;
}
