// Stretches on the Permedia family: a rectangle textured with a surface, raw or converted back to
// the surface's own format.
#include "tests/board/texture_rig.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

namespace {

struct Size {
    int width, height;
};

// A surface 64 pixels wide in memory, in one of the display formats.
struct Display {
    const char* name;
    uint32_t pixelSize, bytes, format, extension;
};

constexpr Display kDisplays[] = {{"8", 0, 1, 14, 0},
                                 {"555", 1, 2, 1, 0},
                                 {"565", 1, 2, 0, 1},
                                 {"24", 4, 3, 4, 1},
                                 {"32", 2, 4, 0, 0}};

class Stretch {
  public:
    explicit Stretch(const Display& which, board::Chip chip) : display(which), r(chip) {
        r.Send({{tag::FBReadPixel, display.pixelSize}, {tag::ColorDDAMode, 0}});
        std::mt19937 random(display.format);
        auto* source = r.board.FrameBuffer().data() + kSource * display.bytes;
        for (uint32_t i = 0; i < 64 * 64 * display.bytes; ++i) {
            source[i] = static_cast<uint8_t>(random());
        }
    }
    uint32_t At(size_t pixel) {
        uint32_t value = 0;
        std::memcpy(&value, r.board.FrameBuffer().data() + pixel * display.bytes, display.bytes);
        return value;
    }
    uint32_t Source(int x, int y) { return At(static_cast<size_t>(kSource + y * 64 + x)); }
    uint32_t Dest(int x, int y) { return At(static_cast<size_t>(kDest + y * 64 + x)); }

    void SetUnits(bool filter) {
        if (display.pixelSize != 0) {
            r.Send(tag::DitherMode, (display.extension << 14 | display.format) << 2 | 0x401);
        }
        r.Send({{tag::FBWindowBase, kDest},
                {tag::FBReadMode, rig::kPitch64},
                {tag::LogicalOpMode, 0},
                {tag::TextureBaseAddress, kSource},
                {tag::TextureAddressMode, 1},
                {tag::TextureColorMode, 7},
                {tag::TextureReadMode, filter ? 0x37601u : 0x17601u},
                {tag::TextureDataFormat, display.extension << 6 | display.format | 0x20},
                {tag::TextureMapFormat, rig::kPitch64 | display.pixelSize << 19}});
    }
    void Draw(uint32_t s, uint32_t ds, uint32_t t, uint32_t dt, Size dest, bool backward) {
        r.Send({{tag::SStart, s},
                {tag::TStart, t},
                {tag::dSdx, ds},
                {tag::dSdyDom, 0},
                {tag::dTdx, 0},
                {tag::dTdyDom, dt}});
        const auto width = static_cast<uint32_t>(dest.width) << 16;
        r.Send({{tag::StartXDom, backward ? width : 0},
                {tag::dXDom, 0},
                {tag::StartXSub, backward ? 0 : width},
                {tag::dXSub, 0},
                {tag::StartY, backward ? static_cast<uint32_t>(dest.height - 1) << 16 : 0},
                {tag::dY, backward ? 0xFFFF0000 : 0x10000},
                {tag::Count, static_cast<uint32_t>(dest.height)},
                {tag::Render, 0x2040}});
        EXPECT_FALSE(r.board.FaultReport().Any()) << r.board.FaultReport().Describe();
    }

    static constexpr uint32_t kSource = 20000, kDest = 8192;
    Display display;
    rig::TextureRig r;
};

TEST(Stretch, EveryPixelIsTheSourcePixelOfItsStep) {
    for (const board::Chip chip : {board::Chip::Permedia, board::Chip::Permedia2}) {
        for (const Display& display : kDisplays) {
            for (const auto& [from, to] : {std::pair{Size{20, 10}, Size{50, 33}},
                                           {Size{60, 60}, Size{17, 23}},
                                           {Size{9, 9}, Size{9, 9}}}) {
                Stretch stretch(display, chip);
                stretch.SetUnits(false);
                const uint32_t ds = (static_cast<uint32_t>(from.width) << 20) / to.width;
                const uint32_t dt = (static_cast<uint32_t>(from.height) << 20) / to.height;
                stretch.Draw(2u << 20, ds, 3u << 20, dt, to, false);
                for (int y = 0; y < to.height; ++y) {
                    for (int x = 0; x < to.width; ++x) {
                        const auto column = static_cast<int>((x * uint64_t{ds}) >> 20);
                        const auto row = static_cast<int>((y * uint64_t{dt}) >> 20);
                        ASSERT_EQ(stretch.Dest(x, y), stretch.Source(2 + column, 3 + row))
                            << display.name << ' ' << x << ',' << y;
                    }
                }
            }
        }
    }
}

TEST(Stretch, BackwardWithBothCoordinatesFlippedIsNoMirror) {
    for (const Display& display : kDisplays) {
        Stretch stretch(display, board::Chip::Permedia2);
        stretch.SetUnits(false);
        // Twice as large, from the right and the bottom: starts at the last pixel.
        stretch.Draw(9u << 20, 0u - (1u << 19), 7u << 20, 0u - (1u << 19), {20, 16}, true);
        for (int y = 0; y < 16; ++y) {
            for (int x = 0; x < 20; ++x) {
                // k-th pixel from the end: floor(9 - k / 2), clamped at the map's edge.
                const int k = 19 - x, l = 15 - y;
                ASSERT_EQ(stretch.Dest(x, y), stretch.Source(std::max(9 - (k + 1) / 2, 0),
                                                             std::max(7 - (l + 1) / 2, 0)));
            }
        }
    }
}

TEST(Stretch, FilterMixesNeighbours) {
    Stretch stretch(kDisplays[4], board::Chip::Permedia2);
    stretch.SetUnits(true);
    stretch.Draw(0, 1u << 19, 0, 1u << 20, {20, 4}, false);
    for (int y = 0; y < 4; ++y) {
        for (int x = 0; x < 20; ++x) {
            for (const int shift : {0, 8, 16, 24}) {
                const auto channel = [&](int column) {
                    return static_cast<int>(stretch.Source(column, y) >> shift & 0xFF);
                };
                const double expected =
                    x % 2 == 0 ? channel(x / 2) : (channel(x / 2) + channel(x / 2 + 1)) / 2.0;
                ASSERT_NEAR(stretch.Dest(x, y) >> shift & 0xFF, expected, 0.5);
            }
        }
    }
}

TEST(Stretch, KeyedPixelsAreLeftOut) {
    Stretch stretch(kDisplays[2], board::Chip::Permedia2);
    constexpr uint32_t kKey = 0xA53C;
    auto* pixels = reinterpret_cast<uint16_t*>(stretch.r.board.FrameBuffer().data());
    for (int i = 0; i < 64 * 64; i += 3) {
        pixels[Stretch::kSource + i] = kKey;
    }
    // 5:6:5 with red lowest in the bounds; the lowest green bit is no matter.
    const uint32_t low = rig::Rgba(kKey >> 11 << 3, (kKey >> 6 & 31) << 3, (kKey & 31) << 3, 0);
    stretch.r.Send(tag::YUVMode, 4);
    stretch.SetUnits(false);
    stretch.r.Send({{tag::ChromaLowerBound, low}, {tag::ChromaUpperBound, low | 0xFF070707}});
    stretch.Draw(0, 1u << 20, 0, 1u << 20, {60, 60}, false);
    for (int y = 0; y < 60; ++y) {
        for (int x = 0; x < 60; ++x) {
            const uint32_t source = stretch.Source(x, y);
            const bool keyed = (source & 0xFFDF) == (kKey & 0xFFDF);
            ASSERT_EQ(stretch.Dest(x, y), keyed ? 0 : source);
        }
    }
}

} // namespace
