#pragma once
// A display on which a primitive's words, waits and register writes can be read in one list.
#include "driver/core/dma.h"
#include "tests/support/rig.h"
#include "tests/support/words.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <ostream>
#include <vector>

namespace test {

// In a list of words: a wait for `entries` of FIFO space in front of the next word.
constexpr uint32_t W(uint32_t entries) {
    return 0xABCD0000 | entries;
}
// In place of a tag: the register is written past the stream.
constexpr uint32_t M(uint32_t tagNumber) {
    return 0xFEED0000 | tagNumber;
}

class PrimitiveRig : public Rig {
  public:
    explicit PrimitiveRig(const RigOptions& options = {}) : Rig(options) {
        Ready();
        driver->RenderCopy = 0x40;
        driver->RenderClear = 0x40;
        driver->FBDepth = driver->PixelSize;
        driver->PartialProducts = 0x2E;
        bus->MeterFIFO();
    }

    // What reached the chip since the last call.
    Words Take() {
        Words words;
        uint32_t reads = 0;
        for (const BusEvent& event : bus->events) {
            if (event.IsSpaceRead()) {
                ++reads;
                continue;
            }
            if (event.kind != 'f' && event.kind != 'w') {
                continue;
            }
            if (reads != 0) {
                words.push_back(W(reads));
                reads = 0;
            }
            if (event.kind == 'w') {
                words.push_back(M((event.offset - 0x8000) / 8));
            }
            words.push_back(event.value);
        }
        if (reads != 0) {
            words.push_back(W(reads));
        }
        bus->Clear();
        return words;
    }

    RigSurface& Surface(uint32_t offset, uint32_t products = 0) {
        RigSurface& surface =
            MakeSurface(640, 480, DDSCAPS_OFFSCREENPLAIN, driver->PixelSize, offset);
        surface.priv.PPCode = products;
        return surface;
    }
};

// The word behind the first `tagNumber` in a list of plain pairs.
inline uint32_t WordOf(const Words& words, uint32_t tagNumber) {
    size_t at = 0;
    while (at < words.size()) {
        if (words[at] >> 16 == 0xABCD) {
            ++at;
            continue;
        }
        if ((words[at] & 0xFFFF) == tagNumber && at + 1 < words.size()) {
            return words[at + 1];
        }
        at += 2;
    }
    ADD_FAILURE() << "no word for " << std::hex << tagNumber;
    return 0xDEADDEAD;
}

inline bool Has(const Words& words, uint32_t tagNumber) {
    for (size_t at = 0; at < words.size();) {
        if (words[at] >> 16 == 0xABCD) {
            ++at;
            continue;
        }
        if ((words[at] & 0xFFFF) == tagNumber) {
            return true;
        }
        at += 2;
    }
    return false;
}

} // namespace test
