#include "driver/raster/gamma.h"

namespace {

constexpr std::array<GammaTriple, 256> SquareRoots() {
    std::array<GammaTriple, 256> table{};
    uint32_t root = 0; // integer part of the square root of 255 * i
    for (uint32_t i = 1; i < 256; ++i) {
        while ((root + 1) * (root + 1) <= 255 * i) {
            ++root;
        }
        table[i].blue = static_cast<uint8_t>(root);
        table[i].green = static_cast<uint8_t>(root - 1);
        table[i].red = static_cast<uint8_t>(root < 255 ? root + 1 : 255);
    }
    return table;
}

} // namespace

constexpr std::array<GammaTriple, 256> gammaTable = SquareRoots();
