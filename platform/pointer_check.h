// The stages' pointer check: a record that could not be made or read back
// is reported on the error stream, and the stage carries on without it. In
// a correct program it never reports, since a failed allocation throws
// first.
#pragma once

// True for a pointer to something; for a null one, writes "NULL Pointer!"
// and a line break to the standard error stream and answers false.
bool pointer_present(const void* pointer);
