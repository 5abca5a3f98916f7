#include "tamradeps/core/assertion.h"

#include <cstdio>

namespace
{
AssertionSink g_sink = nullptr;
void* g_context = nullptr;
} // namespace

void AssertionFailed(const char* module, int line)
{
    if (g_sink)
    {
        g_sink(g_context, module, line);
        return;
    }
    std::printf("Assertion failed: %s %d\n", module, line);
    std::fflush(stdout);
}

void SetAssertionSink(AssertionSink sink, void* context, AssertionSink* oldSink, void** oldContext)
{
    if (oldSink)
        *oldSink = g_sink;
    if (oldContext)
        *oldContext = g_context;
    g_sink = sink;
    g_context = context;
}
