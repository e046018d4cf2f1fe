// Marks the plug-in's exported calls. The linker's version script keeps these
// names, and only these, visible outside the shared library.
#pragma once

#define LACEWRIGHT_EXPORT __attribute__((visibility("default")))
