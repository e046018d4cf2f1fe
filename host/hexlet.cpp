#include "host/hexlet.h"

namespace {
// The session is the process: any stable, non-null address names it.
const char session_token = 0;
}  // namespace

void* HexletOrdinal5() { return const_cast<char*>(&session_token); }
