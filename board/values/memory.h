#pragma once
// Frame buffer and local buffer, and how pixels and depth elements lie in them.
#include "board/values/memory_block.h"
#include "board/values/patch.h"
#include "board/values/span.h"

#include <cstdint>
#include <cstring>

namespace board {

inline constexpr int64_t kWordBytes = 4;

struct Memories {
    MemoryBlock frameBuffer;
    MemoryBlock localBuffer;
};

// Loads and stores of `Bytes` (1 to 4) bytes, low byte first.
template <int Bytes>
uint32_t LoadElement(const uint8_t* place) {
    uint32_t value = 0;
    std::memcpy(&value, place, Bytes);
    return value;
}

template <int Bytes>
void StoreElement(uint8_t* place, uint32_t value) {
    std::memcpy(place, &value, Bytes);
}

// A two-dimensional view of a memory: elements of one size, rows `pitch` elements apart, or patched
// with that width.
struct Plane {
    uint8_t* memory;
    int64_t elements; // whole elements in the memory
    int64_t base;     // element of pixel (0, 0)
    int64_t pitch;
    uint32_t bytesPerElement;
    bool patched;

    int64_t Index(int64_t x, int64_t y) const {
        return base + (patched ? PatchedOffset(x, y, pitch) : y * pitch + x);
    }
    // The first pixel of the span whose element is `element` or a later one; the span's right end
    // if there is none. Elements grow along a row.
    int64_t FirstFrom(int64_t element, const Span& span) const {
        int64_t low = span.left, high = span.right;
        while (low < high) {
            const int64_t middle = low + (high - low) / 2;
            if (Index(middle, span.y) < element) {
                low = middle + 1;
            } else {
                high = middle;
            }
        }
        return low;
    }
    uint8_t* Address(int64_t x, int64_t y) const { return memory + Index(x, y) * bytesPerElement; }
    // Cuts away what lies outside the memory; the number of pixels cut.
    uint64_t ClipToMemory(Span& span) const {
        const int64_t before = span.right - span.left;
        if (patched) {
            const int64_t first = FirstFrom(0, span);
            span.Clip(first, std::max(first, FirstFrom(elements, span)));
        } else {
            const int64_t rowStart = base + span.y * pitch;
            if (before > 0 && rowStart + span.left >= 0 && rowStart + span.right <= elements) {
                return 0;
            }
            span.Clip(-rowStart, elements - rowStart);
        }
        return static_cast<uint64_t>(before - (span.Empty() ? 0 : span.right - span.left));
    }
};

// The bits of a 32-bit memory word that fall on the element with this index: the word repeats over
// the memory. 24-bit elements do not line up with words and take its low three bytes.
template <int Bytes>
uint32_t WordLane(uint32_t word, int64_t index) {
    if constexpr (Bytes == 1) {
        return word >> (8 * (index & 3)) & 0xFF;
    } else if constexpr (Bytes == 2) {
        return word >> (16 * (index & 1)) & 0xFFFF;
    } else if constexpr (Bytes == 3) {
        return word & 0xFFFFFF;
    } else {
        return word;
    }
}

} // namespace board
