#pragma once

#include "tamradeps/export.h"

/// Receives every assertion line instead of standard output. `line` is the number that the check gives, not a position
/// in a source file.
using AssertionSink = void (*)(void* context, const char* module, int line);

/// Reports a breach of contract by a caller: prints "Assertion failed: %s %d" and a line end to standard output, with
/// the module's path without extension ("gameengine/engine/entity") and the check's number, and returns. The program
/// goes on.
TAMRADEPS_API void AssertionFailed(const char* module, int line);

/// Replaces the sink and hands the former one back through the two pointers (either may be null). A null sink restores
/// standard output.
TAMRADEPS_API void SetAssertionSink(AssertionSink sink, void* context, AssertionSink* oldSink = nullptr,
                                    void** oldContext = nullptr);
