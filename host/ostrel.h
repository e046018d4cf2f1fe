// The host imaging library "Ostrel", as far as the engine uses it: start and
// stop, function suites fetched by tag, and the preference dictionary that
// the library fills while it starts.
//
// The engine never calls suite functions through this header: it copies the
// suites' tables once (see host_suites.h) and calls the copies.
#pragma once

#include <cstdint>

#include "platform/suite_entries.h"

// A counted handle to a host object (a dictionary or a string).
struct OstrelObject;
using OstrelHandle = OstrelObject*;

using OstrelPreferenceCallback = int32_t (*)(OstrelHandle preferences);

// Handed to OstrelInit; the field order is the host's call interface.
struct HostInitRecord {
  int32_t version = 1;
  void* session = nullptr;  // the Hexlet handle, or null
  void* reserved[4] = {};
  OstrelPreferenceCallback preference_callback = nullptr;
  void* reserved_last = nullptr;
};

// What OstrelGetExtensionSuite hands out: the table is the second field.
struct OstrelSuite {
  uint64_t version;
  const host::host_function* functions;
};

// Status codes of the host library.
inline constexpr int32_t ostrel_ok = 0;
inline constexpr int32_t ostrel_bad_parameter = -50;
inline constexpr int32_t ostrel_not_found = -43;

int32_t OstrelInit(int32_t start_mode, const HostInitRecord* record);
int32_t OstrelShutdown();
int32_t OstrelGetExtensionSuite(uint32_t tag, int32_t version, int32_t count,
                                const OstrelSuite** result);

// Dictionaries and strings are reference counted; a new one starts with one
// reference, owned by the caller.
OstrelHandle OstrelNewDict();
OstrelHandle OstrelNewString(const char* text);
void OstrelRetain(OstrelHandle object);
void OstrelRelease(OstrelHandle object);

// Puts retain the value; the dictionary keeps it until it is released.
int32_t OstrelPutDictString(OstrelHandle dictionary, const char* key, OstrelHandle string);
int32_t OstrelPutDictDict(OstrelHandle dictionary, const char* key, OstrelHandle value);

// Gets hand out new references (release them) or, for text, a copy that the
// caller gives back with OstrelFree.
int32_t OstrelGetDictDict(OstrelHandle dictionary, const char* key, OstrelHandle* value);
int32_t OstrelGetDictString(OstrelHandle dictionary, const char* key, char** text);
void OstrelFree(void* memory);

// The preference dictionary of the running library (a new reference), or
// null when the library is not started.
OstrelHandle OstrelPreferences();

// The mode and session of the last OstrelInit, for whoever needs to know how
// the library was started.
int32_t OstrelStartMode();
void* OstrelSession();

// Items that one batch job should take: the host's own setting. Zero restores
// the default, which follows the number of worker threads.
void OstrelSetBatchSize(int32_t items);
