#pragma once
// Calls of renderers that are declared and selected but not written yet.
#include <cstdint>

extern uint32_t UnwrittenRendererCalls;
