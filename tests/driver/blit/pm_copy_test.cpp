// Copies of the Permedia family, word for word.
#include "driver/blit/pmblit32.h"
#include "driver/blit/pmdirecx.h"
#include "tests/driver/blit/primitive_rig.h"
#include "tests/support/tag_names.h"

namespace {

using namespace test;

constexpr uint32_t kDestProducts = 0x11B;
constexpr uint32_t kSourceProducts = 0x0A5;
constexpr uint32_t kCopyBase = 0x90000; // destination, pixels
constexpr int32_t kRelative = 0xF0000;  // from there to the source, pixels

struct CopyRig : PrimitiveRig {
    explicit CopyRig(uint32_t bits = 16)
        : PrimitiveRig({.deviceId = DevicePermedia2, .bits = bits}) {
        driver->RenderCopy = 0x10040;
    }

    // The words of one copy, with a logic op that nothing looks at.
    Words Run(SurfaceCopyFunction copy, int32_t relative = kRelative, int32_t sourceStride = 512) {
        copy(driver, 640, sourceStride, &dest.priv, &source.priv, &to, &from, kCopyBase, relative,
             9);
        return Take();
    }
    Words RunOnScreen(int32_t relative = kRelative) {
        vPermediaCopyBlt(driver, &to, &from, 512, kCopyBase, relative, 9);
        return Take();
    }

    RigSurface& dest = Surface(0x120000, kDestProducts);
    RigSurface& source = Surface(0x300000, kSourceProducts);
    RECTL to = {10, 20, 26, 28};
    RECTL from = {31, 40, 47, 48};
};

bool operator==(const RECTL& a, const RECTL& b) {
    return a.left == b.left && a.top == b.top && a.right == b.right && a.bottom == b.bottom;
}

TEST(PackedCopy, SendsBothSidesAndWalksForward) {
    CopyRig rig;
    // An even column from an odd one: -1, which three bits hold as 7.
    EXPECT_EQ(rig.Run(PackedPermediaCopyBlt),
              (Words{W(12), t::FBWindowBase, kCopyBase, t::FBReadMode, 0x7802A5, t::FBWriteConfig,
                     0x78031B, t::LogicalOpMode, 0,
                     // 20 lines of 512, columns 30 and 10 of whole words
                     t::FBSourceOffset, 0xF2814, t::StartXDom, 0x50000, t::StartXSub, 0xE0000,
                     t::PackedDataLimits, 0xE01A000A, t::StartY, 0x140000, t::dY, 0x10000, t::Count,
                     8, t::Render, 0x10040}));
}

TEST(PackedCopy, ASourceInFrontIsWalkedFromItsEndInBothAxes) {
    CopyRig rig;
    rig.from = {10, 19, 26, 27}; // one line above, in one surface
    EXPECT_EQ(rig.Run(PackedPermediaCopyBlt, 0, 640),
              (Words{W(12),      t::FBWindowBase,   kCopyBase,  t::FBReadMode,
                     0x802A5,    t::FBWriteConfig,  0x8031B,    t::LogicalOpMode,
                     0,          t::FBSourceOffset, 0xFFFFFD80, t::StartXDom,
                     0xE0000,    t::StartXSub,      0x50000,    t::PackedDataLimits,
                     0x000A001A, t::StartY,         0x1B0000,   t::dY,
                     0xFFFF0000, t::Count,          8,          t::Render,
                     0x10040}));
}

TEST(PackedCopy, DirectionGoesByTheSignOfTheDistance) {
    struct Row {
        LONG dx, dy; // from destination to source
        int32_t distance;
    };
    for (const Row& row : {Row{0, 0, 0},
                           {0, 1, 640},
                           {0, -1, -640},
                           {2, 0, 2},
                           {-2, 0, -2},
                           {-2, 1, 638},
                           {2, -1, -638}}) {
        CopyRig rig;
        rig.from = {10 + row.dx, 20 + row.dy, 26 + row.dx, 28 + row.dy};
        const Words words = rig.Run(PackedPermediaCopyBlt, 0, 640);
        EXPECT_EQ(WordOf(words, t::FBSourceOffset), static_cast<uint32_t>(row.distance));
        EXPECT_EQ(WordOf(words, t::dY), row.distance < 0 ? 0xFFFF0000u : 0x10000u);
        EXPECT_EQ(WordOf(words, t::StartXDom), row.distance < 0 ? 0xE0000u : 0x50000u);
    }
}

TEST(PackedCopy, ADistanceWithinOneWordIsNone) {
    CopyRig rig;
    rig.from = {10, 20, 26, 28};
    rig.to = {11, 20, 27, 28};
    const Words words = rig.Run(PackedPermediaCopyBlt, 0, 640);
    EXPECT_EQ(WordOf(words, t::FBSourceOffset), 0u); // and so forward
    EXPECT_EQ(WordOf(words, t::dY), 0x10000u);
    EXPECT_EQ(WordOf(words, t::FBReadMode), 0x1802A5u);
}

TEST(PackedCopy, Of8BitPixelsTakesFourToTheWord) {
    CopyRig rig(8);
    rig.to = {5, 20, 23, 28};
    rig.from = {11, 40, 29, 48};
    const Words words = rig.Run(PackedPermediaCopyBlt);
    EXPECT_EQ(WordOf(words, t::FBReadMode), 0x6802A5u); // 1 - 3
    EXPECT_EQ(WordOf(words, t::FBWriteConfig), 0x68031Bu);
    EXPECT_EQ(WordOf(words, t::FBSourceOffset), 0xF0000u + 20 * 512 + 8 - 4);
    EXPECT_EQ(WordOf(words, t::StartXDom), 1u << 16);
    EXPECT_EQ(WordOf(words, t::StartXSub), 8u << 16);
    EXPECT_EQ(WordOf(words, t::PackedDataLimits), 0xC0170005u);
}

TEST(PackedCopy, Of32BitPixelsTakesOneToTheWord) {
    CopyRig rig(32);
    const Words words = rig.Run(PackedPermediaCopyBlt);
    EXPECT_EQ(WordOf(words, t::FBReadMode), 0x802A5u);
    EXPECT_EQ(WordOf(words, t::FBSourceOffset), 0xF0000u + 20 * 512 + 31 - 10);
    EXPECT_EQ(WordOf(words, t::StartXDom), 10u << 16);
    EXPECT_EQ(WordOf(words, t::StartXSub), 26u << 16);
    EXPECT_EQ(WordOf(words, t::PackedDataLimits), 0x001A000Au);
}

TEST(PackedCopy, TheDistanceCountsWordsOfTheDestinationAndTheColumnsThoseOfTheDisplay) {
    CopyRig rig;
    rig.dest.priv.PixelSize = PixelSize8;
    const Words words = rig.Run(PackedPermediaCopyBlt);
    EXPECT_EQ(WordOf(words, t::FBSourceOffset), 0xF0000u + 20 * 512 + 28 - 8);
    EXPECT_EQ(WordOf(words, t::FBReadMode), 0x7802A5u);
    EXPECT_EQ(WordOf(words, t::StartXDom), 5u << 16);
}

TEST(PackedCopy, TheRelativeOffsetIsTakenWithThreeBits) {
    for (LONG to = 0; to != 4; ++to) {
        for (LONG from = 0; from != 4; ++from) {
            CopyRig rig(8);
            rig.to = {to, 0, to + 4, 1};
            rig.from = {from, 0, from + 4, 1};
            const Words words = rig.Run(PackedPermediaCopyBlt);
            const uint32_t relative = static_cast<uint32_t>(to - from + 8) % 8;
            EXPECT_EQ(WordOf(words, t::FBReadMode) >> 20, relative);
            EXPECT_EQ(WordOf(words, t::FBWriteConfig) >> 20, relative);
            EXPECT_EQ(WordOf(words, t::PackedDataLimits) >> 29, relative);
        }
    }
}

TEST(Packed24BitCopy, MeasuresColumnsByThreeQuarters) {
    CopyRig rig(24);
    rig.to = {6, 2, 17, 5};
    rig.from = {9, 4, 20, 7};
    EXPECT_EQ(rig.Run(Packed24BitPermediaCopyBlt, 0x1000, 640),
              (Words{W(12), t::FBWindowBase, kCopyBase, t::FBReadMode, 0x1802A5, t::FBWriteConfig,
                     0x18031B, t::LogicalOpMode, 0,
                     // 1280 - 4 + 4096 + 9
                     t::FBSourceOffset, 0x1505, t::StartXDom, 4u << 16, t::StartXSub, 13u << 16,
                     t::PackedDataLimits, 0x20110006, t::StartY, 0x20000, t::dY, 0x10000, t::Count,
                     3, t::Render, 0x10040}));
}

TEST(Packed24BitCopy, RunsBackwardWithTheColumnsExchanged) {
    CopyRig rig(24);
    rig.to = {6, 2, 17, 5};
    rig.from = {9, 1, 20, 4};
    // -640 - 4 + 9, and the same offset within the word as above.
    EXPECT_EQ(rig.Run(Packed24BitPermediaCopyBlt, 0, 640),
              (Words{W(12)} + Pairs({{t::FBWindowBase, kCopyBase},
                                     {t::FBReadMode, 0x1802A5},
                                     {t::FBWriteConfig, 0x18031B},
                                     {t::LogicalOpMode, 0},
                                     {t::FBSourceOffset, static_cast<uint32_t>(-635)},
                                     {t::StartXDom, 13u << 16},
                                     {t::StartXSub, 4u << 16},
                                     {t::PackedDataLimits, 0x20060011},
                                     {t::StartY, 0x40000},
                                     {t::dY, 0xFFFF0000},
                                     {t::Count, 3},
                                     {t::Render, 0x10040}})));
}

TEST(Packed24BitCopy, TheRelativeOffsetComesFromWholeWordsOfTheSource) {
    struct Row {
        LONG to, from;
        uint32_t relative;
    };
    for (const Row& row : {Row{0, 0, 0},
                           {1, 0, 1},
                           {3, 0, 3},
                           {4, 0, 0},
                           {0, 1, 7},
                           {0, 4, 0},
                           {7, 10, 2},
                           {8, 11, 7},
                           {8, 3, 7}}) {
        CopyRig rig(24);
        rig.to = {row.to, 0, row.to + 5, 1};
        rig.from = {row.from, 0, row.from + 5, 1};
        EXPECT_EQ(WordOf(rig.Run(Packed24BitPermediaCopyBlt), t::FBReadMode) >> 20, row.relative)
            << row.to << " " << row.from;
    }
}

TEST(PatchedCopy, IntoAPatchedSurfaceConvertsOnTheDestinationsSide) {
    CopyRig rig;
    rig.dest.priv.Flags |= SURFACE_PATCHED;
    EXPECT_EQ(
        rig.Run(PatchedPermediaCopyBlt),
        (Words{
            W(12),     t::FBWindowBase,  kCopyBase, t::FBReadMode,     0x2A5,    t::FBWriteConfig,
            0x204011B, t::LogicalOpMode, 0,         t::FBSourceOffset, 0xF2814,  t::StartXDom,
            0xA0000,   t::StartXSub,     0x1A0000,  t::StartY,         0x140000, t::dY,
            0x10000,   t::Count,         8,         t::Render,         0x10040}));
    EXPECT_EQ(rig.dest.priv.Flags & SURFACE_PATCHED_NOW, uint32_t{SURFACE_PATCHED_NOW});
}

TEST(PatchedCopy, OutOfAPatchedSurfaceConvertsOnTheSourcesSide) {
    CopyRig rig;
    rig.source.priv.Flags |= SURFACE_PATCHED;
    rig.dest.priv.Flags |= SURFACE_PATCHED_NOW;
    rig.from = {10, 19, 26, 27};
    EXPECT_EQ(rig.Run(PatchedPermediaCopyBlt, 0, 640), (Words{W(12),      t::FBWindowBase,
                                                              kCopyBase,  t::FBReadMode,
                                                              0x20402A5,  t::FBWriteConfig,
                                                              0x11B,      t::LogicalOpMode,
                                                              0,          t::FBSourceOffset,
                                                              0xFFFFFD80, t::StartXDom,
                                                              0x1A0000,   t::StartXSub,
                                                              0xA0000,    t::StartY,
                                                              0x1B0000,   t::dY,
                                                              0xFFFF0000, t::Count,
                                                              8,          t::Render,
                                                              0x10040}));
    EXPECT_EQ(rig.dest.priv.Flags & SURFACE_PATCHED_NOW, 0u);
}

TEST(ScreenCopy, WritesTheRegistersPastTheStream) {
    CopyRig rig;
    EXPECT_EQ(rig.RunOnScreen(),
              (Words{W(10),      M(t::FBWindowBase),   kCopyBase, M(t::FBReadMode),
                     0x78022E,   M(t::FBSourceOffset), 0xF2814,   M(t::StartXDom),
                     0x50000,    M(t::StartXSub),      0xE0000,   M(t::PackedDataLimits),
                     0xE01A000A, M(t::StartY),         0x140000,  M(t::dY),
                     0x10000,    M(t::Count),          8,         M(t::Render),
                     0x10040}));
    EXPECT_EQ(rig.driver->Stream.WritePointer, rig.driver->Stream.Current().Linear);
}

TEST(ScreenCopy, RunsForwardWhateverTheDistance) {
    CopyRig rig;
    rig.from = {10, 19, 26, 27};
    const Words words = rig.RunOnScreen(0);
    EXPECT_EQ(WordOf(words, t::FBSourceOffset), static_cast<uint32_t>(-512));
    EXPECT_EQ(WordOf(words, t::StartXDom), 0x50000u);
    EXPECT_EQ(WordOf(words, t::StartY), 0x140000u);
    EXPECT_EQ(WordOf(words, t::dY), 0x10000u);
}

// The head that all four have.

struct Copier {
    const char* name;
    Words (*run)(CopyRig&);
    uint32_t bits;
};
const Copier kCopiers[] = {
    {"packed", [](CopyRig& rig) { return rig.Run(PackedPermediaCopyBlt); }, 16},
    {"24", [](CopyRig& rig) { return rig.Run(Packed24BitPermediaCopyBlt); }, 24},
    {"patched", [](CopyRig& rig) { return rig.Run(PatchedPermediaCopyBlt); }, 16},
    {"screen", [](CopyRig& rig) { return rig.RunOnScreen(); }, 16},
};

TEST(CopyHead, ASourceWhollyAboveOrLeftDoesNothing) {
    for (const Copier& copier : kCopiers) {
        for (const RECTL& from : {RECTL{31, -9, 47, -1}, {-17, 40, -1, 48}}) {
            CopyRig rig(copier.bits);
            rig.from = from;
            rig.driver->FBDepth = PixelSize8; // not even the depth is set
            rig.dest.priv.Flags |= SURFACE_PATCHED;
            EXPECT_EQ(copier.run(rig), Words{}) << copier.name;
            EXPECT_EQ(rig.dest.priv.Flags & SURFACE_PATCHED_NOW, 0u);
        }
    }
}

TEST(CopyHead, PartsAboveAndLeftAreTakenAwayFromBothAndGivenBack) {
    for (const Copier& copier : kCopiers) {
        CopyRig rig(copier.bits);
        rig.from = {-2, -3, 14, 5};
        const Words words = copier.run(rig);
        EXPECT_EQ(WordOf(words, t::FBSourceOffset), 0xF0000u - 23 * 512 - 12) << copier.name;
        EXPECT_EQ(WordOf(words, t::StartY), 23u << 16) << copier.name;
        EXPECT_EQ(WordOf(words, t::Count), 5u) << copier.name;
        EXPECT_TRUE((rig.from == RECTL{-2, -3, 14, 5})) << copier.name;
        EXPECT_TRUE((rig.to == RECTL{10, 20, 26, 28})) << copier.name;
    }
    CopyRig rig;
    rig.from = {-2, -3, 14, 5};
    EXPECT_EQ(WordOf(rig.Run(PackedPermediaCopyBlt), t::PackedDataLimits), 0x001A000Cu);
}

TEST(CopyHead, ASourceThatEndsOnTheEdgeIsStillDrawn) {
    CopyRig rig;
    rig.from = {0, -8, 16, 0};
    const Words words = rig.Run(PackedPermediaCopyBlt);
    EXPECT_EQ(WordOf(words, t::StartY), 28u << 16);
    EXPECT_EQ(WordOf(words, t::Count), 0u);
}

TEST(CopyHead, AnotherDepthIsSetFirst) {
    for (const Copier& copier : kCopiers) {
        CopyRig rig(copier.bits);
        rig.driver->FBDepth = PixelSize8;
        rig.driver->DepthTable[1].word = 0x77;
        rig.driver->DepthRow24.word = 0x77;
        const Words words = copier.run(rig);
        ASSERT_GT(words.size(), 4u);
        EXPECT_EQ(Words(words.begin(), words.begin() + 3),
                  (Words{W(1), t::FBReadPixel, rig.driver->PixelSize}))
            << copier.name;
        EXPECT_EQ(rig.driver->FBDepth, rig.driver->PixelSize);
        if (std::string(copier.name) == "screen") {
            EXPECT_EQ(WordOf(words, t::FBReadMode), 0x780277u); // with the new depth's products
        }
        EXPECT_FALSE(Has(copier.run(rig), t::FBReadPixel)) << copier.name;
    }
}

// Through the callback, with the table as it is filled.

TEST(CopyByCallback, ReachesTheChip) {
    CopyRig rig;
    DDHAL_BLTDATA data{};
    data.lpDD = &rig.directDraw;
    data.lpDDDestSurface = &rig.dest.local;
    data.lpDDSrcSurface = &rig.source.local;
    data.rDest = {10, 20, 26, 28};
    data.rSrc = {-2, -3, 14, 5};
    data.dwFlags = DDBLT_ROP;
    data.bltFX.dwROP = SRCCOPY;
    rig.bus->registers[reg::IntFlags] = 16;
    rig.driver->ModeKey = 0x1234;
    EXPECT_EQ(PermediaBlt32(&data), DDHAL_DRIVER_HANDLED);
    EXPECT_EQ(data.ddRVal, DD_OK);
    const Words words = rig.Take();
    EXPECT_EQ(WordOf(words, t::FBWindowBase), 0x90000u);
    EXPECT_EQ(WordOf(words, t::FBSourceOffset), 0xF0000u - 23 * 640 - 12);
    EXPECT_EQ(data.rSrc.left, -2);
    EXPECT_EQ(data.rDest.top, 20);
    CHIPRender = {};
}

} // namespace
