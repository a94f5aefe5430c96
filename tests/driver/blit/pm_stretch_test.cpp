// Blits of the Permedia family that are drawn as textured rectangles.
#include "driver/blit/pmblitfx.h"
#include "driver/blit/pmdirecx.h"
#include "tests/driver/blit/primitive_rig.h"
#include "tests/support/tag_names.h"

namespace {

using namespace test;

constexpr uint32_t kDestOffset = 0x90000;
constexpr uint32_t kSourceOffset = 0x180000;
constexpr uint32_t kUpDown = 4;    // DDBLTFX_MIRRORUPDOWN
constexpr uint32_t kLeftRight = 2; // DDBLTFX_MIRRORLEFTRIGHT

struct PermediaStretchRig : PrimitiveRig {
    explicit PermediaStretchRig(uint32_t bits = 16)
        : PrimitiveRig({.deviceId = DevicePermedia2, .bits = bits}) {
        dest.priv.PPCode = 0x11B;
        source.priv.PPCode = 0x0A5;
        source.priv.Format = 1;
        data.lpDDDestSurface = &dest.local;
        data.lpDDSrcSurface = &source.local;
        data.bltFX.ddckSrcColorkey = {0x1234, 0xABCD};
    }
    ~PermediaStretchRig() override { DXGlobals.FilterStretch = 0; }

    // Both surfaces in one memory, with the source above the destination.
    void Overlap() {
        source.Global().fpVidMem = dest.Global().fpVidMem;
        to = {10, 100, 26, 108};
    }
    void Effects(uint32_t bits) {
        data.dwFlags = DDBLT_DDFX;
        data.bltFX.dwDDFX = bits;
    }

    Words Run(StretchFunction blit) {
        blit(driver, &data, &dest.priv, &source.priv, &to, &from, kDestOffset, kSourceOffset);
        return Take();
    }

    RigSurface& dest = MakeSurface(640, 480, DDSCAPS_OFFSCREENPLAIN, driver->PixelSize, 0x120000);
    RigSurface& source = MakeSurface(512, 256, DDSCAPS_OFFSCREENPLAIN, driver->PixelSize, 0x300000);
    RECTL to = {10, 20, 26, 28};
    RECTL from = {30, 40, 62, 56};
    DDHAL_BLTDATA data{};
};

// A start in S or T, with or without the step's sign turned.
struct Axis {
    uint32_t start;
    bool flipped;
};

void ExpectAxes(const Words& words, Axis s, Axis t, uint32_t stepS, uint32_t stepT) {
    EXPECT_EQ(WordOf(words, t::SStart), s.start << 20);
    EXPECT_EQ(WordOf(words, t::TStart), t.start << 20);
    EXPECT_EQ(WordOf(words, t::dSdx), s.flipped ? 0 - stepS : stepS);
    EXPECT_EQ(WordOf(words, t::dTdyDom), t.flipped ? 0 - stepT : stepT);
}

// The target, and the texture unit on the source.
Words UnitsOn(uint32_t dataFormat, uint32_t mapFormat) {
    return Pairs({{t::FBWindowBase, kDestOffset},
                  {t::FBReadMode, 0x11B},
                  {t::LogicalOpMode, 0},
                  {t::TextureBaseAddress, kSourceOffset},
                  {t::TextureAddressMode, 1},
                  {t::TextureColorMode, 7},
                  {t::TextureReadMode, 0x17601},
                  {t::TextureDataFormat, dataFormat},
                  {t::TextureMapFormat, mapFormat}});
}

// From (startS, startT) on, and the steps to the right; the step downwards follows by itself.
Words Texels(uint32_t startS, uint32_t startT, uint32_t step) {
    return Pairs(
        {{t::SStart, startS}, {t::TStart, startT}, {t::dSdx, step}, {t::dSdyDom, 0}, {t::dTdx, 0}});
}

// Eight rows.
Words Rectangle(uint32_t startX, uint32_t endX, uint32_t startY, uint32_t stepY) {
    return Pairs({{t::StartXDom, startX},
                  {t::StartXSub, endX},
                  {t::StartY, startY},
                  {t::dY, stepY},
                  {t::Count, 8},
                  {t::Render, 0x2040}});
}
const Words kForward = Rectangle(0xA0000, 0x1A0000, 0x140000, 0x10000);

// The bounds of the rig's key in RGB555.
const Words kKeyBounds =
    Pairs({{t::ChromaLowerBound, 0xA08820}, {t::ChromaUpperBound, 0xFF6FF757}});
const Words kUnitsOff =
    Pairs({{t::TextureAddressMode, 0}, {t::TextureColorMode, 0}, {t::TextureReadMode, 0}});

TEST(Stretch, DrawsTheSourceAsATexture) {
    PermediaStretchRig rig;
    EXPECT_EQ(rig.Run(PermediaStretchCopyBlt),
              (Words{W(15), t::DitherMode, 0x405} + UnitsOn(0x21, 0x800A5) +
               Texels(0x1E00000, 0x2800000, 0x200000) + Words{W(11), t::dTdyDom, 0x200000} +
               kForward + Words{t::DitherMode, 0} + kUnitsOff));
}

TEST(Stretch, OfIndicesLeavesTheDitherUnitOff) {
    PermediaStretchRig rig(8);
    rig.source.priv.Format = 14;
    EXPECT_EQ(rig.Run(PermediaStretchCopyBlt),
              (Words{W(15)} + UnitsOn(0x2E, 0xA5) + Texels(0x1E00000, 0x2800000, 0x200000) +
               Words{W(11), t::dTdyDom, 0x200000} + kForward + kUnitsOff));
}

TEST(Stretch, FormatWordsAreTheSources) {
    struct Row {
        uint32_t pixelSize, format, extension, dither, data, map;
    };
    for (const Row& row : {Row{PixelSize16, 0, 1, 0x10401, 0x60, 0x800A5},
                           {PixelSize16, 1, 0, 0x405, 0x21, 0x800A5},
                           {PixelSize32, 0, 0, 0x401, 0x20, 0x1000A5},
                           {PixelSize24, 4, 1, 0x10411, 0x64, 0x2000A5}}) {
        PermediaStretchRig rig;
        rig.source.priv.PixelSize = row.pixelSize;
        rig.source.priv.Format = row.format;
        rig.source.priv.FormatExtension = row.extension;
        rig.dest.priv.Format = 9; // not looked at
        for (StretchFunction blit :
             {PermediaStretchCopyBlt, PermediaSourceChromaBlt, PermediaStretchCopyChromaBlt}) {
            const Words words = rig.Run(blit);
            EXPECT_EQ(WordOf(words, t::DitherMode), row.dither);
            EXPECT_EQ(WordOf(words, t::TextureDataFormat), row.data);
            EXPECT_EQ(WordOf(words, t::TextureMapFormat), row.map);
        }
    }
}

TEST(Stretch, StepsAreUnsignedQuotientsIn12_20) {
    PermediaStretchRig rig;
    rig.from = {0, 0, 7, 3000};
    rig.to = {0, 0, 3, 1000};
    const Words words = rig.Run(PermediaStretchCopyBlt);
    EXPECT_EQ(WordOf(words, t::dSdx), 0x255555u);
    EXPECT_EQ(WordOf(words, t::dTdyDom), 0x300000u); // 3000 << 20 has the sign bit set
}

TEST(Stretch, DirectionAndMirror) {
    struct Row {
        const char* name;
        bool overlap;
        bool effects;
        uint32_t bits;
        Axis s, t;
        RECTL from; // afterwards
    };
    // Of a source of 512 by 256, from {30, 40, 62, 56}.
    const Row rows[] = {
        {"forward", false, false, kUpDown | kLeftRight, {30, false}, {40, false}, {30, 40, 62, 56}},
        {"forward, no mirror", false, true, 0, {30, false}, {40, false}, {30, 40, 62, 56}},
        {"forward, up-down", false, true, kUpDown, {30, false}, {215, true}, {30, 200, 62, 216}},
        {"forward, left-right",
         false,
         true,
         kLeftRight,
         {481, true},
         {40, false},
         {450, 40, 482, 56}},
        {"forward, both",
         false,
         true,
         kUpDown | kLeftRight,
         {481, true},
         {215, true},
         {450, 200, 482, 216}},
        {"backward", true, false, kUpDown | kLeftRight, {61, true}, {55, true}, {30, 40, 62, 56}},
        // The top comes from the width.
        {"backward, no mirror", true, true, 0, {481, true}, {215, true}, {450, 456, 482, 216}},
        {"backward, up-down", true, true, kUpDown, {481, true}, {40, false}, {450, 40, 482, 56}},
        {"backward, left-right",
         true,
         true,
         kLeftRight,
         {30, false},
         {215, true},
         {30, 456, 62, 216}},
        {"backward, both",
         true,
         true,
         kUpDown | kLeftRight,
         {30, false},
         {40, false},
         {30, 40, 62, 56}},
    };
    for (const Row& row : rows) {
        for (StretchFunction blit : {PermediaStretchCopyBlt, PermediaStretchCopyChromaBlt}) {
            SCOPED_TRACE(row.name);
            PermediaStretchRig rig;
            rig.Effects(row.bits);
            if (!row.effects) {
                rig.data.dwFlags = 0;
            }
            if (row.overlap) {
                rig.Overlap();
            }
            const Words words = rig.Run(blit);
            ExpectAxes(words, row.s, row.t, 0x200000, 0x200000);
            const uint32_t top = row.overlap ? 100 : 20;
            EXPECT_EQ(WordOf(words, t::StartXDom), row.overlap ? 26u << 16 : 10u << 16);
            EXPECT_EQ(WordOf(words, t::StartXSub), row.overlap ? 10u << 16 : 26u << 16);
            EXPECT_EQ(WordOf(words, t::StartY), (row.overlap ? top + 7 : top) << 16);
            EXPECT_EQ(WordOf(words, t::dY), row.overlap ? 0xFFFF0000 : 0x10000u);
            EXPECT_EQ(WordOf(words, t::Count), 8u);
            // What a mirror changed is not given back.
            EXPECT_EQ(rig.from.left, row.from.left);
            EXPECT_EQ(rig.from.top, row.from.top);
            EXPECT_EQ(rig.from.right, row.from.right);
            EXPECT_EQ(rig.from.bottom, row.from.bottom);
        }
    }
}

TEST(Stretch, RunsBackwardOnlyInOneMemoryFromAnEarlierSource) {
    struct Row {
        bool oneMemory;
        LONG left, top; // of the source; the destination starts at 10, 20
        bool backward;
    };
    for (const Row& row : {Row{true, 10, 19, true},
                           {true, 50, 19, true},
                           {true, 9, 20, true},
                           {true, 10, 20, false},
                           {true, 11, 20, false},
                           {true, 9, 21, false},
                           {false, 9, 19, false}}) {
        for (StretchFunction blit :
             {PermediaStretchCopyBlt, PermediaSourceChromaBlt, PermediaStretchCopyChromaBlt}) {
            PermediaStretchRig rig;
            if (row.oneMemory) {
                rig.source.Global().fpVidMem = rig.dest.Global().fpVidMem;
            }
            rig.from = {row.left, row.top, row.left + 16, row.top + 8};
            EXPECT_EQ(WordOf(rig.Run(blit), t::dY), row.backward ? 0xFFFF0000 : 0x10000u)
                << row.left << " " << row.top;
        }
    }
}

TEST(Stretch, OnlyTheTwoStretchesFilter) {
    PermediaStretchRig rig;
    DXGlobals.FilterStretch = 1;
    EXPECT_EQ(WordOf(rig.Run(PermediaStretchCopyBlt), t::TextureReadMode), 0x37601u);
    EXPECT_EQ(WordOf(rig.Run(PermediaStretchCopyChromaBlt), t::TextureReadMode), 0x37601u);
    EXPECT_EQ(WordOf(rig.Run(PermediaSourceChromaBlt), t::TextureReadMode), 0x17601u);
}

TEST(Stretch, AnotherDepthIsSetFirst) {
    for (StretchFunction blit :
         {PermediaStretchCopyBlt, PermediaSourceChromaBlt, PermediaStretchCopyChromaBlt}) {
        PermediaStretchRig rig;
        rig.driver->FBDepth = PixelSize32;
        const Words words = rig.Run(blit);
        EXPECT_EQ(Words(words.begin(), words.begin() + 3), (Words{W(1), t::FBReadPixel, 1}));
        EXPECT_EQ(rig.driver->FBDepth, 1u);
        EXPECT_FALSE(Has(rig.Run(blit), t::FBReadPixel));
    }
}

TEST(KeyedCopy, DrawsForwardWithTheKeysBounds) {
    PermediaStretchRig rig;
    rig.from = {30, 40, 46, 48};
    EXPECT_EQ(rig.Run(PermediaSourceChromaBlt),
              (Words{W(16), t::YUVMode, 4, t::DitherMode, 0x405} + UnitsOn(0x21, 0x800A5) +
               kKeyBounds + Words{W(16)} + Texels(0x1E00000, 0x2800000, 0x100000) +
               Words{t::dTdyDom, 0x100000} + kForward + Words{t::DitherMode, 0, t::YUVMode, 0} +
               kUnitsOff));
}

TEST(KeyedCopy, BackwardStartsBehindTheLastTexelInSAndOnItInT) {
    PermediaStretchRig rig(8);
    rig.Overlap();
    rig.source.priv.Format = 14;
    rig.from = {30, 40, 46, 48};
    EXPECT_EQ(
        rig.Run(PermediaSourceChromaBlt),
        (Words{W(16), t::YUVMode, 4} + UnitsOn(0x2E, 0xA5) +
         Words{t::ChromaLowerBound, 0x343434, t::ChromaUpperBound, 0xFFCDCDCD} + Words{W(16)} +
         Texels(46u << 20, 47u << 20, 0xFFF00000) + Words{t::dTdyDom, 0xFFF00000} +
         Rectangle(0x1A0000, 0xA0000, 107u << 16, 0xFFFF0000) + Words{t::YUVMode, 0} + kUnitsOff));
}

TEST(KeyedStretch, IsTheStretchWithTheKeyAroundIt) {
    PermediaStretchRig rig;
    EXPECT_EQ(rig.Run(PermediaStretchCopyChromaBlt),
              (Words{W(15), t::YUVMode, 4, t::DitherMode, 0x405} + UnitsOn(0x21, 0x800A5) +
               Texels(0x1E00000, 0x2800000, 0x200000) + Words{W(11), t::dTdyDom, 0x200000} +
               kKeyBounds + kForward + Words{t::DitherMode, 0} + kUnitsOff + Words{t::YUVMode, 0}));
}

TEST(ColourKey, BecomesBoundsByTheSourcesFormat) {
    struct Row {
        uint32_t format, extension, low, high, lowBound, highBound;
    };
    for (const Row& row : {
             Row{0, 1, 0x1234, 0xABCD, 0xA04010, 0xFF6F7FAF},
             {0, 1, 0xFFFF0020, 0xFFFF0020, 0, 0xFF070707}, // the last bit of green is dropped
             {0, 0, 0x12345678, 0x9ABCDEF0, 0x12785634, 0xFFF0DEBC},
             {0, 2, 0x12345678, 0x9ABCDEF0, 0x12785634, 0xFFF0DEBC},
             {1, 0, 0x1234, 0xABCD, 0xA08820, 0xFF6FF757},
             {1, 1, 0xFFFF9234, 0xFFFF2BCD, 0xA08820, 0xFF6FF757},
             {4, 0, 0x12345678, 0x9ABCDEF0, 0x12785634, 0xFFF0DEBC},
             {5, 0, 0xFFFFFFB6, 0x6D, 0x80A0A0, 0xFF406060},
             {9, 0, 0xFFFFFFB6, 0x6D, 0x80A040, 0xFF4060C0},
             {14, 0, 0x1234, 0xABCD, 0x343434, 0xFFCDCDCD},
             {15, 0, 0x1234, 0xABCD, 0x343434, 0xFFCDCDCD},
             {2, 0, 0x12345678, 0x9ABCDEF0, 0x12345678, 0x9ABCDEF0},
             {3, 1, 0x12345678, 0x9ABCDEF0, 0x12345678, 0x9ABCDEF0},
             {13, 0, 0x12345678, 0x9ABCDEF0, 0x12345678, 0x9ABCDEF0},
         }) {
        for (StretchFunction blit : {PermediaSourceChromaBlt, PermediaStretchCopyChromaBlt}) {
            PermediaStretchRig rig;
            rig.source.priv.Format = row.format;
            rig.source.priv.FormatExtension = row.extension;
            rig.data.bltFX.ddckSrcColorkey = {row.low, row.high};
            const Words words = rig.Run(blit);
            EXPECT_EQ(WordOf(words, t::ChromaLowerBound), row.lowBound)
                << row.format << " " << row.extension;
            EXPECT_EQ(WordOf(words, t::ChromaUpperBound), row.highBound)
                << row.format << " " << row.extension;
        }
    }
}

TEST(ColourKey, OfOneValueIn555MatchesExactlyOneTriple) {
    PermediaStretchRig rig;
    for (uint32_t key : {0u, 0x1234u, 0x5A5Au, 0x7FFFu}) {
        rig.data.bltFX.ddckSrcColorkey = {key, key};
        const Words words = rig.Run(PermediaSourceChromaBlt);
        const uint32_t low = WordOf(words, t::ChromaLowerBound);
        const uint32_t high = WordOf(words, t::ChromaUpperBound);
        uint32_t matches = 0;
        for (uint32_t pixel = 0; pixel != 0x8000; ++pixel) {
            const uint32_t fields[] = {pixel / 1024, pixel / 32 % 32, pixel % 32};
            for (uint32_t below : {0u, 7u}) { // however short fields are filled up
                bool inside = true;
                for (int i = 0; i != 3; ++i) {
                    const uint32_t value = fields[i] * 8 + below;
                    inside =
                        inside && value >= (low >> 8 * i & 0xFF) && value <= (high >> 8 * i & 0xFF);
                }
                EXPECT_EQ(inside, pixel == key);
                matches += inside;
            }
        }
        EXPECT_EQ(matches, 2u);
    }
}

} // namespace
