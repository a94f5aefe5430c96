// Fills and copies of the screen on the Glint family: every word, wait and register write.
#include "driver/blit/glintblt.h"
#include "driver/blit/pmblit32.h"
#include "driver/blit/txblit32.h"
#include "tests/driver/blit/primitive_rig.h"
#include "tests/support/tag_names.h"

using namespace test;

namespace {

constexpr uint32_t kGlintChips[] = {DeviceSX, DeviceTX, DeviceMX};

// Tag 7 of a fill, with block fill or without.
constexpr uint32_t kBlockFill = 0x48;
constexpr uint32_t kPixelFill = 0x40;

Words Fill(PrimitiveRig& rig, uint32_t render, RECTL rect, uint32_t offset, uint32_t fill) {
    rig.driver->RenderSolid = render;
    rig.bus->Clear();
    FastGlintClear(rig.driver, &rect, offset, fill);
    return rig.Take();
}

// The words of a list with each pair sent past the stream instead.
Words Mapped(const Words& pairs) {
    Words result;
    for (size_t i = 0; i < pairs.size();) {
        if (pairs[i] >> 16 == 0xABCD) {
            result.push_back(pairs[i++]);
            continue;
        }
        result.push_back(M(pairs[i]));
        result.push_back(pairs[i + 1]);
        i += 2;
    }
    return result;
}

TEST(GlintClear, WithoutBlockFillSendsThePixelAsItCame) {
    PrimitiveRig rig({.deviceId = DeviceTX});
    const Words expected = {W(12),      t::FBWriteData,   0xABCD1234, t::FBReadMode,
                            0x2E,       t::StartXDom,     10 << 16,   t::StartXSub,
                            26 << 16,   t::LogicalOpMode, 0x20,       t::FBWindowBase,
                            0x1234,     t::StartY,        20 << 16,   t::dY,
                            0x10000,    t::Count,         8,          t::Render,
                            kPixelFill, t::LogicalOpMode, 0};
    EXPECT_EQ(Fill(rig, kPixelFill, {10, 20, 26, 28}, 0x1234, 0xABCD1234), expected);
}

TEST(GlintClear, BlockFillSpreadsThePixelOverTheWordByTheDisplaysDepth) {
    const struct {
        uint32_t bits, word;
    } rows[] = {{8, 0x78787878}, {16, 0x56785678}, {32, 0x12345678}};
    for (const auto& row : rows) {
        PrimitiveRig rig({.deviceId = DeviceMX, .bits = row.bits});
        const Words expected = {W(12),      t::FBBlockColor,  row.word, t::FBReadMode,
                                0x2E,       t::StartXDom,     10 << 16, t::StartXSub,
                                26 << 16,   t::LogicalOpMode, 0x20,     t::FBWindowBase,
                                0x1234,     t::StartY,        20 << 16, t::dY,
                                0x10000,    t::Count,         8,        t::Render,
                                kBlockFill, t::LogicalOpMode, 0};
        EXPECT_EQ(Fill(rig, kBlockFill, {10, 20, 26, 28}, 0x1234, 0x12345678), expected)
            << row.bits;
    }
}

TEST(GlintClear, BlockFillOnSXMovesTheOffsetsLowFiveBitsIntoTheColumns) {
    PrimitiveRig rig({.deviceId = DeviceSX});
    const Words expected = {W(12),
                            t::FBBlockColor,
                            0x56785678,
                            t::FBReadMode,
                            0x2E,
                            t::StartXDom,
                            0x1E0000, // 10 + 0x14
                            t::StartXSub,
                            0x2E0000, // 26 + 0x14
                            t::LogicalOpMode,
                            0x20,
                            t::FBWindowBase,
                            0x1220,
                            t::StartY,
                            20 << 16,
                            t::dY,
                            0x10000,
                            t::Count,
                            8,
                            t::Render,
                            kBlockFill,
                            t::LogicalOpMode,
                            0};
    EXPECT_EQ(Fill(rig, kBlockFill, {10, 20, 26, 28}, 0x1234, 0x12345678), expected);
}

TEST(GlintClear, PixelFillOnSXKeepsOffsetAndColumns) {
    PrimitiveRig rig({.deviceId = DeviceSX});
    const Words words = Fill(rig, kPixelFill, {10, 20, 26, 28}, 0x1234, 7);
    EXPECT_EQ(WordOf(words, t::StartXDom), 10u << 16);
    EXPECT_EQ(WordOf(words, t::FBWindowBase), 0x1234u);
}

TEST(GlintClear, OnTXAndMXABlockFillKeepsOffsetAndColumns) {
    for (const uint32_t device : {DeviceTX, DeviceMX}) {
        PrimitiveRig rig({.deviceId = device});
        const Words words = Fill(rig, kBlockFill, {10, 20, 26, 28}, 0x1234, 7);
        EXPECT_EQ(WordOf(words, t::StartXDom), 10u << 16);
        EXPECT_EQ(WordOf(words, t::StartXSub), 26u << 16);
        EXPECT_EQ(WordOf(words, t::FBWindowBase), 0x1234u);
    }
}

TEST(GlintClear, LeavesTheRectangleAsItCame) {
    PrimitiveRig rig({.deviceId = DeviceSX});
    rig.driver->RenderSolid = kBlockFill;
    RECTL rect = {10, 20, 26, 28};
    FastGlintClear(rig.driver, &rect, 0x1234, 0);
    EXPECT_EQ(rect.left, 10);
    EXPECT_EQ(rect.right, 26);
}

TEST(GlintClear, BringsTheChipToTheDisplaysDepthFirst) {
    PrimitiveRig rig({.deviceId = DeviceTX, .bits = 16});
    rig.driver->FBDepth = 2;
    rig.driver->DepthTable[1] = {0x123, 0};
    const Words words = Fill(rig, kPixelFill, {0, 0, 1, 1}, 0, 0);
    // PixelSize holds 2 - depth.
    EXPECT_EQ(Words(words.begin(), words.begin() + 5),
              (Words{W(1), t::PixelSize, 1, W(12), t::FBWriteData}));
    EXPECT_EQ(WordOf(words, t::FBReadMode), 0x123u);
    EXPECT_EQ(rig.driver->FBDepth, 1u);
}

TEST(GlintClear, GoesBackToTheWindowsStartWhereTwoHundredBytesDoNotFit) {
    PrimitiveRig rig({.deviceId = DeviceTX});
    CommandStream& stream = rig.driver->Stream;
    const SubBuffer& window = stream.SubBuffers[0];
    stream.Guard.Allow(window.Last);
    stream.WritePointer = window.Last - 50; // an exact fit is no room
    Fill(rig, kPixelFill, {0, 0, 1, 1}, 0, 0);
    EXPECT_EQ(stream.WritePointer, window.Linear + 22);
    stream.Guard.Allow(window.Last);
    stream.WritePointer = window.Last - 51;
    Fill(rig, kPixelFill, {0, 0, 1, 1}, 0, 0);
    EXPECT_EQ(stream.WritePointer, window.Last - 51 + 22);
}

TEST(GlintSolidBlt, WritesTheRegistersOfAFillDirectly) {
    for (const uint32_t device : kGlintChips) {
        for (const uint32_t render : {kPixelFill, kBlockFill}) {
            PrimitiveRig rig({.deviceId = device});
            const Words byStream = Fill(rig, render, {10, 20, 26, 28}, 0x1234, 0x12345678);
            RECTL rect = {10, 20, 26, 28};
            vGlintSolidBlt(rig.driver, &rect, 0x1234, 0x12345678);
            EXPECT_EQ(rig.Take(), Mapped(byStream));
        }
    }
}

TEST(GlintSolidBlt, BringsTheChipToTheDisplaysDepthFirst) {
    PrimitiveRig rig({.deviceId = DeviceTX, .bits = 16});
    rig.driver->FBDepth = 2;
    rig.driver->RenderSolid = kPixelFill;
    RECTL rect = {10, 20, 26, 28};
    vGlintSolidBlt(rig.driver, &rect, 0, 0);
    const Words words = rig.Take();
    ASSERT_GE(words.size(), 5u);
    EXPECT_EQ(Words(words.begin(), words.begin() + 5),
              (Words{W(1), t::PixelSize, 1, W(12), M(t::FBWriteData)}));
}

TEST(GlintSolidBlt, TakesItsFillFromOffset8830AndItsBlockFillFrom8AC8) {
    PrimitiveRig rig({.deviceId = DeviceTX});
    RECTL rect = {10, 20, 26, 28};
    rig.driver->RenderSolid = kPixelFill;
    vGlintSolidBlt(rig.driver, &rect, 0, 0x4321);
    rig.driver->RenderSolid = kBlockFill;
    vGlintSolidBlt(rig.driver, &rect, 0, 0x4321);
    EXPECT_EQ(rig.bus->registers[t::Mapped(t::FBWriteData)], 0x4321u);
    EXPECT_EQ(rig.bus->registers[t::Mapped(t::FBBlockColor)], 0x43214321u);
}

// Copies.

Words Copy(PrimitiveRig& rig, RECTL dest, RECTL source, int32_t stride, uint32_t destOffset,
           int32_t relative, uint32_t logicOp = 3) {
    rig.bus->Clear();
    PackedTXCopyBlt(rig.driver, &dest, &source, stride, destOffset, relative, logicOp);
    return rig.Take();
}

TEST(GlintCopy, SendsSourceOffsetWindowAndRectangleForward) {
    PrimitiveRig rig({.deviceId = DeviceMX});
    rig.driver->RenderCopy = 0x40048;
    const Words expected = {W(11),
                            t::FBReadMode,
                            0x22E, // FBReadMode, reads the source
                            t::LogicalOpMode,
                            0,
                            t::FBSourceOffset,
                            20 * 640 + 20 + 0x5000,
                            t::FBWindowBase,
                            0x777,
                            t::StartXDom,
                            10 << 16,
                            t::StartXSub,
                            26 << 16,
                            t::StartY,
                            20 << 16,
                            t::dY,
                            0x10000,
                            t::Count,
                            8,
                            t::Render,
                            0x40048};
    EXPECT_EQ(Copy(rig, {10, 20, 26, 28}, {30, 40, 46, 48}, 640, 0x777, 0x5000), expected);
}

TEST(GlintCopy, RunsForwardWhateverTheSign) {
    PrimitiveRig rig({.deviceId = DeviceTX});
    const Words words = Copy(rig, {30, 40, 46, 48}, {30, 39, 46, 47}, 640, 0, 0);
    EXPECT_EQ(WordOf(words, t::FBSourceOffset), static_cast<uint32_t>(-640));
    EXPECT_EQ(WordOf(words, t::StartXDom), 30u << 16);
    EXPECT_EQ(WordOf(words, t::StartY), 40u << 16);
    EXPECT_EQ(WordOf(words, t::dY), 0x10000u);
}

TEST(GlintCopy, LooksAtNoLogicOp) {
    PrimitiveRig rig({.deviceId = DeviceTX});
    const Words copy = Copy(rig, {0, 0, 8, 8}, {8, 8, 16, 16}, 640, 0, 0, 3);
    for (uint32_t op = 0; op < 16; ++op) {
        EXPECT_EQ(Copy(rig, {0, 0, 8, 8}, {8, 8, 16, 16}, 640, 0, 0, op), copy);
    }
}

TEST(GlintCopy, ClipsAgainstTheSourcesTopAndLeft) {
    PrimitiveRig rig({.deviceId = DeviceTX});
    const Words words = Copy(rig, {10, 20, 26, 28}, {-3, -2, 13, 6}, 640, 0, 0);
    EXPECT_EQ(WordOf(words, t::StartXDom), 13u << 16);
    EXPECT_EQ(WordOf(words, t::StartXSub), 26u << 16);
    EXPECT_EQ(WordOf(words, t::StartY), 22u << 16);
    EXPECT_EQ(WordOf(words, t::Count), 6u);
    EXPECT_EQ(WordOf(words, t::FBSourceOffset), static_cast<uint32_t>(-22 * 640 - 13));
}

TEST(GlintCopy, GivesTheRectanglesBackAsTheyCame) {
    PrimitiveRig rig({.deviceId = DeviceTX});
    RECTL dest = {10, 20, 26, 28};
    RECTL source = {-3, -2, 13, 6};
    PackedTXCopyBlt(rig.driver, &dest, &source, 640, 0, 0, 3);
    EXPECT_EQ(source.left, -3);
    EXPECT_EQ(source.top, -2);
    EXPECT_EQ(dest.left, 10);
    EXPECT_EQ(dest.top, 20);
}

TEST(GlintCopy, OfASourceWhollyAboveOrLeftDoesNothing) {
    PrimitiveRig rig({.deviceId = DeviceTX});
    rig.driver->FBDepth = 2; // not even the depth is looked at
    EXPECT_EQ(Copy(rig, {0, 0, 8, 8}, {0, -8, 8, -1}, 640, 0, 0), Words{});
    EXPECT_EQ(Copy(rig, {0, 0, 8, 8}, {-8, 0, -1, 8}, 640, 0, 0), Words{});
    EXPECT_EQ(rig.driver->FBDepth, 2u);
    EXPECT_NE(Copy(rig, {0, 0, 8, 8}, {0, -8, 8, 0}, 640, 0, 0), Words{});
}

TEST(GlintCopy, BringsTheChipToTheDisplaysDepthAndReadsItsProducts) {
    PrimitiveRig rig({.deviceId = DeviceTX, .bits = 8});
    rig.driver->FBDepth = 1;
    rig.driver->DepthTable[0] = {0x1F, 0};
    const Words words = Copy(rig, {0, 0, 8, 8}, {8, 8, 16, 16}, 640, 0, 0);
    EXPECT_EQ(Words(words.begin(), words.begin() + 6),
              (Words{W(1), t::PixelSize, 2, W(11), t::FBReadMode, 0x21F}));
}

// By register writes, with raster operations.

Words CopyNative(PrimitiveRig& rig, uint32_t logicOp) {
    rig.bus->Clear();
    RECTL dest = {10, 20, 26, 28};
    RECTL source = {30, 19, 46, 27};
    vGlintCopyBltNative(rig.driver, &dest, &source, 640, 0x777, 0x50, logicOp);
    return rig.Take();
}

TEST(GlintCopyNative, WritesTheRegistersOfAPlainCopyDirectly) {
    PrimitiveRig rig({.deviceId = DeviceTX});
    const Words expected =
        Words{W(10)} + Pairs({{M(t::LogicalOpMode), 0},
                              {M(t::FBReadMode), 0x22E},
                              {M(t::FBSourceOffset), static_cast<uint32_t>(-640 + 20 + 0x50)},
                              {M(t::FBWindowBase), 0x777},
                              {M(t::StartXDom), 10 << 16},
                              {M(t::StartXSub), 26 << 16},
                              {M(t::StartY), 20 << 16},
                              {M(t::dY), 0x10000},
                              {M(t::Count), 8},
                              {M(t::Render), 0x40}});
    EXPECT_EQ(CopyNative(rig, 3), expected);
}

TEST(GlintCopyNative, TurnsOtherLogicOpsOnAndReadsTheDestinationWhereTheyNeedIt) {
    PrimitiveRig rig({.deviceId = DeviceTX});
    for (uint32_t op = 0; op < 16; ++op) {
        if (op == 3) {
            continue;
        }
        const bool reads = op != 0 && op != 12 && op != 15;
        const Words words = CopyNative(rig, op);
        EXPECT_EQ(WordOf(words, t::LogicalOpMode), op * 2 + 1) << op;
        EXPECT_EQ(WordOf(words, t::FBReadMode), reads ? 0x62Eu : 0x22Eu) << op;
    }
}

TEST(GlintCopyNative, ClipsNothingAndKeepsTheDepth) {
    PrimitiveRig rig({.deviceId = DeviceTX});
    rig.driver->FBDepth = 2;
    RECTL dest = {10, 20, 26, 28};
    RECTL source = {-16, -8, -1, -1};
    vGlintCopyBltNative(rig.driver, &dest, &source, 640, 0, 0, 3);
    const Words words = rig.Take();
    EXPECT_EQ(words[0], W(10));
    EXPECT_EQ(WordOf(words, t::StartXDom), 10u << 16);
    EXPECT_EQ(WordOf(words, t::FBSourceOffset), static_cast<uint32_t>(-28 * 640 - 26));
}

TEST(LogicopReadDestTable, SparesClearCopyTwelveAndFifteen) {
    for (uint32_t op = 0; op < 16; ++op) {
        EXPECT_EQ(LogicopReadDest[op], op == 0 || op == 3 || op == 12 || op == 15 ? 0u : 0x400u);
    }
}

// Pairs of 16-bit pixels.

Words Copy16(PrimitiveRig& rig, int32_t left, int32_t right, uint32_t logicOp = 3,
             int32_t relative = 0x50) {
    rig.bus->Clear();
    RECTL dest = {left, 20, right, 28};
    RECTL source = {left + 20, 19, right + 20, 27};
    vGlintCopyBlt16(rig.driver, &dest, &source, 640, 0x776, relative, logicOp);
    return rig.Take();
}

constexpr uint32_t kHalfDistance = static_cast<uint32_t>((-640 + 20 + 0x50) / 2);

// A rig at 32 bits already, so that no depth word comes first.
struct WordRig : PrimitiveRig {
    WordRig() : PrimitiveRig({.deviceId = DeviceTX, .bits = 16}) { driver->FBDepth = 2; }
};

Words Head16() {
    return {
        W(11),         M(t::LogicalOpMode), 0,     M(t::FBReadMode), 0x22E,    M(t::FBSourceOffset),
        kHalfDistance, M(t::FBWindowBase),  0x3BB, M(t::StartY),     20 << 16, M(t::dY),
        0x10000,       M(t::Count),         8};
}

Words Joined(Words head, const Words& rest) {
    head.insert(head.end(), rest.begin(), rest.end());
    return head;
}

TEST(GlintCopy16, DrawsWholeWordsInOne) {
    WordRig rig;
    EXPECT_EQ(Copy16(rig, 10, 26), Joined(Head16(), {M(t::StartXDom), 5 << 16, M(t::StartXSub),
                                                     13 << 16, M(t::Render), 0x40}));
}

TEST(GlintCopy16, MasksTheHalfWordsAtBothEdges) {
    WordRig rig;
    const Words left = {M(t::FBHardwareWriteMask),
                        0xFFFF0000,
                        M(t::StartXDom),
                        5 << 16,
                        M(t::StartXSub),
                        6 << 16,
                        M(t::Render),
                        0x40,
                        W(4),
                        M(t::FBHardwareWriteMask),
                        0xFFFFFFFF};
    const Words right = {W(5),     M(t::FBHardwareWriteMask), 0xFFFF,    M(t::StartXDom),
                         13 << 16, M(t::StartXSub),           14 << 16,  M(t::Render),
                         0x40,     M(t::FBHardwareWriteMask), 0xFFFFFFFF};
    const Words middle = {M(t::StartXDom), 6 << 16, M(t::StartXSub), 13 << 16, M(t::Render), 0x40};
    EXPECT_EQ(Copy16(rig, 11, 27), Joined(Joined(Joined(Head16(), left), middle), right));
    EXPECT_EQ(Copy16(rig, 11, 26), Joined(Joined(Head16(), left), middle));
    const Words fromEven = {M(t::StartXDom), 5 << 16,      M(t::StartXSub),
                            13 << 16,        M(t::Render), 0x40};
    EXPECT_EQ(Copy16(rig, 10, 27), Joined(Joined(Head16(), fromEven), right));
}

TEST(GlintCopy16, OfOneColumnDrawsOneHalfWordAlone) {
    WordRig rig;
    EXPECT_EQ(Copy16(rig, 11, 12),
              Joined(Head16(), {M(t::FBHardwareWriteMask), 0xFFFF0000, M(t::StartXDom), 5 << 16,
                                M(t::StartXSub), 6 << 16, M(t::Render), 0x40, W(4),
                                M(t::FBHardwareWriteMask), 0xFFFFFFFF}));
    EXPECT_EQ(Copy16(rig, 12, 13),
              Joined(Head16(), {W(5), M(t::FBHardwareWriteMask), 0xFFFF, M(t::StartXDom), 6 << 16,
                                M(t::StartXSub), 7 << 16, M(t::Render), 0x40,
                                M(t::FBHardwareWriteMask), 0xFFFFFFFF}));
}

TEST(GlintCopy16, BringsTheChipToThirtyTwoBitsOnlyWhenItIsNot) {
    PrimitiveRig rig({.deviceId = DeviceTX, .bits = 16});
    rig.driver->DepthTable[2] = {0x44, 0};
    const Words words = Copy16(rig, 10, 26);
    EXPECT_EQ(Words(words.begin(), words.begin() + 4), (Words{W(1), t::PixelSize, 0, W(11)}));
    EXPECT_EQ(WordOf(words, t::FBReadMode), 0x244u);
    EXPECT_EQ(rig.driver->FBDepth, 2u);
    EXPECT_FALSE(Has(Copy16(rig, 10, 26), t::PixelSize));
}

TEST(GlintCopy16, TakesLogicOpsAsThePlainCopyDoes) {
    WordRig rig;
    const Words words = Copy16(rig, 10, 26, 6);
    EXPECT_EQ(WordOf(words, t::LogicalOpMode), 13u);
    EXPECT_EQ(WordOf(words, t::FBReadMode), 0x62Eu);
}

TEST(GlintCopy16, WithOddDistanceFallsToThePlainCopy) {
    PrimitiveRig rig({.deviceId = DeviceTX, .bits = 16});
    const Words odd = Copy16(rig, 10, 26, 6, 0x51);
    RECTL dest = {10, 20, 26, 28};
    RECTL source = {30, 19, 46, 27};
    vGlintCopyBltNative(rig.driver, &dest, &source, 640, 0x776, 0x51, 6);
    EXPECT_EQ(odd, rig.Take());
    EXPECT_EQ(odd[0], W(10));
    EXPECT_EQ(WordOf(odd, t::FBWindowBase), 0x776u);
    EXPECT_EQ(rig.driver->FBDepth, 1u);
}

TEST(GlintCopy16, WithOddDistanceOnPermediaFallsToItsScreenCopy) {
    PrimitiveRig rig({.deviceId = DevicePermedia, .bits = 16});
    const Words odd = Copy16(rig, 10, 26, 3, 0x51);
    RECTL dest = {10, 20, 26, 28};
    RECTL source = {30, 19, 46, 27};
    vPermediaCopyBlt(rig.driver, &dest, &source, 640, 0x776, 0x51, 3);
    EXPECT_EQ(odd, rig.Take());
    EXPECT_TRUE(Has(odd, t::PackedDataLimits)); // PackedDataLimits, which no Glint copy sends
}

} // namespace
