// The library's trace routine. It keeps its call sites and their texts,
// which document what each measure decided, but writes nothing: the host has
// no log for a plug-in.
#pragma once

template <class... Arguments>
inline void DebugLog(const char* /*format*/, const Arguments&... /*arguments*/) {}
