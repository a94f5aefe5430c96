// Direct3D's clear of a context's buffers.
#include "driver/blit/pmblit32.h"
#include "driver/d3d/dcontext.h"
#include "tests/driver/blit/primitive_rig.h"

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

const Words kRepair = {W(5), 0x0D2, 0xA1, 0x0D3, 0xA6, 0x0D0, 0xA3, 0x070, 0xA2, 0x102, 0xA5};
const Words kCommonUnits = {W(16), 0x0FC, 0, 0x0D2, 0, 0x100, 0, 0x110, 0,
                            W(16), 0x103, 0, 0x105, 0, 0x102, 0, W(16)};
const Words kPermediaUnits = kCommonUnits + Words{0x0CE, 0, 0x0B1, 0, 0x0B2, 0,       0x0CF, 0,
                                                  0x0D0, 0, 0x1E0, 0, 0x0F9, 0x7F8000};

Words TargetFill(uint32_t left, uint32_t top, uint32_t right, uint32_t bottom) {
    return {W(12),     0x106,   0x12341234, 0x150,      0x55,         0x105,       0x20,
            0x156,     0x11111, 0x000,      left << 16, 0x002,        right << 16, 0x004,
            top << 16, 0x005,   0x10000,    0x006,      bottom - top, 0x007,       0x40,
            0x15A,     1,       0x105,      0};
}

// In 32-bit columns.
Words DepthFill(uint32_t left, uint32_t top, uint32_t right, uint32_t bottom) {
    return {W(5),       0x106,      0xFFFFFFFF,  0x150,     0x66,    0x15A,
            1,          0x105,      0x20,        0x156,     0x22222, W(9),
            0x00F58000, left << 16, right << 16, top << 16, 0x10000, bottom - top,
            0x40,       0x15A,      1,           0x105,     0};
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
    EXPECT_EQ(WordOf(words, 0x0D3), 0xFFFFFFFFu);
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
    const Words units = kPermediaUnits + Words{0x098, 0, 0x09B, 0};
    for (uint32_t device : {7u, 0x3D07u}) {
        ClearRig rig(device);
        EXPECT_EQ(rig.Clear(kTarget, {{10, 20, 26, 28}}), units + TargetFill(10, 20, 26, 28));
        EXPECT_EQ(rig.changes, 2u);
        EXPECT_EQ(rig.chip->CurrentContext, kContext2D);
    }
}

TEST(Clear32, OnGlintUsesTheSamePrimitives) {
    const Words glint = kCommonUnits + Words{0x090, 0, 0x070, 0, 0x0D0, 0};
    const Words mx = glint + Words{0x1E3, 0, 0x09C, 0, 0x09B, 0, 0x098, 0, 0x09A, 0};
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
