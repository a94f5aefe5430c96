#pragma once
// Screen-door patterns for stippled alpha.
#include <cstdint>

// By the top four bits of a vertex colour: words for the stipple unit's rows 0 to 7.
extern const uint32_t FlatStipplePatterns[16][8];
