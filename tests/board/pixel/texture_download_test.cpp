#include "board/pixel/texture_download.h"
#include "tests/board/texture_rig.h"

#include <gtest/gtest.h>

namespace {

void Load(rig::Rig& r, uint32_t count) {
    std::vector<uint32_t> stream{HoldTag(tag::TextureData, count)};
    for (uint32_t i = 0; i < count; ++i) {
        stream.push_back(0xC0DE0000 + i);
    }
    r.Words(stream);
}

TEST(TextureDownload, PermediaStoresWordsFromTheOffsetInTheFrameBuffer) {
    rig::TextureRig r(board::Chip::Permedia2);
    r.Send({{tag::LBWindowBase, 5}, {tag::TextureDownloadOffset, 1000}});
    Load(r, 64);
    Load(r, 3);
    EXPECT_EQ(r.Element<uint32_t>(999), 0u);
    for (uint32_t i = 0; i < 64; ++i) {
        ASSERT_EQ(r.Element<uint32_t>(1000 + i), 0xC0DE0000 + i);
    }
    EXPECT_EQ(r.Element<uint32_t>(1066), 0xC0DE0002u);
    EXPECT_EQ(r.Register(tag::TextureDownloadOffset), 1067u);
}

TEST(TextureDownload, GlintStoresWordsFromTheWindowBaseInTheLocalBuffer) {
    for (const board::Chip chip : {board::Chip::TX, board::Chip::MX}) {
        for (const uint32_t readMode : {0u, 0x120u << 14}) { // a patched load keeps the order too
            rig::TextureRig r(chip);
            r.Send({{tag::LBWindowBase, 300},
                    {tag::TextureDownloadOffset, 7},
                    {tag::LBReadMode, readMode}});
            Load(r, 16);
            for (uint32_t i = 0; i < 16; ++i) {
                uint32_t word = 0;
                std::memcpy(&word, r.board.LocalBuffer().data() + (307 + i) * 4, 4);
                ASSERT_EQ(word, 0xC0DE0000 + i);
            }
        }
    }
}

TEST(TextureDownload, WordsOutsideTheMemoryAreDroppedAndCounted) {
    rig::TextureRig r;
    r.Send(tag::TextureDownloadOffset, (1u << 18) - 1);
    Load(r, 3);
    EXPECT_EQ(r.Element<uint32_t>((1u << 18) - 1), 0xC0DE0000u);
    EXPECT_EQ(r.board.FaultReport().badMemoryAccesses, 2u);
}

// An 8-bit palette behind a map, taken by the transfer word.
void Table(board::Chip chip, bool inAGP) {
    rig::TextureRig r(chip);
    std::vector<uint32_t> host(1024);
    r.board.MapMemory(0x50000000, host.data(), host.size() * 4);
    r.board.Write(reg::AGPTextureBase, 0x50000000);
    std::vector<uint32_t> palette;
    for (uint32_t i = 0; i < 256; ++i) {
        palette.push_back(0xFF000000 | i << 16 | (255 - i) << 8 | (i * 7 & 0xFF));
    }
    constexpr uint32_t kTable = 128; // words behind the start of the map
    r.Bind32(4, 4, rig::kWrapClamp, false);
    if (r.IsPermedia()) {
        r.Send({{tag::TextureBaseAddress, inAGP ? 0x40000000 : rig::kMapPlace},
                {tag::TextureMapFormat, rig::kTexel8 << 19 | 1},
                {tag::TextureDataFormat, 14 | 1 << 4}});
    } else {
        r.Send({{tag::TextureFormat, 3 << 3 | 1 << 1},
                {tag::GlintTextureReadMode, 1 | 4 << 1 | 4 << 5 | 3 << 9}});
    }
    uint8_t* map = inAGP ? reinterpret_cast<uint8_t*>(host.data()) : r.Map();
    for (uint32_t y = 0; y < 16; ++y) {
        for (uint32_t x = 0; x < 16; ++x) {
            map[y * (r.IsPermedia() ? 32 : 16) + x] = static_cast<uint8_t>(y * 16 + x);
        }
    }
    std::memcpy(map + kTable * 4, palette.data(), 1024);
    r.Send({{tag::TexelLUTAddress, inAGP ? kTable : rig::kMapPlace / 4 + kTable},
            {tag::TexelLUTTransfer, 0x10000},
            {tag::TexelLUTMode, 1},
            {tag::TexelLUTIndex, 0}});
    // Entries of the small table, and what memory holds afterwards, are no matter.
    r.Send({{tag::TexelLUT0, 0x1234}, {tag::TexelLUT15, 0x1234}});
    std::memset(map + kTable * 4, 0, 1024);
    r.DrawMap(16, 16);
    for (uint32_t i = 0; i < 256; ++i) {
        ASSERT_EQ(r.Pixel(static_cast<int>(i % 16), static_cast<int>(i / 16)), palette[i]) << i;
    }
    EXPECT_FALSE(r.board.FaultReport().Any()) << r.board.FaultReport().Describe();
}

TEST(TextureDownload, LargeTableIsTakenFromTheMapsOwnMemory) {
    Table(board::Chip::Permedia2, false);
    Table(board::Chip::Permedia2, true);
    Table(board::Chip::MX, false);
}

TEST(TextureDownload, TableOutsideTheMemoryIsCounted) {
    rig::TextureRig r;
    r.Send({{tag::TexelLUTAddress, (1u << 18) - 255}, {tag::TexelLUTTransfer, 0x10000}});
    EXPECT_EQ(r.board.FaultReport().badMemoryAccesses, 1u);
    r.Send(tag::TexelLUTTransfer, 0);
    EXPECT_EQ(r.board.FaultReport().badMemoryAccesses, 1u);
}

// A map that came by download, patched where the chip does that, drawn on the screen.
TEST(TextureDownload, DownloadedMapIsDrawnOnPermedia) {
    for (const bool patched : {false, true}) {
        for (const board::Chip chip : {board::Chip::Permedia, board::Chip::Permedia2}) {
            rig::TextureRig r(chip);
            constexpr uint32_t k565 = 0 | 1u << 14;
            const uint32_t patch = patched ? 0x2040000 : 0;
            r.Send({{tag::FBReadPixel, rig::k16Bits},
                    {tag::DitherMode, k565 << 2 | 1},
                    {tag::FBReadMode, rig::kPitch64 | patch},
                    {tag::FBWindowBase, rig::kMapPlace / 2}});
            r.Rectangle(0, 0, 64, 64, 0x1000);
            for (uint32_t y = 0; y < 64; ++y) {
                std::vector<uint32_t> words{HoldTag(tag::Color, 64)};
                for (uint32_t x = 0; x < 64; ++x) {
                    // Blue lowest: x in blue, y in green, their sum in red.
                    words.push_back(x / 2 << 3 | y << 10 | (x + y) / 4 << 19);
                }
                r.Words(words);
            }
            r.Send({{tag::FBReadPixel, rig::k32Bits},
                    {tag::DitherMode, 0},
                    {tag::FBReadMode, rig::kPitch64},
                    {tag::FBWindowBase, 0}});
            r.Bind32(6, 6, rig::kWrapRepeat, false);
            r.Send({{tag::TextureBaseAddress, rig::kMapPlace / 2},
                    {tag::TextureMapFormat, rig::kTexel16 << 19 | (patched ? 1 << 17 : 0) | 2},
                    {tag::TextureDataFormat, 0x70}});
            r.DrawMap(64, 64);
            for (uint32_t y = 0; y < 64; ++y) {
                for (uint32_t x = 0; x < 64; ++x) {
                    const uint32_t blue = x / 2, red = (x + y) / 4;
                    ASSERT_EQ(r.Pixel(static_cast<int>(x), static_cast<int>(y)),
                              rig::Rgba(red << 3 | red >> 2, y << 2 | y >> 4, blue << 3 | blue >> 2,
                                        255));
                }
            }
            EXPECT_FALSE(r.board.FaultReport().Any()) << r.board.FaultReport().Describe();
        }
    }
}

TEST(TextureDownload, DownloadedMapIsDrawnOnGlint) {
    for (const board::Chip chip : {board::Chip::TX, board::Chip::MX}) {
        rig::TextureRig r(chip);
        r.Bind32(5, 5, rig::kWrapRepeat, false, rig::kModulate);
        r.Send({{tag::LBWindowBase, rig::kMapPlace / 4},
                {tag::TextureCacheControl, 3},
                {tag::TextureDownloadOffset, 0},
                {tag::LBReadMode, 0x20 << 14}});
        for (int i = 0; i < 16; ++i) {
            std::vector<uint32_t> words{HoldTag(tag::TextureData, 64)};
            for (uint32_t k = 0; k < 64; ++k) {
                words.push_back((static_cast<uint32_t>(i) * 64 + k) * 0x10205);
            }
            r.Words(words);
        }
        r.Send(tag::LBReadMode, 0);
        r.DrawMap(32, 32);
        for (uint32_t i = 0; i < 1024; ++i) {
            ASSERT_EQ(r.Pixel(static_cast<int>(i % 32), static_cast<int>(i / 32)), i * 0x10205);
        }
        EXPECT_FALSE(r.board.FaultReport().Any()) << r.board.FaultReport().Describe();
    }
}

} // namespace
