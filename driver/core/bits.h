#pragma once
// Editing of flag words and mode words.
#include "driver/core/tags.h"

#include <cstdint>

// Turns all of `bits` on or off.
inline void AssignBits(uint32_t& word, uint32_t bits, bool on) {
    word = on ? word | bits : word & ~bits;
}

// Replaces a field of a mode word by the low bits of `value`.
inline void PutField(uint32_t& word, const Field& field, uint32_t value) {
    word = field.Put(word, value);
}
