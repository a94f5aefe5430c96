// Copies of pixels inside the frame buffer, one by one.
#include "board/pixel/copy.h"
#include "board/values/patch.h"
#include "tests/board/rig.h"

#include <gtest/gtest.h>

#include <random>

namespace {

using rig::kReadDest;
using rig::kReadSource;

constexpr uint32_t kPatched = 0x2040000;
// TX and MX copy with this Render word.
constexpr uint32_t kFastCopy = 0x40008;

board::Config TinyConfig(board::Chip chip) {
    board::Config config = rig::SmallConfig(chip);
    config.frameBufferBytes = 1u << 17;
    return config;
}

template <typename Pixel>
std::vector<Pixel> Fill(rig::Rig& r, uint32_t seed) {
    std::mt19937 random(seed);
    for (size_t i = 0; i < r.board.FrameBuffer().size() / 4; ++i) {
        r.SetElement<uint32_t>(i, static_cast<uint32_t>(random()));
    }
    std::vector<Pixel> pixels(r.board.FrameBuffer().size() / sizeof(Pixel));
    std::memcpy(pixels.data(), r.board.FrameBuffer().data(), r.board.FrameBuffer().size());
    return pixels;
}

template <typename Pixel>
void ExpectMemory(rig::Rig& r, const std::vector<Pixel>& expected) {
    EXPECT_EQ(
        std::memcmp(expected.data(), r.board.FrameBuffer().data(), r.board.FrameBuffer().size()),
        0);
    EXPECT_FALSE(r.board.FaultReport().Any()) << r.board.FaultReport().Describe();
}

// Sets a chip to pixels of T.
template <typename Pixel>
void SetDepth(rig::Rig& r, board::Chip chip) {
    const uint32_t bytes = sizeof(Pixel);
    if (chip == board::Chip::SX) {
        r.board.Write(reg::FBModeSel, bytes == 1 ? 4 : bytes == 2 ? 2 : 0);
    } else if (chip == board::Chip::Permedia || chip == board::Chip::Permedia2) {
        r.Send(tag::FBReadPixel, bytes == 1   ? rig::k8Bits
                                 : bytes == 2 ? rig::k16Bits
                                              : rig::k32Bits);
    } else {
        r.Send(tag::PixelSize, bytes == 1 ? 2 : bytes == 2 ? 1 : 0);
    }
    r.Send(tag::FBWriteMode, 1);
}

template <typename Pixel>
void RandomCopies(board::Chip chip, uint32_t renderBits) {
    std::mt19937 random(sizeof(Pixel));
    rig::Rig r(TinyConfig(chip));
    SetDepth<Pixel>(r, chip);
    auto pixels = Fill<Pixel>(r, 3);
    for (int i = 0; i < 20; ++i) {
        const int width = 1 + static_cast<int>(random() % 40);
        const int height = 1 + static_cast<int>(random() % 20);
        const int left = static_cast<int>(random() % 60), top = static_cast<int>(random() % 20);
        const int sourceLeft = static_cast<int>(random() % 60);
        const int sourceTop = 42 + static_cast<int>(random() % 20);
        constexpr int kBase = 1000;
        r.Send({{tag::FBReadMode, rig::kPitch128 | kReadSource},
                {tag::LogicalOpMode, 0},
                {tag::FBWindowBase, kBase},
                {tag::FBSourceOffset,
                 static_cast<uint32_t>((sourceTop - top) * 128 + sourceLeft - left)}});
        r.Rectangle(left, top, left + width, top + height, renderBits);
        for (int y = 0; y < height; ++y) {
            for (int x = 0; x < width; ++x) {
                pixels[static_cast<size_t>(kBase + (top + y) * 128 + left + x)] =
                    pixels[static_cast<size_t>(kBase + (sourceTop + y) * 128 + sourceLeft + x)];
            }
        }
        ExpectMemory(r, pixels);
    }
}

TEST(Copy, RectanglesArriveAtEveryDepthOnEveryChip) {
    RandomCopies<uint8_t>(board::Chip::SX, 0);
    RandomCopies<uint16_t>(board::Chip::SX, 0);
    RandomCopies<uint32_t>(board::Chip::SX, 0);
    RandomCopies<uint8_t>(board::Chip::TX, kFastCopy);
    RandomCopies<uint16_t>(board::Chip::MX, kFastCopy);
    RandomCopies<uint32_t>(board::Chip::TX, kFastCopy);
    RandomCopies<uint16_t>(board::Chip::MX, 0);
    RandomCopies<uint8_t>(board::Chip::Permedia, 0);
    RandomCopies<uint16_t>(board::Chip::Permedia2, 0);
    RandomCopies<uint32_t>(board::Chip::Permedia, 0);
}

TEST(Copy, ForwardOverlapSmearsAndBackwardDoesNot) {
    for (const bool forward : {true, false}) {
        rig::Rig r(TinyConfig(board::Chip::MX));
        SetDepth<uint8_t>(r, board::Chip::MX);
        auto pixels = Fill<uint8_t>(r, 9);
        const auto before = pixels;
        // Three pixels to the right and one row down, all of it in the same surface.
        r.Send({{tag::FBReadMode, rig::kPitch64 | kReadSource},
                {tag::FBSourceOffset, static_cast<uint32_t>(-(64 + 3))},
                {tag::StartXDom, (forward ? 3u : 50u) << 16},
                {tag::StartXSub, (forward ? 50u : 3u) << 16},
                {tag::StartY, (forward ? 1u : 19u) << 16},
                {tag::dY, forward ? 0x10000 : 0xFFFF0000},
                {tag::Count, 19},
                {tag::Render, rig::kTrapezoid}});
        for (int y = 1; y < 20; ++y) {
            for (int x = 3; x < 50; ++x) {
                const auto at = static_cast<size_t>(y * 64 + x);
                // Forward the source row was written already, where it lies in the rectangle.
                pixels[at] = (forward ? pixels : before)[at - 67];
            }
        }
        ExpectMemory(r, pixels);
    }
}

TEST(Copy, InOneRowTheOrderOfPixelsIsThatOfTheWalk) {
    for (const bool forward : {true, false}) {
        for (const int distance : {-2, 2}) {
            rig::Rig r(TinyConfig(board::Chip::TX));
            SetDepth<uint16_t>(r, board::Chip::TX);
            auto pixels = Fill<uint16_t>(r, 8);
            r.Send({{tag::FBReadMode, rig::kPitch64 | kReadSource},
                    {tag::FBSourceOffset, static_cast<uint32_t>(distance)},
                    {tag::StartXDom, (forward ? 10u : 30u) << 16},
                    {tag::StartXSub, (forward ? 30u : 10u) << 16},
                    {tag::StartY, 0},
                    {tag::dY, 0x10000},
                    {tag::Count, 1},
                    {tag::Render, rig::kTrapezoid | kFastCopy}});
            for (int i = 0; i < 20; ++i) {
                const auto x = static_cast<size_t>(forward ? 10 + i : 29 - i);
                pixels[x] = pixels[x + static_cast<size_t>(distance)];
            }
            ExpectMemory(r, pixels);
        }
    }
}

TEST(Copy, LogicOpsMixSourceAndDestination) {
    // Reverse of a raster operation's truth table: bit 3 is for both on.
    for (uint32_t op = 0; op < 16; ++op) {
        rig::Rig r(TinyConfig(board::Chip::TX));
        SetDepth<uint32_t>(r, board::Chip::TX);
        auto pixels = Fill<uint32_t>(r, op);
        r.Send({{tag::FBReadMode, rig::kPitch64 | kReadSource | kReadDest},
                {tag::LogicalOpMode, op * 2 + 1},
                {tag::FBSourceOffset, 640}});
        r.Rectangle(0, 0, 64, 1, kFastCopy);
        for (size_t x = 0; x < 64; ++x) {
            const uint32_t source = pixels[x + 640], dest = pixels[x];
            uint32_t result = 0;
            result |= (op & 1) != 0 ? source & dest : 0;
            result |= (op & 2) != 0 ? source & ~dest : 0;
            result |= (op & 4) != 0 ? ~source & dest : 0;
            result |= (op & 8) != 0 ? ~source & ~dest : 0;
            pixels[x] = result;
        }
        ExpectMemory(r, pixels);
    }
}

TEST(Copy, SixteenBitPixelsGoAsWordsWithTheEdgesMasked) {
    rig::Rig r(TinyConfig(board::Chip::TX));
    SetDepth<uint32_t>(r, board::Chip::TX);
    auto pixels = Fill<uint16_t>(r, 12);
    r.Send({{tag::FBReadMode, rig::kPitch32 | kReadSource}, {tag::FBSourceOffset, 320}});
    // Pixels 3 to 10 of two rows: half a word at either end.
    r.Send(tag::FBHardwareWriteMask, 0xFFFF0000);
    r.Rectangle(1, 0, 2, 2, kFastCopy);
    r.Send(tag::FBHardwareWriteMask, 0xFFFFFFFF);
    r.Rectangle(2, 0, 5, 2, kFastCopy);
    r.Send(tag::FBHardwareWriteMask, 0xFFFF);
    r.Rectangle(5, 0, 6, 2, kFastCopy);
    for (size_t y = 0; y < 2; ++y) {
        for (size_t x = 3; x < 11; ++x) {
            pixels[y * 64 + x] = pixels[y * 64 + x + 640];
        }
    }
    ExpectMemory(r, pixels);
}

TEST(Copy, ScissorStippleAndSoftwareMaskHold) {
    rig::Rig r;
    auto pixels = Fill<uint32_t>(r, 13);
    r.Send({{tag::FBReadMode, rig::kPitch64 | kReadSource},
            {tag::FBSourceOffset, 1000},
            {tag::ScissorMode, 1},
            {tag::ScissorMinXY, 1u << 16 | 3},
            {tag::ScissorMaxXY, 3u << 16 | 9},
            {tag::AreaStippleMode, 1},
            {tag::AreaStipplePattern1, 0x55},
            {tag::AreaStipplePattern2, 0xAA},
            {tag::FBSoftwareWriteMask, 0x0000FFFF}});
    r.Rectangle(0, 0, 20, 8, rig::kAreaStipple);
    for (size_t y = 1; y < 3; ++y) {
        for (size_t x = 3; x < 9; ++x) {
            if ((x + y) % 2 == 1) {
                uint32_t& pixel = pixels[y * 64 + x];
                pixel = (pixel & 0xFFFF0000) | (pixels[y * 64 + x + 1000] & 0xFFFF);
            }
        }
    }
    ExpectMemory(r, pixels);
}

template <typename Pixel>
void PatchAndBack() {
    rig::Rig r(TinyConfig(board::Chip::Permedia2));
    SetDepth<Pixel>(r, board::Chip::Permedia2);
    auto pixels = Fill<Pixel>(r, 14);
    constexpr int kPlain = 0, kPatch = 4096, kBack = 12288;
    // Into the patched surface anywhere; its pitch is another one.
    r.Send({{tag::FBWindowBase, kPatch},
            {tag::FBReadMode, rig::kPitch64 | kReadSource},
            {tag::FBWriteConfig, rig::kPitch128 | kPatched},
            {tag::FBSourceOffset, static_cast<uint32_t>(kPlain - kPatch + 2 * 64 + 1 - 40)}});
    r.Rectangle(40, 0, 100, 45);
    for (int y = 0; y < 45; ++y) {
        for (int x = 40; x < 100; ++x) {
            pixels[static_cast<size_t>(kPatch + board::PatchedOffset(x, y, 128))] =
                pixels[static_cast<size_t>(kPlain + (y + 2) * 64 + x + 1 - 40)];
        }
    }
    ExpectMemory(r, pixels);
    // And out of it, backward, into a surface of the same size.
    const auto patched = pixels;
    r.Send({{tag::FBWindowBase, kBack},
            {tag::FBReadMode, rig::kPitch128 | kReadSource | kPatched},
            {tag::FBWriteConfig, rig::kPitch64 | rig::kPitch32 << 3},
            {tag::FBSourceOffset, static_cast<uint32_t>(kPatch - kBack)},
            {tag::StartXDom, 96u << 16},
            {tag::StartXSub, 3u << 16},
            {tag::StartY, 63u << 16},
            {tag::dY, 0xFFFF0000},
            {tag::Count, 60},
            {tag::Render, rig::kTrapezoid}});
    for (int y = 4; y < 64; ++y) {
        for (int x = 3; x < 96; ++x) {
            pixels[static_cast<size_t>(kBack + y * 96 + x)] =
                patched[static_cast<size_t>(kPatch + board::PatchedOffset(x, y, 128))];
        }
    }
    ExpectMemory(r, pixels);
}

TEST(Copy, PatchConversionWorksBothWays) {
    PatchAndBack<uint8_t>();
    PatchAndBack<uint16_t>();
    PatchAndBack<uint32_t>();
}

TEST(Copy, SourceOutsideTheMemoryIsCountedAndSkipped) {
    rig::Rig r;
    r.SetPixel(0, 0, 7);
    r.Send({{tag::FBReadMode, rig::kPitch64 | kReadSource},
            {tag::FBSourceOffset, static_cast<uint32_t>(-2)}});
    r.Rectangle(0, 0, 3, 1);
    EXPECT_EQ(r.Pixel(0, 0), 7u);
    EXPECT_EQ(r.Pixel(2, 0), 7u);
    EXPECT_EQ(r.board.FaultReport().badMemoryAccesses, 2u);
}

TEST(Copy, ThroughBlendOrDitherIsCountedAsAFault) {
    rig::Rig r;
    r.Send({{tag::FBReadMode, rig::kPitch64 | kReadSource}, {tag::AlphaBlendMode, 1}});
    r.Rectangle(0, 0, 1, 1);
    EXPECT_EQ(r.board.FaultReport().unmodelled.at("copy through the units of fragments"), 1u);
}

} // namespace
