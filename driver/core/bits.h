#pragma once
// Editing of flag words; mode words are edited by their fields (PutField).
#include "driver/core/tags.h"

#include <cstdint>

// Turns all of `bits` on or off.
inline void AssignBits(uint32_t& word, uint32_t bits, bool on) {
    word = on ? word | bits : word & ~bits;
}
