#include "tools/korv/images/test_card.h"

#include <cmath>
#include <utility>

namespace korv {

namespace {

constexpr uint16_t kBlack = 0x8010;
// Blank lines behind the picture.
constexpr uint32_t kLinesBelow = 6;

constexpr uint32_t Pack(uint32_t y, uint32_t u, uint32_t v) {
    return y | u << 8 | v << 16;
}

// Full red, green and blue, by CCIR 601.
constexpr uint32_t kBars[] = {Pack(235, 128, 128), Pack(210, 16, 146),  Pack(170, 166, 16),
                              Pack(145, 54, 34),   Pack(106, 202, 222), Pack(81, 90, 240),
                              Pack(41, 240, 110),  Pack(16, 128, 128)};
constexpr uint32_t kBallLight = Pack(225, 110, 140), kBallDark = Pack(110, 118, 134);

} // namespace

TestCard::TestCard(uint32_t width, uint32_t height, uint32_t portWidth, bool marksPixels)
    : width_(width), height_(height), marksPixels_(marksPixels) {
    signal_.fieldsPerSecond = 50;
    signal_.linesPerField = kBlankLines + height + kLinesBelow;
    signal_.portWidth = portWidth;
}

uint32_t TestCard::At(uint64_t field, uint32_t x, uint32_t y) const {
    // The ball: two bounces on the edge of the bars on its way.
    const double way = static_cast<double>(field % kRound) / (kRound - 1);
    const double hop = 2 * way - std::floor(2 * way);
    const double radius = height_ * 0.1;
    const double ballX = radius + way * (width_ - 2 * radius);
    const double ballY = height_ * 0.65 - 4 * hop * (1 - hop) * height_ * 0.4;
    const double dx = x + 0.5 - ballX, dy = y + 0.5 - ballY;
    const double distance = std::hypot(dx, dy);
    if (distance < radius) {
        return std::hypot(dx + radius * 0.3, dy + radius * 0.3) < radius * 0.6 ? kBallLight
                                                                               : kBallDark;
    }
    if (y >= height_ - height_ / 4) {
        return Pack(16 + 219 * x / (width_ - 1), 128, 128);
    }
    return kBars[x * std::size(kBars) / width_];
}

void TestCard::Line(uint64_t field, uint32_t line, std::vector<uint16_t>& pixels) {
    if (!marksPixels_) {
        pixels.assign(kBlankPixels, kBlack);
    }
    for (uint32_t x = 0; x < width_; ++x) {
        if (line < kBlankLines || line >= kBlankLines + height_) {
            pixels.push_back(kBlack);
            continue;
        }
        const uint32_t luminance = At(field, x, line - kBlankLines) & 0xFF;
        const uint32_t colours = At(field, x & ~1u, line - kBlankLines);
        const uint32_t colour = x % 2 == 0 ? colours >> 8 & 0xFF : colours >> 16;
        pixels.push_back(static_cast<uint16_t>(luminance | colour << 8));
    }
}

} // namespace korv
