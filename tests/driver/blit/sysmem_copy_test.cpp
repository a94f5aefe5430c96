// Copies by the processor into AGP memory.
#include "driver/blit/pmblitfx.h"
#include "tests/support/rig.h"

#include <gtest/gtest.h>

using namespace test;

namespace {

using Bytes = std::vector<uint8_t>;

struct Side {
    Side(Rig& rig, uint32_t bits, int32_t pitch, Bytes contents) : bytes(std::move(contents)) {
        surface.record.extension = &surface.extension;
        surface.local.lpGbl = &surface.Global();
        surface.local.dwFlags = bits != 0 ? DDRAWISURF_HASPIXELFORMAT : 0;
        surface.Global().ddpfSurface.dwRGBBitCount = bits;
        surface.Global().lpDD = &rig.directDraw;
        surface.Global().lPitch = pitch;
        surface.Global().fpVidMem = reinterpret_cast<uint32_t>(bytes.data());
    }

    Bytes bytes;
    RigSurface surface;
};

// `bits` 0 stands for a surface of the display's format.
Bytes Copied(uint32_t bits, Bytes from, int32_t fromPitch, const RECTL& source, Bytes to,
             int32_t toPitch, const RECTL& dest) {
    Rig rig({.bits = 32});
    Side a(rig, bits, fromPitch, std::move(from));
    Side b(rig, bits, toPitch, std::move(to));
    SysMemToSysMemSurfaceCopy(&a.surface.local, &b.surface.local, &source, &dest);
    return b.bytes;
}

Bytes Counting(size_t count) {
    Bytes bytes(count);
    for (size_t i = 0; i != count; ++i) {
        bytes[i] = static_cast<uint8_t>(i + 1);
    }
    return bytes;
}

uint32_t Nibble(const Bytes& bytes, size_t pitch, size_t x, size_t y) {
    return bytes.at(y * pitch + x / 2) >> (x % 2 * 4) & 0xF;
}

TEST(SysMemCopy, WholePixelsOfEverySizeGoLineByLine) {
    for (uint32_t bits : {8u, 16u, 24u, 32u}) {
        constexpr size_t kFromPitch = 64, kToPitch = 48;
        const size_t size = bits / 8;
        const Bytes from = Counting(kFromPitch * 6);
        const Bytes got = Copied(bits, from, kFromPitch, {3, 1, 10, 5}, Bytes(kToPitch * 8, 0xEE),
                                 kToPitch, {2, 3, 9, 7});
        Bytes want(kToPitch * 8, 0xEE);
        for (size_t y = 0; y != 4; ++y) {
            for (size_t i = 0; i != 7 * size; ++i) {
                want[(y + 3) * kToPitch + 2 * size + i] = from[(y + 1) * kFromPitch + 3 * size + i];
            }
        }
        EXPECT_EQ(got, want) << bits;
    }
}

TEST(SysMemCopy, ASurfaceWithoutAFormatOfItsOwnHasTheDisplays) {
    Bytes want(16, 0xEE);
    for (size_t i = 4; i != 12; ++i) {
        want[i] = static_cast<uint8_t>(i + 1);
    }
    EXPECT_EQ(Copied(0, Counting(16), 16, {1, 0, 3, 1}, Bytes(16, 0xEE), 16, {1, 0, 3, 1}), want);
}

TEST(SysMemCopy, EverySideCountsBytesByItsOwnBits) {
    Rig rig({.bits = 32});
    Side a(rig, 16, 16, Counting(16));
    Side b(rig, 32, 32, Bytes(32, 0xEE));
    const RECTL source = {1, 0, 4, 1};
    const RECTL dest = {3, 0, 6, 1};
    SysMemToSysMemSurfaceCopy(&a.surface.local, &b.surface.local, &source, &dest);
    Bytes want(32, 0xEE);
    for (size_t i = 0; i != 6; ++i) {
        want[12 + i] = static_cast<uint8_t>(2 + i + 1);
    }
    EXPECT_EQ(b.bytes, want);
}

TEST(SysMemCopy, FourBitPixelsOfUnequalParityGoNibbleByNibble) {
    constexpr size_t kPitch = 8;
    const Bytes from = Counting(kPitch * 3);
    for (const auto& [sourceLeft, destLeft] : {std::pair<LONG, LONG>{1, 2}, {2, 1}, {4, 3}}) {
        for (LONG width : {1, 2, 5, 6}) {
            const Bytes got =
                Copied(4, from, kPitch, {sourceLeft, 0, sourceLeft + width, 2},
                       Bytes(kPitch * 3, 0xEE), kPitch, {destLeft, 1, destLeft + width, 3});
            for (size_t y = 0; y != 3; ++y) {
                for (size_t x = 0; x != 2 * kPitch; ++x) {
                    const bool inside = y >= 1 && static_cast<LONG>(x) >= destLeft &&
                                        static_cast<LONG>(x) < destLeft + width;
                    const uint32_t want =
                        inside ? Nibble(from, kPitch, x - destLeft + sourceLeft, y - 1) : 0xE;
                    EXPECT_EQ(Nibble(got, kPitch, x, y), want) << x << " " << y;
                }
            }
        }
    }
}

TEST(SysMemCopy, FourBitPixelsOfEvenEdgesGoAsBytes) {
    const Bytes from = Counting(16);
    Bytes want(16, 0xEE);
    for (size_t i = 0; i != 5; ++i) {
        want[1 + i] = from[2 + i];
    }
    EXPECT_EQ(Copied(4, from, 16, {4, 0, 14, 1}, Bytes(16, 0xEE), 16, {2, 0, 12, 1}), want);
}

// From 1 to 8: the high nibble of byte 0, then 7 / 2 - 1 = 2 whole bytes. The count is rounded
// down, so pixels 6 and 7 are not copied.
TEST(SysMemCopy, AnOddLeftEdgeKeepsTheLowNibbleAndTakesAByteFromTheCount) {
    const Bytes got =
        Copied(4, {0x21, 0x43, 0x65, 0x87, 0xA9}, 5, {1, 0, 8, 1}, Bytes(5, 0xEE), 5, {1, 0, 8, 1});
    EXPECT_EQ(got, (Bytes{0x2E, 0x43, 0x65, 0xEE, 0xEE}));
}

TEST(SysMemCopy, AnOddRightEdgeKeepsTheHighNibble) {
    // From 0 to 7: 7 / 2 - 1 = 2 bytes, and the low nibble of the next.
    const Bytes got =
        Copied(4, {0x21, 0x43, 0x65, 0x87, 0xA9}, 5, {0, 0, 7, 1}, Bytes(5, 0xEE), 5, {0, 0, 7, 1});
    EXPECT_EQ(got, (Bytes{0x21, 0x43, 0xE5, 0xEE, 0xEE}));
}

TEST(SysMemCopy, OddToOddWithAnOddRightEdgeKeepsTheUntouchedNibbles) {
    // From 1 to 9: the high nibble of byte 0, 8 / 2 - 2 = 2 bytes, the low nibble of byte 3; into
    // bytes 1 on.
    const Bytes from = {0x21, 0x43, 0x65, 0x87, 0xA9, 0xCB};
    const Bytes got = Copied(4, from, 6, {1, 0, 9, 1}, Bytes(6, 0xEE), 6, {3, 0, 11, 1});
    EXPECT_EQ(got, (Bytes{0xEE, 0x2E, 0x43, 0x65, 0xE7, 0xEE}));
}

TEST(SysMemCopy, ACountBelowZeroCopiesNoByte) {
    // From 1 to 3: 2 / 2 - 2 is below zero; the two nibbles alone go.
    const Bytes got =
        Copied(4, {0x21, 0x43, 0x65}, 3, {1, 0, 3, 1}, Bytes(3, 0xEE), 3, {1, 0, 3, 1});
    EXPECT_EQ(got, (Bytes{0x2E, 0xE3, 0xEE}));
}

} // namespace
