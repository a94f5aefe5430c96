#include "board/setup/setup_line.h"

#include <cmath>
#include <cstdlib>

namespace board {

namespace {

int64_t Position(double pixels, int64_t bias) {
    return Accumulator(pixels * kEdgeOne) + bias;
}

} // namespace

SetupLine SetUpLine(const SetupVertex& from, const SetupVertex& to, int64_t bias) {
    const double dx = to.x - from.x;
    const double dy = to.y - from.y;
    const double length = std::fmax(std::fabs(dx), std::fabs(dy));
    const double perPixel = length != 0 ? 1 / length : 0;

    SetupLine line{};
    line.x = {Position(from.x, bias), Accumulator(dx * perPixel * kEdgeOne)};
    line.y = {Position(from.y, bias), Accumulator(dy * perPixel * kEdgeOne)};
    const bool alongX = std::fabs(dy) <= std::fabs(dx);
    const Edge end{Position(alongX ? to.x : to.y, bias), 0};
    line.pixels = static_cast<uint32_t>(std::abs(end.Pixel() - (alongX ? line.x : line.y).Pixel()));
    for (size_t i = 0; i < line.values.size(); ++i) {
        line.values[i] = {Accumulator(from.values[i]), 0,
                          Accumulator((to.values[i] - from.values[i]) * perPixel)};
    }
    return line;
}

} // namespace board
