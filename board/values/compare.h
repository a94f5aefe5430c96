#pragma once
// The comparison codes of the depth and alpha tests.
#include <cstdint>

namespace board {

enum class Compare { Never, Less, Equal, LessEqual, Greater, NotEqual, GreaterEqual, Always };

// "fresh OP stored".
constexpr bool Passes(Compare compare, uint32_t fresh, uint32_t stored) {
    switch (compare) {
    case Compare::Never:
        return false;
    case Compare::Less:
        return fresh < stored;
    case Compare::Equal:
        return fresh == stored;
    case Compare::LessEqual:
        return fresh <= stored;
    case Compare::Greater:
        return fresh > stored;
    case Compare::NotEqual:
        return fresh != stored;
    case Compare::GreaterEqual:
        return fresh >= stored;
    case Compare::Always:
        return true;
    }
    return true;
}

} // namespace board
