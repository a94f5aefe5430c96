// Keyed and stretched copies of MX: every word and wait.
#include "driver/blit/txblitfx.h"
#include "tests/driver/blit/primitive_rig.h"
#include "tests/support/tag_names.h"

#include <cmath>
#include <random>

using namespace test;

namespace {

// Surfaces of 64 by 50 and of 640 by 480 pixels, and a request between them.
class GlintStretchRig : public PrimitiveRig {
  public:
    explicit GlintStretchRig(uint32_t bits = 16)
        : PrimitiveRig({.deviceId = DeviceMX, .bits = bits}) {
        source = &MakeSurface(64, 50, DDSCAPS_OFFSCREENPLAIN, driver->PixelSize, 0x200000);
        dest = &MakeSurface(640, 480, DDSCAPS_OFFSCREENPLAIN, driver->PixelSize, 0x100000);
        source->priv.Format = 1;
        data.lpDDSrcSurface = &source->local;
        data.lpDDDestSurface = &dest->local;
        data.dwFlags = DDBLT_ROP;
    }

    void Mirror(uint32_t effects) {
        data.dwFlags |= DDBLT_DDFX;
        data.bltFX.dwDDFX = effects;
    }
    // Makes source and destination one memory.
    void OneMemory() { dest->Global().fpVidMem = source->Global().fpVidMem; }

    Words Stretch(RECTL to, RECTL from) {
        bus->Clear();
        MXStretchCopyBlt(driver, &data, &dest->priv, &source->priv, &to, &from, 0x777, 0x999);
        return Take();
    }
    Words KeyedStretch(RECTL to, RECTL from, int32_t relative = -0x50) {
        bus->Clear();
        MXStretchCopyChromaBlt(driver, &data, 12345, &dest->priv, &source->priv, &to, &from, 0x777,
                               relative);
        return Take();
    }
    Words Keyed(RECTL to, RECTL from, int32_t stride = 640, int32_t relative = 0) {
        bus->Clear();
        MXSourceChromaBlt(driver, &data, stride, &dest->priv, &source->priv, &to, &from, 0x777,
                          relative);
        return Take();
    }

    RigSurface *source, *dest;
    DDHAL_BLTDATA data{};
};

// Half a texel a pixel, both ways.
constexpr RECTL kFrom = {10, 20, 26, 28};
constexpr RECTL kTo = {30, 40, 61, 55};
constexpr uint32_t kHalf = 0x100000;

TEST(MXStretch, SendsUnitsTextureCoordinatesAndRectangle) {
    GlintStretchRig rig;
    const Words expected = {W(16),      t::FBReadMode,
                            0x2000022E, t::LogicalOpMode,
                            0,          t::FBSourceOffset,
                            0x999,      t::FBWindowBase,
                            0x777,      t::TextureFormat,
                            0,          t::GlintTextureReadMode,
                            0x4400977,  t::TextureAddressMode,
                            1,          t::TextureColorMode,
                            0,          t::SStart,
                            10 << 21,   t::TStart,
                            20 << 21,   t::dSdx,
                            kHalf,      t::dSdyDom,
                            0,          t::dTdx,
                            0,          t::dTdyDom,
                            kHalf,      t::StartXDom,
                            30 << 16,   t::StartXSub,
                            61 << 16,   t::StartY,
                            40 << 16,   t::dY,
                            0x10000,    t::Count,
                            15,         t::Render,
                            0x2040,     t::TextureAddressMode,
                            0,          t::GlintTextureReadMode,
                            0};
    EXPECT_EQ(rig.Stretch(kTo, kFrom), expected);
}

TEST(MXStretch, TellsTheTexelsBitsByTheDisplaysDepth) {
    const struct {
        uint32_t bits, word;
    } rows[] = {{8, 0x4400777}, {16, 0x4400977}, {32, 0x4400B77}};
    for (const auto& row : rows) {
        GlintStretchRig rig(row.bits);
        EXPECT_EQ(WordOf(rig.Stretch(kTo, kFrom), t::GlintTextureReadMode), row.word) << row.bits;
    }
}

TEST(MXStretch, BringsTheChipToTheDisplaysDepthFirst) {
    GlintStretchRig rig;
    rig.driver->FBDepth = 2;
    rig.driver->DepthTable[1] = {0x123, 0};
    const Words words = rig.Stretch(kTo, kFrom);
    EXPECT_EQ(Words(words.begin(), words.begin() + 6),
              (Words{W(1), t::PixelSize, 1, W(16), t::FBReadMode, 0x20000323}));
}

TEST(MXStretch, ItsStepsDivideByOneMoreThanTheDestinationsSizeAndRoundToEven) {
    GlintStretchRig rig;
    const struct {
        int32_t from, to;
        uint32_t step;
    } rows[] = {
        {17, 16, 0x200000}, // exactly one
        {10, 2, 6990506},   // 6990506.5
        {11, 2, 7689558},   // 7689557.5
        {5, 2, 3495253},    // 3495253.25
        {2, 2, 1398101},    // 1398101.375
        {1, 639, 3277},     // 3276.8
    };
    for (const auto& row : rows) {
        const Words words = rig.Stretch({0, 0, row.to, 8}, {0, 0, row.from, 9});
        EXPECT_EQ(WordOf(words, t::dSdx), row.step) << row.from << " to " << row.to;
        EXPECT_EQ(WordOf(words, t::dTdyDom), 0x200000u);
    }
    for (const auto& row : rows) {
        EXPECT_EQ(WordOf(rig.Stretch({0, 0, 8, row.to}, {0, 0, 9, row.from}), t::dTdyDom),
                  row.step);
    }
}

TEST(MXStretch, StepsOfRandomSizesAreThoseOfTheSingleQuotientEitherWayRound) {
    GlintStretchRig rig;
    std::mt19937 random(34);
    for (int round = 0; round < 3000; ++round) {
        const auto from = static_cast<int32_t>(1 + random() % 1600);
        const auto to = static_cast<int32_t>(2 + random() % 1600);
        const auto quotient = static_cast<float>(static_cast<double>(from) / (to + 1));
        const double exact = std::nearbyint(static_cast<double>(quotient) * 2097152.0);
        rig.data.dwFlags = DDBLT_ROP;
        EXPECT_EQ(WordOf(rig.Stretch({0, 0, to, 8}, {0, 0, from, 9}), t::dSdx),
                  static_cast<uint32_t>(static_cast<int64_t>(exact)));
        rig.Mirror(DDBLTFX_MIRRORLEFTRIGHT);
        EXPECT_EQ(WordOf(rig.Stretch({0, 0, to, 8}, {0, 0, from, 9}), t::dSdx),
                  static_cast<uint32_t>(static_cast<int64_t>(-exact)));
    }
}

TEST(MXStretch, DirectionAndMirrorChooseStartsAndSigns) {
    constexpr uint32_t kBack = 0 - kHalf;
    constexpr uint32_t kNone = 0x80000000; // no effects word at all
    const struct {
        bool backward;
        uint32_t effects;
        uint32_t s, t, stepX, stepY;
    } rows[] = {
        {false, kNone, 10, 20, kHalf, kHalf},
        {false, 0, 10, 20, kHalf, kHalf},
        {false, DDBLTFX_MIRRORUPDOWN, 10, 29, kHalf, kBack},    // bottom 50 - 20, less one
        {false, DDBLTFX_MIRRORLEFTRIGHT, 54, 20, kBack, kHalf}, // right 64 - 10
        {false, DDBLTFX_MIRRORLEFTRIGHT | DDBLTFX_MIRRORUPDOWN, 54, 29, kBack, kBack},
        {true, kNone, 26, 27, kBack, kBack},
        {true, 0, 54, 29, kBack, kBack},
        {true, DDBLTFX_MIRRORUPDOWN, 54, 20, kBack, kHalf},
        {true, DDBLTFX_MIRRORLEFTRIGHT, 10, 29, kHalf, kBack},
        {true, DDBLTFX_MIRRORLEFTRIGHT | DDBLTFX_MIRRORUPDOWN, 10, 20, kHalf, kHalf},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << row.backward << " " << row.effects);
        GlintStretchRig rig;
        if (row.backward) {
            rig.OneMemory();
        }
        if (row.effects != kNone) {
            rig.Mirror(row.effects);
        }
        const Words words = rig.Stretch(kTo, kFrom);
        EXPECT_EQ(WordOf(words, t::SStart), row.s << 21);
        EXPECT_EQ(WordOf(words, t::TStart), row.t << 21);
        EXPECT_EQ(WordOf(words, t::dSdx), row.stepX);
        EXPECT_EQ(WordOf(words, t::dTdyDom), row.stepY);
        EXPECT_EQ(WordOf(words, t::StartXDom), (row.backward ? 61u : 30u) << 16);
        EXPECT_EQ(WordOf(words, t::StartXSub), (row.backward ? 30u : 61u) << 16);
        EXPECT_EQ(WordOf(words, t::StartY), (row.backward ? 54u : 40u) << 16);
        EXPECT_EQ(WordOf(words, t::dY), row.backward ? 0xFFFF0000 : 0x10000);
        EXPECT_EQ(WordOf(words, t::Count), 15u);
    }
}

TEST(MXStretch, RunsBackwardOnlyWithinOneMemoryFromAnEarlierSource) {
    GlintStretchRig rig;
    const auto backward = [&](RECTL to, RECTL from) {
        return WordOf(rig.Stretch(to, from), t::dY) == 0xFFFF0000;
    };
    EXPECT_FALSE(backward({30, 40, 61, 55}, {10, 20, 26, 28}));
    rig.OneMemory();
    EXPECT_TRUE(backward({30, 40, 61, 55}, {50, 39, 66, 47}));
    EXPECT_TRUE(backward({30, 40, 61, 55}, {29, 40, 45, 48}));
    EXPECT_FALSE(backward({30, 40, 61, 55}, {30, 40, 46, 48}));
    EXPECT_FALSE(backward({30, 40, 61, 55}, {0, 41, 16, 49}));
}

TEST(MXStretch, ClipsNothing) {
    GlintStretchRig rig;
    const Words words = rig.Stretch({30, 40, 61, 55}, {-4, -2, 12, 6});
    EXPECT_EQ(WordOf(words, t::SStart), static_cast<uint32_t>(-4 * (1 << 21)));
    EXPECT_EQ(WordOf(words, t::TStart), static_cast<uint32_t>(-2 * (1 << 21)));
    EXPECT_EQ(WordOf(words, t::StartXDom), 30u << 16);
    EXPECT_FALSE(rig.Stretch({30, 40, 61, 55}, {-8, -8, -1, -1}).empty());
}

// The key.

TEST(MXChroma, BoundsFollowTheTexelFormat) {
    const struct {
        const char* name;
        uint32_t format, extension;
        uint32_t low, high;
        uint32_t lower, upper;
    } rows[] = {
        // 10101 100001 01010, and all ones with junk above.
        {"5:6:5", 0, 1, 0xAC2A, 0xABCDFFFF, 0x000A2115, 0xFF1F3F1F},
        {"5:6:5 fields", 0, 1, 0xF800, 0x07E0, 0x0000001F, 0xFF003F00},
        {"8:8:8:8", 0, 0, 0x12345678, 0x9ABCDEF0, 0x12785634, 0xFFF0DEBC},
        // 10101 10001 01010
        {"5:5:5", 1, 0, 0x562A, 0xFFFFFFFF, 0x000A1115, 0xFF1F1F1F},
        {"5:5:5 fields", 1, 1, 0x7C00, 0x03E0, 0x0000001F, 0xFF001F00},
        // 101 011 10
        {"3:3:2", 5, 0, 0xAE, 0xFFFFFFFF, 0x00020305, 0xFF030707},
        // 01 011 10
        {"2:3:2", 9, 0, 0xAE, 0xFFFFFFFF, 0x00020301, 0xFF030703},
        {"indexed 8", 14, 0, 0x12345678, 0x9ABCDEF0, 0x78, 0xF0},
        {"indexed 4", 15, 0, 0x12345678, 0x9ABCDEF3, 0x8, 0x3},
        {"8:8:8", 4, 0, 0x12345678, 0x9ABCDEF0, 0x12785634, 0xFFF0DEBC},
        {"any other", 7, 1, 0x12345678, 0x9ABCDEF0, 0x12785634, 0xFFF0DEBC},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        GlintStretchRig rig;
        rig.source->priv.Format = row.format;
        rig.source->priv.FormatExtension = row.extension;
        rig.data.bltFX.ddckSrcColorkey = {row.low, row.high};
        for (const Words& words : {rig.Keyed(kFrom, kFrom), rig.KeyedStretch(kTo, kFrom)}) {
            EXPECT_EQ(WordOf(words, t::ChromaLowerBound), row.lower);
            EXPECT_EQ(WordOf(words, t::ChromaUpperBound), row.upper);
        }
    }
}

TEST(MXChroma, EqualSizeCopySendsKeyOffsetAndRectangle) {
    GlintStretchRig rig;
    rig.driver->RenderCopy = 0x7777; // not used
    rig.data.bltFX.ddckSrcColorkey = {0x7C00, 0x7C00};
    const Words expected = Words{W(14)} + Pairs({{t::ChromaTestMode, 9},
                                                 {t::FBReadMode, 0x22E},
                                                 {t::LogicalOpMode, 0},
                                                 {t::ChromaLowerBound, 0x1F},
                                                 {t::ChromaUpperBound, 0xFF00001F},
                                                 {t::FBSourceOffset, 20 * 500 + 20 + 0x50},
                                                 {t::FBWindowBase, 0x777},
                                                 {t::StartXDom, 10 << 16},
                                                 {t::StartXSub, 26 << 16},
                                                 {t::StartY, 20 << 16},
                                                 {t::dY, 0x10000},
                                                 {t::Count, 8},
                                                 {t::Render, 0x40},
                                                 {t::ChromaTestMode, 0}});
    EXPECT_EQ(rig.Keyed({10, 20, 26, 28}, {30, 40, 46, 48}, 500, 0x50), expected);
}

TEST(MXChroma, EqualSizeCopyGoesBackwardFromASourceBeforeTheDestination) {
    GlintStretchRig rig;
    const Words back = rig.Keyed({10, 20, 26, 28}, {10, 20, 26, 28}, 640, -1);
    EXPECT_EQ(WordOf(back, t::FBSourceOffset), 0xFFFFFFFFu);
    EXPECT_EQ(WordOf(back, t::StartXDom), 26u << 16);
    EXPECT_EQ(WordOf(back, t::StartXSub), 10u << 16);
    EXPECT_EQ(WordOf(back, t::StartY), 27u << 16);
    EXPECT_EQ(WordOf(back, t::dY), 0xFFFF0000u);
    EXPECT_EQ(WordOf(back, t::Count), 8u);
    // An offset of 0 is forward.
    EXPECT_EQ(WordOf(rig.Keyed({10, 20, 26, 28}, {10, 20, 26, 28}), t::dY), 0x10000u);
}

TEST(MXChroma, BothCopiesClipAgainstTheSourcesTopAndLeft) {
    GlintStretchRig rig;
    const Words copy = rig.Keyed({10, 20, 26, 28}, {-3, -2, 13, 6});
    EXPECT_EQ(WordOf(copy, t::StartXDom), 26u << 16); // before the destination: backward
    EXPECT_EQ(WordOf(copy, t::StartXSub), 13u << 16);
    EXPECT_EQ(WordOf(copy, t::Count), 6u);
    EXPECT_EQ(WordOf(copy, t::FBSourceOffset), static_cast<uint32_t>(-22 * 640 - 13));
    const Words stretch = rig.KeyedStretch(kTo, {-3, -2, 13, 6});
    EXPECT_EQ(WordOf(stretch, t::StartXDom), 33u << 16);
    EXPECT_EQ(WordOf(stretch, t::StartY), 42u << 16);
    EXPECT_EQ(WordOf(stretch, t::Count), 13u);
    EXPECT_EQ(WordOf(stretch, t::SStart), 0u);
    EXPECT_EQ(WordOf(stretch, t::TStart), 0u);
    // The sizes are those before the clip.
    EXPECT_EQ(WordOf(stretch, t::dSdx), kHalf);
    EXPECT_EQ(WordOf(stretch, t::dTdyDom), kHalf);
    for (const RECTL& off : {RECTL{-8, 0, -1, 8}, RECTL{0, -8, 8, -1}}) {
        EXPECT_EQ(rig.Keyed({0, 0, 7, 7}, off), Words{});
        EXPECT_EQ(rig.KeyedStretch({0, 0, 70, 7}, off), Words{});
    }
}

TEST(MXChroma, GiveTheRectanglesBackAsTheyCame) {
    GlintStretchRig rig;
    RECTL to = kTo;
    RECTL from = {-3, -2, 13, 6};
    rig.Mirror(DDBLTFX_MIRRORUPDOWN);
    MXStretchCopyChromaBlt(rig.driver, &rig.data, 640, &rig.dest->priv, &rig.source->priv, &to,
                           &from, 0, 0);
    MXSourceChromaBlt(rig.driver, &rig.data, 640, &rig.dest->priv, &rig.source->priv, &to, &from, 0,
                      0);
    EXPECT_EQ(to.left, 30);
    EXPECT_EQ(to.top, 40);
    EXPECT_EQ(from.left, -3);
    EXPECT_EQ(from.top, -2);
}

TEST(MXChroma, StretchIsThePlainOneBetweenKeyAndItsEndWithTheOffsetAsGiven) {
    for (const uint32_t effects : {0u, 2u, 4u, 6u}) {
        for (const bool oneMemory : {false, true}) {
            GlintStretchRig rig;
            rig.data.bltFX.ddckSrcColorkey = {0x7C00, 0x7C00};
            rig.Mirror(effects);
            if (oneMemory) {
                rig.OneMemory();
            }
            Words expected = rig.Stretch(kTo, kFrom);
            const Words key = Pairs({{t::ChromaTestMode, 9},
                                     {t::ChromaLowerBound, 0x1F},
                                     {t::ChromaUpperBound, 0xFF00001F}});
            expected.insert(expected.begin() + 1, key.begin(), key.end());
            expected.insert(expected.end(), {t::ChromaTestMode, 0});
            expected[1 + 6 + 5] = static_cast<uint32_t>(-0x50); // FBSourceOffset
            EXPECT_EQ(rig.KeyedStretch(kTo, kFrom), expected);
        }
    }
}

TEST(MXChroma, BothBringTheChipToTheDisplaysDepthFirst) {
    GlintStretchRig rig;
    for (const bool stretch : {false, true}) {
        rig.driver->FBDepth = 2;
        const Words words = stretch ? rig.KeyedStretch(kTo, kFrom) : rig.Keyed(kFrom, kFrom);
        EXPECT_EQ(Words(words.begin(), words.begin() + 5),
                  (Words{W(1), t::PixelSize, 1, W(stretch ? 16 : 14), t::ChromaTestMode}));
    }
}

} // namespace
