// The deliberately wrong boards: each is wrong as its row says, and in nothing beside it.
#include "board/breaks.h"
#include "tests/board/texture_rig.h"

#include <gtest/gtest.h>

#include <array>

namespace {

using board::Break;
using rig::kReadDest;

// 64 pixels of 32 bits a row.
class Wrong : public rig::TextureRig {
  public:
    explicit Wrong(Break what, board::Chip chip = board::Chip::Permedia2) : TextureRig(chip) {
        board.SetBreak(what);
    }
    void Dot(uint32_t renderBits = 0) { Rectangle(0, 0, 1, 1, renderBits); }
    void Pattern(uint32_t row) {
        Send(tag::AreaStippleMode, 1);
        for (uint32_t i = 0; i < 8; ++i) {
            Send(tag::AreaStipplePattern0 + i, row);
        }
    }
    std::array<uint32_t, 4> FirstPixels() {
        return {Pixel(0, 0), Pixel(1, 0), Pixel(2, 0), Pixel(3, 0)};
    }
};

using Pixels = std::array<uint32_t, 4>;

TEST(WrongBoards, StippleMirroredHasBitZeroInTheLastColumn) {
    Wrong r(Break::StippleMirrored);
    r.Pattern(0x0D); // columns 0, 2 and 3
    r.Rectangle(0, 0, 8, 1, rig::kAreaStipple);
    for (int x = 0; x < 8; ++x) {
        EXPECT_EQ(r.Pixel(x, 0), x == 7 || x == 5 || x == 4 ? 0xFFFFFFFFu : 0u) << x;
    }
}

TEST(WrongBoards, LineBiasLeavesTheHalfPixelOut) {
    Wrong r(Break::LineBias);
    r.Send({{tag::ColorDDAMode, 1},
            {tag::ConstantColor, 9},
            {tag::RasterizerMode, 0x20},
            {tag::StartXDom, rig::Fixed(10.75)},
            {tag::dXDom, 0x10000},
            {tag::StartY, rig::Fixed(5.75)},
            {tag::dY, 0},
            {tag::Count, 3},
            {tag::Render, 0}});
    for (int y = 4; y < 9; ++y) {
        for (int x = 8; x < 16; ++x) {
            EXPECT_EQ(r.Pixel(x, y), y == 5 && x >= 10 && x < 13 ? 9u : 0u) << x << ' ' << y;
        }
    }
}

TEST(WrongBoards, SubPixelIgnoredStartsValuesAtTheFirstPixel) {
    Wrong r(Break::SubPixelIgnored);
    r.Send({{tag::ColorDDAMode, 3}, {tag::RStart, 0}, {tag::dRdx, 16u << 15}});
    r.Send({{tag::StartXDom, rig::Fixed(-0.25)},
            {tag::StartXSub, 4u << 16},
            {tag::dY, 0x10000},
            {tag::Count, 1},
            {tag::Render, rig::kTrapezoid | rig::kSubPixel}});
    EXPECT_EQ(r.FirstPixels(), (Pixels{0, 16, 32, 48})); // 12 more on a right board
}

TEST(WrongBoards, ColourCutRoundsNothing) {
    Wrong r(Break::ColourCut);
    r.Send({{tag::ColorDDAMode, 3}, {tag::RStart, 5u << 15}, {tag::dRdx, 3u << 13}});
    r.Rectangle(0, 0, 4, 1);
    EXPECT_EQ(r.FirstPixels(), (Pixels{5, 5, 6, 7})); // of 5, 5.75, 6.5, 7.25
}

TEST(WrongBoards, DepthFractionDropsFractionsOfStartAndStep) {
    constexpr uint32_t kDepths = 100000; // elements of 16 bits
    Wrong r(Break::DepthFraction);
    r.Send({{tag::LBWindowBase, kDepths},
            {tag::LBReadMode, rig::kPitch64 | kReadDest},
            {tag::LBWriteMode, 1},
            {tag::DepthMode, 3 | 7 << 4},
            {tag::ZStartU, 10},
            {tag::ZStartL, 0xC0000000},
            {tag::dZdxU, 1},
            {tag::dZdxL, 0x80000000}});
    r.Rectangle(0, 0, 4, 1);
    for (uint32_t x = 0; x < 4; ++x) {
        EXPECT_EQ(r.Element<uint16_t>(kDepths + x), 10 + x);
    }
}

TEST(WrongBoards, FogInvertedFogsByTheRestOfTheFactor) {
    Wrong r(Break::FogInverted);
    r.Send({{tag::Color, 0x80000000},
            {tag::FogColor, 0x00204080},
            {tag::FogMode, 1},
            {tag::FStart, 0x400000},
            {tag::dFdx, 0xFFE00000}}); // half a pixel
    r.Rectangle(0, 0, 3, 1, rig::kFog);
    EXPECT_EQ(r.FirstPixels(), (Pixels{0x80204080, 0x80102040, 0x80000000, 0}));
}

TEST(WrongBoards, FogAfterBlendFogsWhatIsUnderAFragmentToo) {
    Wrong r(Break::FogAfterBlend);
    r.SetPixel(0, 0, 0x00101010);
    r.Send({{tag::Color, 0x00000000},
            {tag::FogColor, 0x00204080},
            {tag::FogMode, 1},
            {tag::FStart, 0}, // nothing but fog
            {tag::FBReadMode, rig::kPitch64 | kReadDest},
            {tag::AlphaBlendMode, 1 | 1 << 1 | 1 << 5}});
    r.Dot(rig::kFog);
    EXPECT_EQ(r.Pixel(0, 0), 0x00204080u); // 00305090 on a right board
}

TEST(WrongBoards, AlphaCompareTakesEqualityForTheOtherOne) {
    // Less, LessEqual, Greater, GreaterEqual: of an alpha that is the reference.
    const std::pair<uint32_t, bool> cases[] = {{1, true}, {3, false}, {4, true}, {6, false},
                                               {2, true}, {5, false}, {7, true}};
    for (const auto& [compare, passes] : cases) {
        Wrong r(Break::AlphaCompare);
        r.Send({{tag::Color, 0x64000001}, {tag::AlphaTestMode, 1 | compare << 1 | 0x64u << 4}});
        r.Dot();
        EXPECT_EQ(r.Pixel(0, 0), passes ? 0x64000001u : 0u) << compare;
    }
}

TEST(WrongBoards, BlendSaturateIsTheSourcesAlphaAndOtherFactorsStay) {
    for (const auto& [factor, red] : {std::pair{8u, 0x80u}, {1u, 0xFFu}}) {
        Wrong r(Break::BlendSaturate);
        r.SetPixel(0, 0, 0xC0000000);
        r.Send({{tag::Color, 0x800000FF},
                {tag::FBReadMode, rig::kPitch64 | kReadDest},
                {tag::AlphaBlendMode, 1 | factor << 1}});
        r.Dot();
        EXPECT_EQ(r.Pixel(0, 0) & 0xFF, red) << factor;
    }
}

TEST(WrongBoards, BlendFactorTakesTheAlphaThatIsThere) {
    for (const auto& [factor, red] : {std::pair{5u, 0xFF - 0x40u}, {4u, 0x80u}}) {
        Wrong r(Break::BlendFactor);
        r.SetPixel(0, 0, 0x400000FF);
        r.Send({{tag::Color, 0x80000000},
                {tag::FBReadMode, rig::kPitch64 | kReadDest},
                {tag::AlphaBlendMode, 1 | factor << 5}});
        r.Dot();
        EXPECT_EQ(r.Pixel(0, 0) & 0xFF, red) << factor;
    }
}

TEST(WrongBoards, LogicReversedExchangesTheOperands) {
    constexpr uint32_t s = 0xCCF00F0F, d = 0xAA3355FF;
    const std::pair<uint32_t, uint32_t> cases[] = {{0x2, ~s & d}, {0x4, s & ~d}, {0xB, ~s | d},
                                                   {0xD, s | ~d}, {0x6, s ^ d},  {0x3, s}};
    for (const auto& [code, result] : cases) {
        Wrong r(Break::LogicReversed);
        r.SetPixel(0, 0, d);
        r.Send({{tag::Color, s},
                {tag::FBReadMode, rig::kPitch64 | kReadDest},
                {tag::LogicalOpMode, 1 | code << 1}});
        r.Dot();
        EXPECT_EQ(r.Pixel(0, 0), result) << code;
    }
}

// A pixel of 5:6:5, blue in the high bits, of a colour that dithering would change.
uint32_t LowRedPixel(Break what) {
    constexpr uint32_t kRedLow565 = (1 << 14 | 0) << 2;
    Wrong r(what);
    r.Send({{tag::FBReadPixel, rig::k16Bits},
            {tag::DitherMode, kRedLow565 | 3},
            {tag::FBHardwareWriteMask, 0xFF3FFF3F},
            {tag::Color, rig::Rgba(0x55, 0x55, 0x55 - 8, 0xFF)}});
    r.Rectangle(0, 0, 4, 4);
    uint32_t differing = 0;
    for (uint32_t i = 0; i < 16; ++i) {
        differing += r.Element<uint16_t>(i / 4 * 64 + i % 4) != r.Element<uint16_t>(0);
    }
    return r.Element<uint16_t>(0) | (differing != 0 ? 0x10000u : 0u);
}

TEST(WrongBoards, OrderDitherAndMaskAreWrongOneAtATime) {
    // 0x55 is 10.4 of 31 and 21.0 of 63, 0x4D is 9.4 of 31; bits 6 and 7 are masked.
    const uint32_t right = LowRedPixel(Break::None);
    EXPECT_EQ(right & 0x10000, 0x10000u);
    EXPECT_EQ(right & 0xC0, 0u);
    const uint32_t flat = LowRedPixel(Break::DitherOff);
    EXPECT_EQ(flat, (9u << 11 | 21 << 5 | 10) & ~0xC0u);
    const uint32_t turned = LowRedPixel(Break::PixelOrder);
    EXPECT_EQ(turned & 0xC0, 0u);
    EXPECT_GE(turned >> 11 & 31, 10u);
    EXPECT_LE(turned & 31, 10u);
    const uint32_t unmasked = LowRedPixel(Break::HardwareMask);
    EXPECT_NE(unmasked & 0xC0, 0u);
    EXPECT_EQ(unmasked & ~0xC0u, right);
}

TEST(WrongBoards, HardwareMaskIsIgnoredInFragmentsAndFills) {
    Wrong r(Break::HardwareMask);
    r.Send({{tag::FBHardwareWriteMask, 0x00FF00FF},
            {tag::FBSoftwareWriteMask, 0x0F0F0F0F},
            {tag::FBBlockColor, 0xFFFFFFFF},
            {tag::FBReadMode, rig::kPitch64 | kReadDest}});
    r.Dot();
    EXPECT_EQ(r.Pixel(0, 0), 0x0F0F0F0Fu);
    r.Rectangle(2, 0, 3, 1, rig::kFastFill);
    EXPECT_EQ(r.Pixel(2, 0), 0xFFFFFFFFu);
}

TEST(WrongBoards, SoftwareMaskLeavesTheHardwareMask) {
    Wrong r(Break::SoftwareMask);
    r.Send({{tag::FBHardwareWriteMask, 0x00FF00FF}, {tag::FBSoftwareWriteMask, 0x0F0F0F0F}});
    r.Dot();
    EXPECT_EQ(r.Pixel(0, 0), 0x00FF00FFu);
}

TEST(WrongBoards, BlockLaneTurnsTheColourByAByte) {
    Wrong r(Break::BlockLane);
    r.Send(tag::FBBlockColor, 0x44332211);
    r.Dot(rig::kFastFill);
    EXPECT_EQ(r.Pixel(0, 0), 0x33221144u);
}

TEST(WrongBoards, BlockStipplePassesFillsAndNothingElse) {
    Wrong r(Break::BlockStipple);
    r.Pattern(0);
    r.Send(tag::FBBlockColor, 0x44332211);
    r.Dot(rig::kFastFill | rig::kAreaStipple);
    EXPECT_EQ(r.Pixel(0, 0), 0x44332211u);
    r.Rectangle(2, 0, 3, 1, rig::kAreaStipple);
    EXPECT_EQ(r.Pixel(2, 0), 0u);
}

// Writes of the local buffer past the depth test, with the words that a driver sends for them.
class WrongLocal : public Wrong {
  public:
    explicit WrongLocal(Break what) : Wrong(what, board::Chip::TX) {
        Send({{tag::LBWriteFormat, 2},
              {tag::DepthMode, 0x79},
              {tag::FBWriteMode, 0},
              {tag::FBReadMode, 0},
              {tag::LBWriteMode, 1}});
    }
    uint32_t& Local(size_t index) {
        return reinterpret_cast<uint32_t*>(board.LocalBuffer().data())[index];
    }
    void Fill() {
        Send({{tag::Window, 0x18}, {tag::LBReadMode, rig::kPitch64}, {tag::Depth, 0x12345678}});
        Rectangle(1, 0, 2, 1);
    }
    void Copy() {
        Local(101) = 7;
        Local(102) = 8;
        Send({{tag::Window, 0x08},
              {tag::LBReadMode, rig::kPitch64 | rig::kReadSource},
              {tag::LBSourceOffset, 100}});
        Rectangle(1, 0, 2, 1);
    }
};

TEST(WrongBoards, LocalFillExchangesHalvesAndLocalCopyReadsAside) {
    WrongLocal fills(Break::LocalFill);
    fills.Fill();
    EXPECT_EQ(fills.Local(1), 0x56781234u);
    fills.Copy();
    EXPECT_EQ(fills.Local(1), 7u);
    WrongLocal copies(Break::LocalCopy);
    copies.Fill();
    EXPECT_EQ(copies.Local(1), 0x12345678u);
    copies.Copy();
    EXPECT_EQ(copies.Local(1), 8u);
}

// A map of 32 by 1 texels, texel n red n, green 2n and half transparent.
class WrongMap : public Wrong {
  public:
    explicit WrongMap(Break what, uint32_t wrap = rig::kWrapRepeat) : Wrong(what) {
        Bind32(5, 0, wrap, false);
        std::vector<uint32_t> texels;
        for (uint32_t n = 0; n < 32; ++n) {
            texels.push_back(Texel(n));
        }
        SetTexels(texels);
    }
    static uint32_t Texel(uint32_t n) { return rig::Rgba(n, 2 * n, 0, 0x80); }
    void Draw() { DrawMap(40, 1); } // eight texels further than the map reaches
};

TEST(WrongBoards, TexelAlphaIsOpaque) {
    WrongMap r(Break::TexelAlpha);
    r.Draw();
    EXPECT_EQ(r.Pixel(3, 0), rig::Rgba(3, 6, 0, 0xFF));
    EXPECT_EQ(r.Pixel(35, 0), rig::Rgba(3, 6, 0, 0xFF));
}

TEST(WrongBoards, TexelOrderPutsRedHighAndStillRepeats) {
    WrongMap r(Break::TexelOrder);
    r.Draw();
    EXPECT_EQ(r.Pixel(3, 0), rig::Rgba(0, 6, 3, 0x80));
    EXPECT_EQ(r.Pixel(35, 0), rig::Rgba(0, 6, 3, 0x80));
}

TEST(WrongBoards, WrapClampsHoldsMapsThatRepeatAlone) {
    WrongMap repeats(Break::WrapClamps);
    repeats.Draw();
    EXPECT_EQ(repeats.Pixel(35, 0), WrongMap::Texel(31));
    WrongMap mirrors(Break::WrapClamps, rig::kWrapMirror);
    mirrors.Draw();
    EXPECT_EQ(mirrors.Pixel(35, 0), WrongMap::Texel(28));
}

TEST(WrongBoards, MirrorRepeatsRepeats) {
    WrongMap r(Break::MirrorRepeats, rig::kWrapMirror);
    r.Draw();
    EXPECT_EQ(r.Pixel(35, 0), WrongMap::Texel(3));
}

// In a patch the place of (1, 0) is 2, and of (2, 0) it is 8.
TEST(WrongBoards, PerspectiveAndPatchesAreWrongOneAtATime) {
    const auto pixel = [](Break what) {
        WrongMap r(what);
        r.Send({{tag::TextureAddressMode, 3},
                {tag::TextureMapFormat, rig::kTexel32 << 19 | 1 | 1 << 17}});
        r.Coordinates(0, 1, 0, 1);
        r.Send(tag::QStart, 1u << 29); // a half: texels count double
        r.Rectangle(0, 0, 4, 1, rig::kTexture);
        return r.Pixel(1, 0);
    };
    EXPECT_EQ(pixel(Break::None), WrongMap::Texel(8));
    EXPECT_EQ(pixel(Break::PerspectiveOff), WrongMap::Texel(2));
    EXPECT_EQ(pixel(Break::PatchesOff), WrongMap::Texel(2));
}

// Two levels of one colour each; a pixel spans many texels, and the primitive's blue is added to by
// nothing but a product.
TEST(WrongBoards, LevelsOffHasTheFirstLevelAndDecalsStayDecals) {
    const auto pixel = [](Break what) {
        Wrong r(what, board::Chip::MX);
        r.Bind32(1, 1, rig::kWrapRepeat, false, rig::kDecal);
        r.SetTexels(
            std::vector<uint32_t>{0xFF000010, 0xFF000010, 0xFF000010, 0xFF000010, 0xFF000020});
        r.Send({{tag::TextureBaseAddr0 + 1, (rig::kMapPlace + 16) * 8},
                {tag::GlintTextureReadMode,
                 1 | 1 << 1 | 1 << 5 | 5 << 9 | 2 << 15 | 1 << 18 | 1 << 20 | 1 << 23},
                {tag::TextureAddressMode, 3 | 3u << 7},
                {tag::Color, 0}});
        r.Coordinates(0, 4, 0, 4);
        r.Rectangle(0, 0, 4, 4, rig::kTexture);
        return r.Pixel(1, 1) & 0xFF;
    };
    EXPECT_EQ(pixel(Break::None), 0x20u);
    EXPECT_EQ(pixel(Break::LevelsOff), 0x10u);
    EXPECT_EQ(pixel(Break::DecalModulates), 0u);
}

// Whether a pixel at the region's lower right corner, which is outside, is picked.
TEST(WrongBoards, PickInclusiveAloneHasTheCornerInside) {
    for (const auto& [what, picked] :
         {std::pair{Break::PickInclusive, 1u}, {Break::DitherOff, 0u}}) {
        Wrong r(what);
        r.Send({{tag::MinRegion, 0},
                {tag::MaxRegion, 5u << 16 | 5},
                {tag::FilterMode, 0x3C00},
                {tag::StatisticMode, 5},
                {tag::ResetPickResult, 0}});
        r.Rectangle(5, 5, 6, 6);
        r.Send(tag::PickResult, 0);
        while (r.board.Read(reg::OutFIFOWord) != tag::PickResult) {
            ASSERT_NE(r.board.Read(reg::OutFIFOWords), 0u);
        }
        EXPECT_EQ(r.board.Read(reg::OutFIFOSecondWord) & 1, picked);
    }
}

TEST(WrongBoards, StretchOriginLeavesPlainCopiesAlone) {
    Wrong r(Break::StretchOrigin);
    r.SetPixel(10, 0, 7);
    r.SetPixel(11, 0, 8);
    r.Send({{tag::FBReadMode, rig::kPitch64 | rig::kReadSource}, {tag::FBSourceOffset, 10}});
    r.Dot();
    EXPECT_EQ(r.Pixel(0, 0), 7u);
}

} // namespace
