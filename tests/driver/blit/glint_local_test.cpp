// Fills and copies of the local buffer on the Glint family.
#include "driver/blit/txblit32.h"
#include "tests/driver/blit/primitive_rig.h"
#include "tests/support/tag_names.h"

#include <cstring>
#include <random>

using namespace test;

namespace {

constexpr uint32_t kLines = 12;

// A texture or Z buffer over bytes of its own.
class LocalRig : public PrimitiveRig {
  public:
    LocalRig(uint32_t bits, uint32_t caps, uint32_t pitch)
        : PrimitiveRig({.deviceId = DeviceMX, .bits = 16}), memory(pitch * kLines) {
        surface = &MakeSurface(64, kLines, caps, PixelSize16, 0);
        surface->local.dwFlags |= DDRAWISURF_HASPIXELFORMAT;
        DDRAWI_DDRAWSURFACE_GBL& global = surface->Global();
        global.ddpfSurface.dwFlags = DDPF_RGB;
        global.ddpfSurface.dwRGBBitCount = bits;
        global.fpVidMem = reinterpret_cast<uint32_t>(memory.data());
        global.lPitch = static_cast<int32_t>(pitch);
        surface->priv.PPCode = 0x53;
        driver->FBWriteMode = 0x21;
        driver->RenderClear = 0x48;
        for (size_t i = 0; i < memory.size(); ++i) {
            memory[i] = static_cast<uint8_t>(0x80 | i * 7);
        }
    }

    Words Clear(RECTL rect, uint32_t fill, uint32_t offset = 0x999) {
        bus->Clear();
        FastLBGlintClear(driver, &surface->local, &rect, offset, fill);
        return Take();
    }

    RigSurface* surface;
    std::vector<uint8_t> memory;
};

// What the chip is sent for a fill of the words from `left` to `right`.
Words ChipFill(int32_t left, int32_t right, int32_t top, int32_t height, uint32_t fill) {
    return Words{W(14)} + Pairs({{t::LBReadMode, 0x53},
                                 {t::FBReadMode, 0x2E},
                                 {t::FBWriteMode, 0},
                                 {t::LBWriteMode, 1},
                                 {t::LBWindowBase, 0x999},
                                 {t::Depth, fill},
                                 {t::StartXDom, static_cast<uint32_t>(left) << 16},
                                 {t::StartXSub, static_cast<uint32_t>(right) << 16},
                                 {t::StartY, static_cast<uint32_t>(top) << 16},
                                 {t::dY, 0x10000},
                                 {t::Count, static_cast<uint32_t>(height)},
                                 {t::Render, 0x48},
                                 {t::FBWriteMode, 0x21},
                                 {t::LBWriteMode, 0}});
}

TEST(LocalClear, OfAZBufferIsTheChipsAloneWhateverTheFormatSays) {
    for (const uint32_t bits : {16u, 24u, 32u}) {
        LocalRig rig(bits, DDSCAPS_ZBUFFER, 256);
        const auto before = rig.memory;
        EXPECT_EQ(rig.Clear({3, 2, 8, 7}, 0x12345678), ChipFill(3, 8, 2, 5, 0x12345678));
        EXPECT_EQ(rig.memory, before);
    }
}

TEST(LocalClear, OfA32BitTextureIsTheChipsAlone) {
    LocalRig rig(32, DDSCAPS_TEXTURE, 256);
    const auto before = rig.memory;
    EXPECT_EQ(rig.Clear({3, 2, 8, 7}, 0x12345678), ChipFill(3, 8, 2, 5, 0x12345678));
    EXPECT_EQ(rig.memory, before);
}

TEST(LocalClear, OfATextureOfAnotherDepthDoesNothing) {
    for (const uint32_t bits : {4u, 24u}) {
        LocalRig rig(bits, DDSCAPS_TEXTURE, 256);
        const auto before = rig.memory;
        EXPECT_EQ(rig.Clear({3, 2, 8, 7}, 0x12345678), Words{});
        EXPECT_EQ(rig.memory, before);
    }
}

TEST(LocalClear, OfATextureWithoutAFormatOfItsOwnGoesByTheDisplays) {
    LocalRig rig(32, DDSCAPS_TEXTURE, 128);
    rig.surface->local.dwFlags &= ~static_cast<DWORD>(DDRAWISURF_HASPIXELFORMAT);
    EXPECT_EQ(rig.Clear({4, 2, 8, 7}, 0x1234), ChipFill(2, 4, 2, 5, 0x12341234));
}

// Columns of pixels that the processor changed, and all lines of the rectangle alike.
template <class Pixel>
std::vector<int> ChangedColumns(const LocalRig& rig, const std::vector<uint8_t>& before,
                                const RECTL& rect, Pixel fill) {
    const auto pitch = rig.surface->Global().lPitch;
    std::vector<int> result;
    for (uint32_t y = 0; y < kLines; ++y) {
        std::vector<int> changed;
        for (int x = 0; x < pitch / static_cast<int>(sizeof(Pixel)); ++x) {
            Pixel now, then;
            const size_t at = y * pitch + x * sizeof(Pixel);
            std::memcpy(&now, &rig.memory[at], sizeof(Pixel));
            std::memcpy(&then, &before[at], sizeof(Pixel));
            if (now != then) {
                EXPECT_EQ(now, fill);
                changed.push_back(x);
            }
        }
        if (static_cast<int>(y) < rect.top || static_cast<int>(y) >= rect.bottom) {
            EXPECT_TRUE(changed.empty()) << y;
        } else if (result.empty()) {
            result = changed;
        } else {
            EXPECT_EQ(changed, result) << y;
        }
    }
    return result;
}

TEST(LocalClear, SixteenBitEdgesByParity) {
    const struct {
        int left, right;
        std::vector<int> byProcessor;
        int firstWord, endWord;
    } rows[] = {
        {3, 8, {3}, 2, 4}, {3, 9, {3, 8}, 2, 4}, {2, 9, {8}, 1, 4}, {2, 8, {7}, 1, 4},
        {2, 3, {2}, 1, 1}, {3, 4, {3}, 2, 2},    {4, 6, {5}, 2, 3}, {0, 1, {0}, 0, 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << row.left << " to " << row.right);
        LocalRig rig(16, DDSCAPS_TEXTURE, 32);
        const auto before = rig.memory;
        const RECTL rect = {row.left, 2, row.right, 7};
        EXPECT_EQ(rig.Clear(rect, 0x1234), ChipFill(row.firstWord, row.endWord, 2, 5, 0x12341234));
        EXPECT_EQ(ChangedColumns<uint16_t>(rig, before, rect, 0x1234), row.byProcessor);
    }
}

TEST(LocalClear, EightBitEdgesByTheirPlaceInTheWord) {
    const struct {
        int left, right;
        std::vector<int> byProcessor;
        int firstWord, endWord;
    } rows[] = {
        {4, 8, {}, 1, 2},          {5, 12, {5, 6, 7}, 2, 3}, {6, 12, {6, 7}, 2, 3},
        {7, 12, {7}, 2, 3},        {4, 9, {8}, 1, 2},        {4, 10, {8, 9}, 1, 2},
        {4, 11, {8, 9, 10}, 1, 2}, {3, 13, {3, 12}, 1, 3},   {2, 5, {2, 3, 4}, 1, 1},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << row.left << " to " << row.right);
        LocalRig rig(8, DDSCAPS_TEXTURE, 32);
        const auto before = rig.memory;
        const RECTL rect = {row.left, 2, row.right, 7};
        EXPECT_EQ(rig.Clear(rect, 0x45), ChipFill(row.firstWord, row.endWord, 2, 5, 0x45454545));
        EXPECT_EQ(ChangedColumns<uint8_t>(rig, before, rect, 0x45), row.byProcessor);
    }
}

TEST(LocalClear, EightBitsWithinOneWordFillAllOfItAndGiveTheChipNoWidth) {
    LocalRig rig(8, DDSCAPS_TEXTURE, 32);
    const auto before = rig.memory;
    const RECTL rect = {1, 2, 3, 7};
    // The word takes the pixels from 1 up, then those below 3.
    EXPECT_EQ(rig.Clear(rect, 0x45), ChipFill(1, 0, 2, 5, 0x45454545));
    EXPECT_EQ(ChangedColumns<uint8_t>(rig, before, rect, 0x45), (std::vector<int>{0, 1, 2, 3}));
}

TEST(LocalClear, EdgeMasksOfTheFourPlaces) {
    const uint32_t fromPixel[4] = {0, 0xFFFFFF00, 0xFFFF0000, 0xFF000000};
    const uint32_t belowPixel[4] = {0, 0xFF, 0xFFFF, 0xFFFFFF};
    for (int i = 0; i < 4; ++i) {
        EXPECT_EQ(sMasks[i], fromPixel[i]);
        EXPECT_EQ(eMasks[i], belowPixel[i]);
    }
}

TEST(LocalClear, OnlyTheLowByteOfAnEightBitFillCounts) {
    LocalRig rig(8, DDSCAPS_TEXTURE, 32);
    EXPECT_EQ(rig.Clear({4, 2, 8, 7}, 0xABCDEF12), ChipFill(1, 2, 2, 5, 0x12121212));
}

TEST(LocalClear, WithoutARecordOrBeforeItIsReadyStopsBehindTheEdges) {
    for (const bool hasRecord : {false, true}) {
        LocalRig rig(16, DDSCAPS_TEXTURE, 32);
        if (hasRecord) {
            rig.surface->priv.Flags &= ~static_cast<uint32_t>(SURFACE_READY);
        } else {
            rig.surface->Global().dwReserved1 = 0;
        }
        const auto before = rig.memory;
        const RECTL rect = {3, 2, 9, 7};
        EXPECT_EQ(rig.Clear(rect, 0x1234), Words{});
        EXPECT_EQ(ChangedColumns<uint16_t>(rig, before, rect, 0x1234), (std::vector<int>{3, 8}));
    }
}

TEST(LocalClear, DoesNotLookAtTheFrameBuffersDepth) {
    LocalRig rig(32, DDSCAPS_TEXTURE, 256);
    rig.driver->FBDepth = 2;
    EXPECT_EQ(rig.Clear({3, 2, 8, 7}, 1), ChipFill(3, 8, 2, 5, 1));
    EXPECT_EQ(rig.driver->FBDepth, 2u);
}

// Fills a rectangle pixel by pixel.
template <class Pixel>
void FillPlainly(std::vector<uint8_t>& memory, uint32_t pitch, const RECTL& rect, Pixel fill) {
    for (int y = rect.top; y < rect.bottom; ++y) {
        for (int x = rect.left; x < rect.right; ++x) {
            std::memcpy(&memory[y * pitch + x * sizeof(Pixel)], &fill, sizeof(Pixel));
        }
    }
}

// Does the chip's part of a fill, from the words that it was sent.
void DrawWords(std::vector<uint8_t>& memory, uint32_t pitch, const Words& words) {
    const auto left = static_cast<int>(WordOf(words, t::StartXDom) >> 16);
    const auto right = static_cast<int>(WordOf(words, t::StartXSub) >> 16);
    const auto top = static_cast<int>(WordOf(words, t::StartY) >> 16);
    const auto count = static_cast<int>(WordOf(words, t::Count));
    FillPlainly(memory, pitch, {left, top, right, top + count}, WordOf(words, t::Depth));
}

template <class Pixel>
void CompareWithPlainFills(uint32_t bits, uint32_t pitch) {
    std::mt19937 random(bits);
    LocalRig rig(bits, DDSCAPS_TEXTURE, pitch);
    const int width = static_cast<int>(pitch / sizeof(Pixel));
    const auto pick = [&](int below) { return static_cast<int>(random() % below); };
    int widened = 0;
    for (int round = 0; round < 3000; ++round) {
        RECTL rect;
        rect.left = pick(width);
        rect.right = rect.left + 1 + pick(width - rect.left);
        rect.top = pick(kLines);
        rect.bottom = rect.top + 1 + pick(kLines - rect.top);
        const auto fill = static_cast<Pixel>(random());
        auto expected = rig.memory;
        RECTL plain = rect;
        if (sizeof(Pixel) == 1 && rect.left % 4 != 0 && rect.right % 4 != 0 &&
            rect.left / 4 == rect.right / 4) {
            // Both edges in one word: the masks of the two together are the whole word.
            plain.left = rect.left / 4 * 4;
            plain.right = plain.left + 4;
            ++widened;
        }
        FillPlainly(expected, pitch, plain, fill);
        DrawWords(rig.memory, pitch, rig.Clear(rect, fill));
        ASSERT_EQ(rig.memory, expected) << rect.left << " to " << rect.right;
    }
    EXPECT_EQ(widened > 0, sizeof(Pixel) == 1);
}

TEST(LocalClear, OfRandomRectanglesIsAPlainFill) {
    CompareWithPlainFills<uint32_t>(32, 64);
    CompareWithPlainFills<uint16_t>(16, 64);
    CompareWithPlainFills<uint8_t>(8, 32);
}

// Copies.

struct CopyCase {
    RECTL dest = {16, 20, 48, 28};
    RECTL source = {32, 19, 64, 27};
    int32_t stride = 128;
    uint32_t destOffset = 0x808;
    int32_t relative = 0x100;
    uint32_t pixelSize = PixelSize32;
};

Words LocalCopy(PrimitiveRig& rig, const CopyCase& c) {
    PrivateSurfaceData dest{};
    PrivateSurfaceData source{};
    dest.PackedPPCode = 0x111;
    dest.PixelSize = PixelSize32;
    source.PackedPPCode = 0x42;
    source.PixelSize = c.pixelSize;
    rig.driver->FBWriteMode = 0x21;
    rig.driver->RenderCopy = 0x7777;
    rig.bus->Clear();
    RECTL destRect = c.dest;
    RECTL sourceRect = c.source;
    vGlintLBCopyBltNative(rig.driver, 999, c.stride, &dest, &source, &destRect, &sourceRect,
                          c.destOffset, c.relative, 3);
    EXPECT_EQ(destRect.left, c.dest.left);
    EXPECT_EQ(destRect.top, c.dest.top);
    EXPECT_EQ(sourceRect.left, c.source.left);
    EXPECT_EQ(sourceRect.top, c.source.top);
    return rig.Take();
}

TEST(LocalCopy, WritesTheRegistersOfAWordCopyDirectly) {
    // Per pixel size: left, right, source offset and window of the words.
    const struct {
        uint32_t pixelSize, left, right;
        int32_t distance;
        uint32_t window;
    } rows[] = {
        {PixelSize32, 16, 48, -128 + 0x100 + 16, 0x808},
        {PixelSize16, 8, 24, -64 + 0x80 + 8, 0x404},
        {PixelSize8, 4, 12, -32 + 0x40 + 4, 0x202},
        {PixelSize4, 2, 6, -16 + 0x20 + 2, 0x101},
        {PixelSize24, 16, 48, -128 + 0x100 + 16, 0x808},
    };
    for (const auto& row : rows) {
        PrimitiveRig rig({.deviceId = DeviceTX});
        const Words expected = Words{W(16)} +
                               Pairs({{M(t::LogicalOpMode), 0},
                                      {M(t::LBReadMode), 0x242},
                                      {M(t::LBWriteMode), 1},
                                      {M(t::LBSourceOffset), static_cast<uint32_t>(row.distance)},
                                      {M(t::LBWindowBase), row.window},
                                      {M(t::FBWriteMode), 0},
                                      {M(t::FBReadMode), 0},
                                      {M(t::Window), 8},
                                      {M(t::StartXDom), row.left << 16},
                                      {M(t::StartXSub), row.right << 16},
                                      {M(t::StartY), 20 << 16},
                                      {M(t::dY), 0x10000},
                                      {M(t::Count), 8},
                                      {M(t::Render), 0x40},
                                      {M(t::LBWriteMode), 0},
                                      {M(t::Window), 0x18}}) +
                               Words{W(2)} +
                               Pairs({{M(t::FBReadMode), 0x2E}, {M(t::FBWriteMode), 0x21}});
        EXPECT_EQ(LocalCopy(rig, {.pixelSize = row.pixelSize}), expected) << row.pixelSize;
    }
}

TEST(LocalCopy, ShiftsEachNumberByItselfAndNegativesDown) {
    PrimitiveRig rig({.deviceId = DeviceTX});
    CopyCase c;
    c.pixelSize = PixelSize16;
    c.dest = {17, 20, 49, 28};
    c.source = {3, 25, 35, 33};
    c.stride = 131;
    c.relative = -7;
    const Words words = LocalCopy(rig, c);
    EXPECT_EQ(WordOf(words, t::StartXDom), 8u << 16);
    EXPECT_EQ(WordOf(words, t::StartXSub), 24u << 16);
    EXPECT_EQ(WordOf(words, t::LBSourceOffset), static_cast<uint32_t>(5 * 65 - 4 + 1 - 8));
}

TEST(LocalCopy, ClipsAgainstTheSourcesTopAndLeftBeforeItCountsWords) {
    PrimitiveRig rig({.deviceId = DeviceTX});
    CopyCase c;
    c.pixelSize = PixelSize16;
    c.source = {-4, -2, 28, 6};
    const Words words = LocalCopy(rig, c);
    EXPECT_EQ(WordOf(words, t::StartXDom), 10u << 16); // (16 + 4) / 2
    EXPECT_EQ(WordOf(words, t::StartY), 22u << 16);
    EXPECT_EQ(WordOf(words, t::Count), 6u);
    EXPECT_EQ(WordOf(words, t::LBSourceOffset), static_cast<uint32_t>(-22 * 64 + 0x80 - 10));
    c.source = {-32, 0, -1, 8};
    EXPECT_EQ(LocalCopy(rig, c), Words{});
    c.source = {0, -8, 32, -1};
    EXPECT_EQ(LocalCopy(rig, c), Words{});
}

TEST(LocalCopy, BringsTheFrameBufferToTheDisplaysDepth) {
    PrimitiveRig rig({.deviceId = DeviceTX, .bits = 16});
    rig.driver->FBDepth = 2;
    rig.driver->DepthTable[1] = {0x123, 0};
    const Words words = LocalCopy(rig, {});
    EXPECT_EQ(Words(words.begin(), words.begin() + 4), (Words{W(1), t::PixelSize, 1, W(16)}));
    EXPECT_EQ(words[words.size() - 3], 0x123u); // the products in FBReadMode at the end
}

} // namespace
