#pragma once
// The sixteen logical operations on raw pixels, in the usual order of codes (3 copies).
#include <cstdint>

namespace board {

inline constexpr uint32_t kLogicOpCopy = 3;

constexpr uint32_t LogicOp(uint32_t code, uint32_t source, uint32_t dest) {
    switch (code & 0xF) {
    case 0x0:
        return 0;
    case 0x1:
        return source & dest;
    case 0x2:
        return source & ~dest;
    case kLogicOpCopy:
        return source;
    case 0x4:
        return ~source & dest;
    case 0x5:
        return dest;
    case 0x6:
        return source ^ dest;
    case 0x7:
        return source | dest;
    case 0x8:
        return ~(source | dest);
    case 0x9:
        return ~(source ^ dest);
    case 0xA:
        return ~dest;
    case 0xB:
        return source | ~dest;
    case 0xC:
        return ~source;
    case 0xD:
        return ~source | dest;
    case 0xE:
        return ~(source & dest);
    default:
        return 0xFFFFFFFF;
    }
}

} // namespace board
