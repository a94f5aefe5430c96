// Fills of the Permedia family.
#include "driver/blit/pmblit32.h"
#include "tests/driver/blit/primitive_rig.h"
#include "tests/support/tag_names.h"

namespace {

using namespace test;

constexpr uint32_t kProducts = 0x11B;
constexpr uint32_t kClearBase = 0x90000;

struct FillRig : PrimitiveRig {
    explicit FillRig(uint32_t bits = 16)
        : PrimitiveRig({.deviceId = DevicePermedia2, .bits = bits}) {}

    Words Fill(uint32_t fill) {
        FastPermediaClear(driver, &surface.Global(), &rect, kClearBase, fill);
        return Take();
    }
    Words FillDepth(uint32_t fill) {
        FastLBPermediaClear(driver, &surface.Global(), &rect, kClearBase, fill);
        return Take();
    }

    RigSurface& surface = Surface(0x120000, kProducts);
    RECTL rect = {11, 20, 27, 28};
};

TEST(Fill, GoesAsConstantWritesWithoutBlockFill) {
    FillRig rig;
    EXPECT_EQ(
        rig.Fill(0x12345678),
        (Words{W(12),    t::FBWriteData,  0x56785678, t::FBReadMode,  kProducts, t::LogicalOpMode,
               0x20,     t::FBWindowBase, kClearBase, t::StartXDom,   0xB0000,   t::StartXSub,
               0x1B0000, t::StartY,       0x140000,   t::dY,          0x10000,   t::Count,
               8,        t::Render,       0x40,       t::FBReadPixel, 1,         t::LogicalOpMode,
               0}));
}

TEST(Fill, GoesAsABlockWhereTheRenderWordSaysSo) {
    FillRig rig;
    rig.driver->RenderClear = 0x10048;
    EXPECT_EQ(
        rig.Fill(0x12345678),
        (Words{W(12),    t::FBBlockColor, 0x56785678, t::FBReadMode,  kProducts, t::LogicalOpMode,
               0x20,     t::FBWindowBase, kClearBase, t::StartXDom,   0xB0000,   t::StartXSub,
               0x1B0000, t::StartY,       0x140000,   t::dY,          0x10000,   t::Count,
               8,        t::Render,       0x10048,    t::FBReadPixel, 1,         t::LogicalOpMode,
               0}));
}

TEST(Fill, IsRepeatedByTheSurfacesPixelsAndLeavesTheDisplaysSize) {
    struct Row {
        uint32_t pixelSize, word;
    };
    for (const Row& row : {Row{PixelSize8, 0x78787878},
                           {PixelSize16, 0x56785678},
                           {PixelSize32, 0x12345678},
                           {PixelSize4, 0x12345678},
                           {PixelSize24, 0x78345678}}) {
        FillRig rig(32);
        rig.surface.priv.PixelSize = row.pixelSize;
        const Words words = rig.Fill(0x12345678);
        EXPECT_EQ(WordOf(words, t::FBWriteData), row.word) << row.pixelSize;
        EXPECT_EQ(WordOf(words, t::FBReadPixel), 2u) << row.pixelSize;
    }
}

TEST(Fill, Of24BitPixelsIsABlockOnlyWithThreeEqualBytes) {
    FillRig rig(24);
    rig.driver->RenderClear = 0x48;
    Words words = rig.Fill(0x99ABABAB);
    EXPECT_EQ(WordOf(words, t::FBBlockColor), 0xABABABABu);
    EXPECT_EQ(WordOf(words, t::Render), 0x48u);
    for (uint32_t fill : {0x99123456u, 0xABABABACu, 0xABABACABu, 0xABACABABu}) {
        words = rig.Fill(fill);
        EXPECT_FALSE(Has(words, t::FBBlockColor));
        EXPECT_EQ(WordOf(words, t::FBWriteData), (fill & 0xFFFFFF) + (fill % 256) * 0x1000000);
        EXPECT_EQ(WordOf(words, t::Render), 0x40u);
    }
    EXPECT_EQ(rig.driver->RenderClear, 0x48u);
    rig.driver->RenderClear = 0x49; // of which the block's bit alone is left out
    EXPECT_EQ(WordOf(rig.Fill(0x99123456), t::Render), 0x41u);
}

TEST(Fill, WithoutAReadySurfaceOfTheDriversDoesNothing) {
    for (int way = 0; way != 3; ++way) {
        FillRig rig;
        switch (way) {
        case 0:
            rig.surface.Global().dwReserved1 = 0;
            break;
        case 1:
            rig.surface.priv.MagicNo = 0;
            break;
        default:
            rig.surface.priv.Flags &= ~uint32_t{SURFACE_READY};
        }
        EXPECT_EQ(rig.Fill(1), Words{}) << way;
        EXPECT_EQ(rig.FillDepth(1), Words{}) << way;
    }
}

TEST(DepthFill, GoesInHalvedColumnsWithoutBlockFill) {
    FillRig rig(32);
    EXPECT_EQ(
        rig.FillDepth(0x1234BEEF),
        (Words{
            W(5),       t::FBWriteData,   0xBEEFBEEF, t::FBReadMode,    kProducts,  t::FBReadPixel,
            1,          t::LogicalOpMode, 0x20,       t::FBWindowBase,  kClearBase, W(9),
            0x00F58000, 5u << 16,         13u << 16,  0x140000,         0x10000,    8,
            0x40,       t::FBReadPixel,   2,          t::LogicalOpMode, 0}));
    EXPECT_EQ(rig.rect.left, 11);
    EXPECT_EQ(rig.rect.right, 27);
}

TEST(DepthFill, KeepsTheColumnsOfABlockFill) {
    FillRig rig;
    rig.driver->RenderClear = 0x48;
    EXPECT_EQ(
        rig.FillDepth(0xBEEF),
        (Words{
            W(5),       t::FBBlockColor,  0xBEEFBEEF, t::FBReadMode,    kProducts,  t::FBReadPixel,
            1,          t::LogicalOpMode, 0x20,       t::FBWindowBase,  kClearBase, W(9),
            0x00F58000, 11u << 16,        27u << 16,  0x140000,         0x10000,    8,
            0x48,       t::FBReadPixel,   1,          t::LogicalOpMode, 0}));
}

TEST(DepthFill, AsAFillGoesBackToTheWindowsStartWhereTwoHundredBytesDoNotFit) {
    FillRig rig;
    CommandStream& stream = rig.driver->Stream;
    const SubBuffer& window = stream.SubBuffers[0];
    for (const bool depth : {false, true}) {
        const uint32_t words = depth ? 21 : 24;
        stream.Guard.Allow(window.Last);
        for (const uint32_t room : {51u, 50u}) { // an exact fit is no room
            stream.WritePointer = window.Last - room;
            depth ? rig.FillDepth(1) : rig.Fill(1);
            EXPECT_EQ(stream.WritePointer, (room == 51 ? window.Last - 51 : window.Linear) + words);
        }
    }
}

} // namespace
