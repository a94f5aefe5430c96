#include "board/pixel/stipple.h"

#include <algorithm>

namespace board {

AreaStipple LoadAreaStipple(const RegisterFile& registers, bool sized) {
    constexpr uint32_t kLargestSelect = 4;
    AreaStipple stipple{};
    stipple.columnMask = stipple.rowMask = 7;
    if (sized) {
        const auto mask = [&](const Field& select) {
            return (2u << std::min(registers.Get(select), kLargestSelect)) - 1;
        };
        stipple.columnMask = mask(field::AreaStippleMode_XSelect);
        stipple.rowMask = mask(field::AreaStippleMode_YSelect);
    }
    for (uint32_t row = 0; row <= stipple.rowMask; ++row) {
        stipple.rows[row] = registers[tag::AreaStipplePattern0 + row];
    }
    return stipple;
}

} // namespace board
