// The patched 4-bit layout that the processor writes.
#include "driver/texture/pmdownld.h"
#include "tests/driver/texture/download_support.h"

#include <cstring>

using namespace test;

namespace {

// Bit `from` of `value`, at bit `to`.
uint32_t Bit(uint32_t value, uint32_t from, uint32_t to) {
    return (value >> from & 1) << to;
}

// Where byte x of line y goes, bit by bit.
uint32_t PlaceOf(uint32_t x, uint32_t y, uint32_t pitch) {
    uint32_t place = Bit(y, 0, 0) | Bit(x, 0, 1) | Bit(y, 1, 2) | Bit(x, 1, 3) | Bit(y, 2, 4) |
                     Bit(x, 2, 5) | Bit(y, 3, 6) | Bit(x, 3, 7) | Bit(y, 4, 8);
    for (uint32_t bit = 4; bit != 16; ++bit) {
        place |= Bit(x, bit, bit + 5);
    }
    return y / 32 * 32 * pitch + place;
}

uint32_t EarlierPlaceOf(uint32_t x, uint32_t y, uint32_t pitch) {
    uint32_t place = Bit(y, 0, 0) | Bit(x, 1, 1) | Bit(y, 1, 2) | Bit(x, 2, 3) | Bit(y, 2, 4) |
                     Bit(x, 3, 5) | Bit(y, 3, 6) | Bit(x, 4, 7) | Bit(y, 4, 8);
    for (uint32_t bit = 4; bit != 16; ++bit) {
        place |= Bit(x, bit, bit + 4);
    }
    return y / 32 * 32 * pitch + place;
}

struct Patch : Loading {
    Patch(uint32_t width, uint32_t height, int32_t pitch)
        : Loading(DevicePermedia), height_(height) {
        SetDest(PixelSize4, pitch, kOffset);
        dest->Global().wWidth = static_cast<WORD>(width);
        dest->Global().wHeight = static_cast<WORD>(height);
        std::memset(rig.FrameBuffer() + kOffset, 0xEE, kRoom);
    }

    void Load(Download download) {
        const auto bottom = static_cast<LONG>(height_);
        Run(download, {0, 0, dest->Global().wWidth, bottom});
        EXPECT_TRUE(rig.bus->events.empty());
    }

    Bytes Memory() { return {rig.FrameBuffer() + kOffset, rig.FrameBuffer() + kOffset + kRoom}; }

    static constexpr uint32_t kOffset = 0x10000;
    static constexpr uint32_t kRoom = 0x4000;

  private:
    uint32_t height_;
};

TEST(Bypass4BitDownload, A16By32TextureWrites8BytesALineAndLine1LandsAtByte1) {
    Patch load(16, 32, 32);
    Bytes bytes(8 * 32);
    for (uint32_t y = 0; y != 32; ++y) {
        for (uint32_t x = 0; x != 8; ++x) {
            bytes[y * 8 + x] = static_cast<uint8_t>(y * 8 + x);
        }
    }
    load.SetSource(bytes, 8);
    load.Load(PermediaBypass4BitPatchedTextureDownload);
    const Bytes memory = load.Memory();
    // By hand: columns 0 to 7 of line 0 at 0, 2, 8, A, 20, 22, 28, 2A; line 1 one further.
    const uint32_t places[] = {0x00, 0x02, 0x08, 0x0A, 0x20, 0x22, 0x28, 0x2A};
    for (uint32_t x = 0; x != 8; ++x) {
        EXPECT_EQ(memory[places[x]], x);
        EXPECT_EQ(memory[places[x] + 1], 8 + x);
        EXPECT_EQ(memory[places[x] + 4], 16 + x);      // line 2
        EXPECT_EQ(memory[places[x] + 0x155], 248 + x); // line 31: bits 0, 2, 4, 6 and 8
    }
    // Half of the tile is never written.
    EXPECT_EQ(std::count(memory.begin(), memory.begin() + 512, 0xEE),
              256 + std::count(bytes.begin(), bytes.end(), 0xEE));
}

TEST(Bypass4BitDownload, TilesFollowEachOtherAlongTheBandAndBandsByThePitch) {
    constexpr uint32_t kWidth = 128, kHeight = 70, kPitch = 96, kSourcePitch = 80;
    Patch load(kWidth, kHeight, kPitch);
    const Bytes bytes = Pattern(kSourcePitch * kHeight);
    load.SetSource(bytes, kSourcePitch);
    load.Load(PermediaBypass4BitPatchedTextureDownload);
    Bytes want(Patch::kRoom, 0xEE);
    for (uint32_t y = 0; y != kHeight; ++y) {
        for (uint32_t x = 0; x != kWidth / 2; ++x) {
            want.at(PlaceOf(x, y, kPitch)) = bytes[y * kSourcePitch + x];
        }
    }
    EXPECT_EQ(load.Memory(), want);
    // Byte 16 of line 0 begins the second tile; line 32 the second band.
    EXPECT_EQ(want[512], bytes[16]);
    EXPECT_EQ(want[32 * kPitch], bytes[32 * kSourcePitch]);
}

TEST(Bypass4BitDownload, MarksTheSurfaceAsPatchedNow) {
    Patch load(16, 1, 32);
    load.SetSource(Pattern(8), 8);
    load.Load(PermediaBypass4BitPatchedTextureDownload);
    EXPECT_EQ(load.dest->priv.Flags & SURFACE_PATCHED_NOW, SURFACE_PATCHED_NOW);
}

TEST(EarlierPatched4BitDownload, PutsPixelBit4AtBits7And8AndMarksNothing) {
    constexpr uint32_t kWidth = 64, kHeight = 34, kPitch = 64;
    Patch load(kWidth, kHeight, kPitch);
    const Bytes bytes = Pattern(kWidth / 2 * kHeight);
    load.SetSource(bytes, kWidth / 2);
    load.Load(TextureDownloadPatched4Bit);
    Bytes want(Patch::kRoom, 0xEE);
    for (uint32_t y = 0; y != kHeight; ++y) {
        for (uint32_t x = 0; x != kWidth; x += 2) {
            want.at(EarlierPlaceOf(x, y, kPitch)) = bytes[y * kWidth / 2 + x / 2];
        }
    }
    EXPECT_EQ(load.Memory(), want);
    EXPECT_EQ(EarlierPlaceOf(16, 0, kPitch), 0x180u);
    EXPECT_EQ(load.dest->priv.Flags & SURFACE_PATCHED_NOW, 0u);
}

} // namespace
