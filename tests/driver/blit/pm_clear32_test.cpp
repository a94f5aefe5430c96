// Direct3D's clear of a context's buffers.
#include "driver/blit/pmblit32.h"
#include "driver/d3d/dcontext.h"
#include "tests/driver/blit/primitive_rig.h"
#include "tests/support/tag_names.h"

namespace {

using test::operator+;
using namespace test;

constexpr uint32_t kHandle = 3;
constexpr uint32_t kTarget = 1; // D3DCLEAR_TARGET
constexpr uint32_t kDepth = 2;  // D3DCLEAR_ZBUFFER

struct ClearRig : PrimitiveRig {
    explicit ClearRig(uint32_t deviceId = DevicePermedia, bool dma = false)
        : PrimitiveRig({.deviceId = deviceId, .bits = 16}), ctx(PlainContext(dma)) {
        ctx->Stream.HardwareContext = CreateContext(driver, chip, kContextTypeDirect3D, 0, 0);
        ctx->RenderTargetSurface = &target.local;
        ctx->ZBufferSurface = &depth.local;
        ctx->WindowBaseColour = 0x11111;
        ctx->WindowBaseDepth = 0x22222;
        ctx->Copies.FogMode = 0xA1;
        ctx->Copies.TextureAddressMode = 0xA2;
        ctx->Copies.TextureColorMode = 0xA3;
        ctx->Copies.AlphaBlendMode = 0xBAD;
        ctx->AlphaBlendModeOut = 0xA5;
        ctx->FogColor = 0xA6;
        ctx->RenderFlags = RF_FOG;
        ctx->DirtyFlags = DIRTY_RENDERERS;
        ContextSlots[kHandle] = ctx;
        bus->Clear();
    }

    // The stream words and waits of one clear; register writes of context changes are left out.
    Words Clear(uint32_t flags, std::vector<D3DRECT> rects) {
        D3DHAL_CLEARDATA data{};
        data.dwhContext = kHandle;
        data.dwFlags = flags;
        data.dwFillColor = 0x1234;
        data.dwFillDepth = 0xFFFF;
        data.lpRects = rects.data();
        data.dwNumRects = static_cast<DWORD>(rects.size());
        data.ddrval = 0xDEADBEEF;
        EXPECT_EQ(Clear32(&data), 1u);
        EXPECT_EQ(data.ddrval, 0u);
        changes = 0;
        for (const BusEvent& event : bus->events) {
            changes += event.kind == 'w' && event.offset == 0x8C40; // Sync
        }
        return StreamOnly();
    }

    D3DContext* ctx;
    RigSurface& target = Surface(0x120000, 0x55);
    RigSurface& depth = Surface(0x300000, 0x66);
    size_t changes = 0; // of the hardware context

  private:
    Words StreamOnly() {
        std::vector<BusEvent> kept;
        std::vector<BusEvent> reads; // of the FIFO's space, that no word has followed yet
        for (const BusEvent& event : bus->events) {
            if (event.kind == 'r' && event.offset == reg::InFIFOSpace) {
                reads.push_back(event);
            } else if (event.kind == 'f') {
                kept.insert(kept.end(), reads.begin(), reads.end());
                kept.push_back(event);
                reads.clear();
            } else {
                reads.clear();
            }
        }
        bus->events = kept;
        return Take();
    }
};

const Words kRepair = {W(5), t::FogMode,          0xA1, t::FogColor,
                       0xA6, t::TextureColorMode, 0xA3, t::TextureAddressMode,
                       0xA2, t::AlphaBlendMode,   0xA5};
const Words kCommonUnits = {
    W(16), t::ColorDDAMode, 0, t::FogMode,       0, t::AlphaTestMode,  0, t::LBReadMode, 0,
    W(16), t::DitherMode,   0, t::LogicalOpMode, 0, t::AlphaBlendMode, 0, W(16)};
const Words kPermediaUnits = kCommonUnits + Pairs({{t::TextureReadMode, 0},
                                                   {t::TextureMapFormat, 0},
                                                   {t::TextureDataFormat, 0},
                                                   {t::TexelLUTMode, 0},
                                                   {t::TextureColorMode, 0},
                                                   {t::YUVMode, 0},
                                                   {t::AStart, 0x7F8000}});

Words TargetFill(uint32_t left, uint32_t top, uint32_t right, uint32_t bottom) {
    return Words{W(12)} + Pairs({{t::FBWriteData, 0x12341234},
                                 {t::FBReadMode, 0x55},
                                 {t::LogicalOpMode, 0x20},
                                 {t::FBWindowBase, 0x11111},
                                 {t::StartXDom, left << 16},
                                 {t::StartXSub, right << 16},
                                 {t::StartY, top << 16},
                                 {t::dY, 0x10000},
                                 {t::Count, bottom - top},
                                 {t::Render, 0x40},
                                 {t::FBReadPixel, 1},
                                 {t::LogicalOpMode, 0}});
}

// In 32-bit columns.
Words DepthFill(uint32_t left, uint32_t top, uint32_t right, uint32_t bottom) {
    return {W(5),       t::FBWriteData,   0xFFFFFFFF,  t::FBReadMode,    0x66,    t::FBReadPixel,
            1,          t::LogicalOpMode, 0x20,        t::FBWindowBase,  0x22222, W(9),
            0x00F58000, left << 16,       right << 16, top << 16,        0x10000, bottom - top,
            0x40,       t::FBReadPixel,   1,           t::LogicalOpMode, 0};
}

TEST(Clear32, TakesTheChipForAFIFOContextAndGivesItBackWithTheFiveWordsEachTime) {
    for (uint32_t device : {4u, 0x3D04u}) {
        ClearRig rig(device);
        EXPECT_EQ(rig.Clear(kTarget | kDepth, {{10, 20, 26, 28}}),
                  kRepair + kPermediaUnits + TargetFill(10, 20, 26, 28) + DepthFill(5, 20, 13, 28) +
                      kRepair);
        EXPECT_EQ(rig.chip->CurrentContext, kContext2D);
        EXPECT_EQ(rig.changes, 2u);
        EXPECT_EQ(rig.ctx->DirtyFlags, 0x1Fu); // the renderers' bit is left as it was
    }
}

TEST(Clear32, WithoutFogTheHeldFogColourIsAllOnes) {
    ClearRig rig;
    rig.ctx->RenderFlags = 0;
    rig.ctx->DirtyFlags = 0;
    const Words words = rig.Clear(kTarget, {{0, 0, 1, 1}});
    EXPECT_EQ(WordOf(words, t::FogColor), 0xFFFFFFFFu);
    EXPECT_EQ(rig.ctx->DirtyFlags, 0x1Eu);
}

TEST(Clear32, ForTheCurrentContextChangesNone) {
    ClearRig rig;
    rig.chip->CurrentContext = rig.ctx->Stream.HardwareContext;
    EXPECT_EQ(rig.Clear(kTarget, {{10, 20, 26, 28}}), kPermediaUnits + TargetFill(10, 20, 26, 28));
    EXPECT_EQ(rig.changes, 0u);
    EXPECT_EQ(rig.chip->CurrentContext, rig.ctx->Stream.HardwareContext);
}

TEST(Clear32, GivesTheChipBackToNoContextToo) {
    ClearRig rig;
    rig.chip->CurrentContext = kNoContext;
    EXPECT_EQ(rig.Clear(kTarget, {{10, 20, 26, 28}}),
              kRepair + kPermediaUnits + TargetFill(10, 20, 26, 28) + kRepair);
    EXPECT_EQ(rig.chip->CurrentContext, kNoContext);
    EXPECT_EQ(rig.changes, 2u);
}

TEST(Clear32, OfADMAContextLeavesTheChipWhereItIs) {
    ClearRig rig(DevicePermedia, true);
    const uint32_t* at = rig.ctx->Stream.WritePointer;
    EXPECT_EQ(rig.Clear(kTarget, {{10, 20, 26, 28}}), kPermediaUnits + TargetFill(10, 20, 26, 28));
    EXPECT_EQ(rig.changes, 0u);
    EXPECT_EQ(rig.chip->CurrentContext, kContext2D);
    EXPECT_EQ(rig.ctx->Stream.WritePointer, at);
    EXPECT_EQ(rig.ctx->DirtyFlags, 0x1Fu);
    EXPECT_TRUE(rig.bus->transfers.empty());
}

TEST(Clear32, OnPermedia2LosesNoWordsAndQuietsTheLookupTable) {
    const Words units = kPermediaUnits + Words{t::TexelLUTIndex, 0, t::TexelLUTTransfer, 0};
    for (uint32_t device : {7u, 0x3D07u}) {
        ClearRig rig(device);
        EXPECT_EQ(rig.Clear(kTarget, {{10, 20, 26, 28}}), units + TargetFill(10, 20, 26, 28));
        EXPECT_EQ(rig.changes, 2u);
        EXPECT_EQ(rig.chip->CurrentContext, kContext2D);
    }
}

TEST(Clear32, OnGlintUsesTheSamePrimitives) {
    const Words glint =
        kCommonUnits +
        Pairs({{t::GlintTextureReadMode, 0}, {t::TextureAddressMode, 0}, {t::TextureColorMode, 0}});
    const Words mx = glint + Pairs({{t::ChromaTestMode, 0},
                                    {t::TextureFilterMode, 0},
                                    {t::TexelLUTTransfer, 0},
                                    {t::TexelLUTIndex, 0},
                                    {t::TexelLUTAddress, 0}});
    for (uint32_t device : {1u, 2u, 6u}) {
        ClearRig rig(device, true);
        EXPECT_EQ(rig.Clear(kTarget | kDepth, {{10, 20, 26, 28}}), (device == 6 ? mx : glint) +
                                                                       TargetFill(10, 20, 26, 28) +
                                                                       DepthFill(5, 20, 13, 28));
    }
}

TEST(Clear32, GoesThroughItsRectanglesFromTheLastToTheFirst) {
    ClearRig rig(DevicePermedia, true);
    EXPECT_EQ(rig.Clear(kTarget | kDepth, {{2, 4, 6, 8}, {10, 12, 14, 16}, {18, 20, 22, 24}}),
              kPermediaUnits + TargetFill(18, 20, 22, 24) + DepthFill(9, 20, 11, 24) +
                  TargetFill(10, 12, 14, 16) + DepthFill(5, 12, 7, 16) + TargetFill(2, 4, 6, 8) +
                  DepthFill(1, 4, 3, 8));
}

TEST(Clear32, ClearsWhatIsAsked) {
    ClearRig rig(DevicePermedia, true);
    EXPECT_EQ(rig.Clear(kDepth, {{10, 20, 26, 28}}), kPermediaUnits + DepthFill(5, 20, 13, 28));
    // Buffers that are not there, or whose pitch is not settled, are not cleared.
    rig.ctx->ZBufferSurface = nullptr;
    EXPECT_EQ(rig.Clear(kDepth, {{10, 20, 26, 28}}), kPermediaUnits);
    rig.target.priv.Flags = 0;
    EXPECT_EQ(rig.Clear(kTarget | kDepth, {{10, 20, 26, 28}}), kPermediaUnits);
}

TEST(Clear32, WithNothingToClearDoesNothing) {
    ClearRig rig;
    const D3DRECT rect = {10, 20, 26, 28};
    EXPECT_EQ(rig.Clear(0, {rect}), Words{});
    EXPECT_EQ(rig.Clear(4, {rect}), Words{});
    EXPECT_EQ(rig.Clear(kTarget | kDepth, {}), Words{});
    rig.ctx->Magic = 0; // no context of the driver's
    EXPECT_EQ(rig.Clear(kTarget, {rect}), Words{});
    EXPECT_EQ(rig.changes, 0u);
    EXPECT_EQ(rig.ctx->DirtyFlags, uint32_t{DIRTY_RENDERERS});
}

TEST(Clear32, LeavesTheCursorAlone) {
    ClearRig rig;
    uint32_t seen = 0;
    const auto space = rig.bus->readFIFOSpace;
    rig.bus->readFIFOSpace = [&] {
        seen |= rig.chip->Flags;
        return space();
    };
    rig.Clear(kTarget, {{0, 0, 1, 1}});
    EXPECT_EQ(seen & CursorExclude, 0u);
}

} // namespace
