// The plug-in's exported calls: the script handshake and script functions,
// and the direct entries for hosts that call the engine themselves.
//
// Script functions take an array of ScriptValue arguments, their count and a
// result record, and answer with a script_status; they never throw. The
// direct entries report failures as exceptions.
#pragma once

#include <cstdint>
#include <vector>

#include "pipeline/multi_view_align_main.h"
#include "plugin/script_value.h"
#include "records/align_frame.h"
#include "records/export.h"
#include "transforms/compute_overlap.h"

extern "C" {

// Handshake. Takes the plug-in folder as its one text argument, starts the
// host library and answers with the list of script functions, or null when
// the argument is missing or not a text.
LACEWRIGHT_EXPORT const char* ScrivelInitialize(const ScriptValue* arguments, int32_t count);
LACEWRIGHT_EXPORT int32_t ScrivelGetVersion();
LACEWRIGHT_EXPORT int32_t ScrivelTerminate();

// Script functions.
// addImage(rows u, columns u, rowBytes u, rotation d, address s): takes a copy
// of an image as grey samples into the image list.
LACEWRIGHT_EXPORT int32_t addImage(const ScriptValue* arguments, int32_t count, ScriptValue* result);
// resetImages(): empties the image list; answers true.
LACEWRIGHT_EXPORT int32_t resetImages(const ScriptValue* arguments, int32_t count, ScriptValue* result);
// demoString(text s): answers the low 32 bits of the text read as an address.
LACEWRIGHT_EXPORT int32_t demoString(const ScriptValue* arguments, int32_t count, ScriptValue* result);
// alignImages([type d]): aligns the listed images and answers the report text.
LACEWRIGHT_EXPORT int32_t alignImages(const ScriptValue* arguments, int32_t count, ScriptValue* result);

// Direct entries (besides MultiViewAlignMain and ComputeOverlap, declared
// with the engine and the transforms).
// Halves the frame in place while both sides exceed 760 samples.
LACEWRIGHT_EXPORT void ShrinkImage(AlignFrame* frame);
// Starts the host library; `folder` is the plug-in folder (may be null).
// With `flag` false the host session comes from Hexlet and the start mode is
// 0, with `flag` true there is no session and the mode is 3.
LACEWRIGHT_EXPORT void InitVerdaneLibrary(const char* folder, bool flag);
LACEWRIGHT_EXPORT int32_t ShutDownVerdaneLibrary();

}  // extern "C"
