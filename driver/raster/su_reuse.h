#pragma once
// Vertices that stay in the vertex store from one triangle to the next, known by their addresses.
#include "driver/raster/su_vertex.h"

#include <array>

namespace su {

inline constexpr uint32_t kNoSlot = 0x40;

// Which of a triangle's first two vertices have to be sent. The third always is.
struct Sends {
    bool a, b;
};

namespace reuse {

struct Slots {
    uint8_t a, b, c, unused;
};

// By the slots that the first two vertices were found in: those without one take the lowest that is
// free, and the third vertex what is left.
constexpr uint32_t IndexOf(uint32_t foundA, uint32_t foundB) {
    return (foundA >> 1) | (foundB >> 4);
}
inline constexpr auto kFree = [] {
    std::array<Slots, IndexOf(kNoSlot, kNoSlot) + 1> all{};
    constexpr uint32_t kFound[] = {kSlot0, kSlot1, kSlot2, kNoSlot};
    for (const uint32_t foundA : kFound) {
        for (const uint32_t foundB : kFound) {
            uint32_t slot[] = {foundA, foundB, kNoSlot};
            for (uint32_t& wanted : slot) {
                for (uint32_t free = kSlot0; wanted == kNoSlot; free += kSlot1) {
                    if (free != slot[0] && free != slot[1] && free != slot[2]) {
                        wanted = free;
                    }
                }
            }
            all[IndexOf(foundA, foundB)] = {static_cast<uint8_t>(slot[0]),
                                            static_cast<uint8_t>(slot[1]),
                                            static_cast<uint8_t>(slot[2]), 0};
        }
    }
    return all;
}();

} // namespace reuse

// The last triangle that was sent, and the slots of its vertices.
struct KeptVertices {
    const D3DTLVERTEX* a = nullptr;
    const D3DTLVERTEX* b = nullptr;
    const D3DTLVERTEX* c = nullptr;
    uint32_t slotA = kNoSlot;
    uint32_t slotB = kNoSlot;
    uint32_t slotC = kNoSlot;

    // Each of these takes up a triangle and gives its vertices slots.

    // A vertex is found as the last triangle's third, or in its own place, and then not sent.
    // Branches, as strips and fans make them regular.
    KORV_INLINE Sends Choose(const D3DTLVERTEX* newA, const D3DTLVERTEX* newB,
                             const D3DTLVERTEX* newC) {
        const D3DTLVERTEX* const oldA = a;
        const D3DTLVERTEX* const oldB = b;
        const D3DTLVERTEX* const oldC = c;
        a = newA;
        b = newB;
        c = newC;
        uint32_t foundA = slotC;
        if (newA != oldC) {
            foundA = slotA;
            if (newA != oldA) {
                const uint32_t foundB = newB == oldC ? slotC : newB == oldB ? slotB : kNoSlot;
                Place(kNoSlot, foundB);
                return {true, foundB == kNoSlot};
            }
        }
        uint32_t foundB = slotC;
        if (newB != oldC) {
            foundB = slotB;
            if (newB != oldB) {
                Place(foundA, kNoSlot);
                return {false, true};
            }
        }
        if (foundA == foundB) [[unlikely]] {
            Place(foundA, foundB);
        } else {
            slotA = foundA;
            slotB = foundB;
            slotC = foundA ^ foundB ^ kSlot1 ^ kSlot2;
        }
        return {false, false};
    }
    // A vertex is found in any place, but sent again unless that is its own.
    KORV_INLINE Sends ChooseAnyPlace(const D3DTLVERTEX* newA, const D3DTLVERTEX* newB,
                                     const D3DTLVERTEX* newC) {
        uint32_t foundA = newA == c ? slotC : kNoSlot;
        foundA = newA == b ? slotB : foundA;
        foundA = newA == a ? slotA : foundA;
        uint32_t foundB = newB == c ? slotC : kNoSlot;
        foundB = newB == a ? slotA : foundB;
        foundB = newB == b ? slotB : foundB;
        const Sends sends{newA != a, newB != b};
        a = newA;
        b = newB;
        c = newC;
        Place(foundA, foundB);
        return sends;
    }
    // Nothing is looked up.
    KORV_INLINE Sends All(const D3DTLVERTEX* newA, const D3DTLVERTEX* newB,
                          const D3DTLVERTEX* newC) {
        a = newA;
        b = newB;
        c = newC;
        slotA = kSlot0;
        slotB = kSlot1;
        slotC = kSlot2;
        return {true, true};
    }

  private:
    KORV_INLINE void Place(uint32_t foundA, uint32_t foundB) {
        const reuse::Slots& slots = reuse::kFree[reuse::IndexOf(foundA, foundB)];
        slotA = slots.a;
        slotB = slots.b;
        slotC = slots.c;
    }
};

} // namespace su
