#pragma once
// The texel lookup table: the palette of indexed textures.
#include "board/values/colour.h"
#include "board/values/state_visitor.h"

#include <array>
#include <cstdint>
#include <cstring>
#include <span>

namespace board {

struct LookupTable {
    static constexpr uint32_t kEntries = 256;
    std::array<uint32_t, kEntries> words{}; // colour words, red in the low byte

    Colour Entry(uint32_t index) const { return ColourOfWord(words[index & (kEntries - 1)]); }

    // Takes all entries from memory. False, with nothing changed, if there are not enough bytes.
    bool Load(std::span<const uint8_t> bytes) {
        if (bytes.size() < sizeof words) {
            return false;
        }
        std::memcpy(words.data(), bytes.data(), sizeof words);
        return true;
    }
    void Visit(StateVisitor& visit) {
        auto& [entries] = *this;
        visit.Values("words", entries);
    }
};

// Two tables, so that neither load disturbs the other's.
struct LookupTables {
    LookupTable small; // of 4-bit texels, written entry by entry through registers
    LookupTable large; // of 8-bit texels, taken from memory

    void Visit(StateVisitor& visit) {
        auto& [of4Bits, of8Bits] = *this;
        visit.Within("small", of4Bits);
        visit.Within("large", of8Bits);
    }
};

} // namespace board
