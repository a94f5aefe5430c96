#include "board/texture/texture_address.h"
#include "board/values/patch.h"
#include "tests/board/texture_rig.h"

#include <gtest/gtest.h>

#include <set>

namespace {

// The layout spelt out bit by bit.
int64_t Place(int64_t x, int64_t y, int64_t pitch) {
    const auto bit = [](int64_t value, int n) { return value >> n & 1; };
    int64_t place = bit(y, 0) | bit(x, 0) << 1 | bit(y, 1) << 2 | bit(x, 1) << 3 | bit(y, 2) << 4 |
                    bit(x, 2) << 5 | bit(y, 3) << 6 | bit(x, 3) << 7 | bit(y, 4) << 8;
    for (int n = 4; n < 12; ++n) {
        place |= bit(x, n) << (n + 5);
    }
    return y / 32 * 32 * pitch + place;
}

TEST(Patch, LayoutInterleavesTheBitsOfBothCoordinates) {
    for (const int64_t pitch : {32, 64, 96, 160, 1024}) {
        for (int64_t y = 0; y < 100; ++y) {
            for (int64_t x = 0; x < pitch; ++x) {
                ASSERT_EQ(board::PatchedOffset(x, y, pitch), Place(x, y, pitch)) << x << ',' << y;
            }
        }
    }
}

TEST(Patch, EveryBandFillsItsOwnMemoryOnce) {
    for (const int64_t pitch : {32, 64, 96, 160, 640}) {
        std::set<int64_t> used;
        for (int64_t y = 0; y < 64; ++y) {
            for (int64_t x = 0; x < pitch; ++x) {
                const int64_t place = board::PatchedOffset(x, y, pitch);
                ASSERT_GE(place, y / 32 * 32 * pitch);
                ASSERT_LT(place, (y / 32 + 1) * 32 * pitch);
                ASSERT_TRUE(used.insert(place).second);
            }
        }
    }
}

// A 4-bit map is written as bytes of half the width, and read as texels.
TEST(Patch, FourBitTexelsLieInThePatchedBytesThatHoldThem) {
    const board::TextureLevel level{1000, 128, 7, 6};
    for (int64_t y = 0; y < 64; ++y) {
        for (int64_t x = 0; x < 128; ++x) {
            ASSERT_EQ(board::TexelIndex(level, true, 4, x, y),
                      1000 + 2 * Place(x / 2, y, 64) + x % 2);
        }
    }
}

TEST(Patch, DrawingWritesThePatchedLayoutInEveryPixelSize) {
    for (const auto& [code, bytes] : {std::pair{0u, 1u}, {1u, 2u}, {2u, 4u}, {4u, 3u}}) {
        rig::Rig r;
        r.Send({{tag::FBReadPixel, code},
                {tag::FBReadMode, 0x2040000 | rig::kPitch64},
                {tag::FBWindowBase, 512}});
        for (int y = 0; y < 40; ++y) {
            for (int x = 0; x < 64; ++x) {
                r.Send(tag::Color, static_cast<uint32_t>(x ^ (y << 2)));
                r.Rectangle(x, y, x + 1, y + 1);
            }
        }
        for (int64_t y = 0; y < 40; ++y) {
            for (int64_t x = 0; x < 64; ++x) {
                const auto place = static_cast<size_t>((512 + Place(x, y, 64)) * bytes);
                ASSERT_EQ(r.board.FrameBuffer()[place], static_cast<uint8_t>(x ^ (y << 2)));
            }
        }
        EXPECT_FALSE(r.board.FaultReport().Any()) << r.board.FaultReport().Describe();
    }
}

TEST(Patch, SpansAndFillsFollowTheLayoutFromPixelToPixel) {
    for (const uint32_t bits : {0u, rig::kFastFill}) {
        for (const bool leftward : {false, true}) {
            rig::Rig r;
            r.Send({{tag::FBReadMode, 0x2040000 | rig::kPitch64},
                    {tag::Color, 7},
                    {tag::FBBlockColor, 7}});
            r.Rectangle(leftward ? 37 : 3, 5, leftward ? 3 : 37, 39, bits);
            for (int64_t y = 0; y < 64; ++y) {
                for (int64_t x = 0; x < 64; ++x) {
                    ASSERT_EQ(r.Element<uint32_t>(static_cast<size_t>(Place(x, y, 64))),
                              x >= 3 && x < 37 && y >= 5 && y < 39 ? 7u : 0u);
                }
            }
        }
    }
}

TEST(Patch, PixelsOutsideTheMemoryAreDroppedAndCounted) {
    rig::Rig r;
    // The last band of memory starts 16 tiles of columns too late: columns 32 and on fall out.
    const uint32_t elements = 1u << 18;
    r.Send({{tag::FBReadMode, 0x2040000 | rig::kPitch64},
            {tag::FBWindowBase, elements - 2 * 512},
            {tag::Color, 9}});
    r.Rectangle(0, 0, 48, 32);
    EXPECT_EQ(r.board.FaultReport().badMemoryAccesses, 16u * 32u);
    for (uint32_t i = elements - 1024; i < elements; ++i) {
        ASSERT_EQ(r.Element<uint32_t>(i), 9u);
    }
}

TEST(Patch, ChipReadsBackWhatItHasWritten) {
    rig::TextureRig r;
    // A 64 x 64 map written patched, then drawn one to one.
    r.Bind32(6, 6, rig::kWrapClamp, false);
    r.Send({{tag::FBReadMode, 0x2040000 | rig::kPitch64}, {tag::FBWindowBase, rig::kMapPlace / 4}});
    for (int y = 0; y < 64; ++y) {
        for (int x = 0; x < 64; ++x) {
            r.Send(tag::Color, static_cast<uint32_t>(x * 1000 + y));
            r.Rectangle(x, y, x + 1, y + 1);
        }
    }
    r.Send({{tag::FBReadMode, rig::kPitch64},
            {tag::FBWindowBase, 0},
            {tag::TextureMapFormat, rig::kTexel32 << 19 | 1 << 17 | 2}});
    r.DrawMap(64, 64);
    for (int y = 0; y < 64; ++y) {
        for (int x = 0; x < 64; ++x) {
            ASSERT_EQ(r.Pixel(x, y), static_cast<uint32_t>(x * 1000 + y));
        }
    }
}

} // namespace
