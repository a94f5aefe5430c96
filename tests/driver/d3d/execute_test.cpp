// The render path: drawing instructions, scenes, the ring of sub-buffers, changes of context.
#include "driver/d3d/execute.h"
#include "driver/texture/textures.h"
#include "tests/driver/d3d/context_support.h"
#include "tests/support/tag_names.h"

#include <cstring>

using namespace test;

namespace {

using test::kOnes;
constexpr uint32_t kBusy = 0x10;
using test::kInvalid;

// What the stand-ins for renderers and flush saw, and what they do.
struct Calls {
    std::string order;
    D3DContext* ctx = nullptr;
    D3DINSTRUCTION ins{};
    D3DTLVERTEX* vertices = nullptr;
    void* records = nullptr;
    uint32_t dirtyAtFlush = 0;
    bool busyAtFlush = false;
    bool busyAtDraw = false;
    bool loseTexture = false; // the flush finds the texture in system memory
    bool flip = false;        // the flush aims the target when asked to
    uint32_t words = 0;       // pairs that a renderer writes
};
Calls calls;

void Note(char kind, D3DContext* ctx, D3DINSTRUCTION* ins, D3DTLVERTEX* vertices, void* records) {
    calls.order += kind;
    calls.ctx = ctx;
    calls.ins = *ins;
    calls.vertices = vertices;
    calls.records = records;
    calls.busyAtDraw = (ctx->Driver->ChipInfo->Flags & kBusy) != 0;
    for (uint32_t i = 0; i < calls.words; ++i) {
        ReserveSpace(ctx, 8);
        EmitTag(ctx->Stream, t::ConstantColor, i);
    }
}
void Triangle(D3DContext* ctx, D3DINSTRUCTION* ins, D3DTLVERTEX* vertices, void* records) {
    Note('T', ctx, ins, vertices, records);
}
void Line(D3DContext* ctx, D3DINSTRUCTION* ins, D3DTLVERTEX* vertices, void* records) {
    Note('L', ctx, ins, vertices, records);
}
void Point(D3DContext* ctx, D3DINSTRUCTION* ins, D3DTLVERTEX* vertices, void* records) {
    Note('P', ctx, ins, vertices, records);
}
void Flush(DriverData* driver, D3DContext* ctx) {
    calls.order += 'F';
    calls.dirtyAtFlush = ctx->DirtyFlags;
    calls.busyAtFlush = (driver->ChipInfo->Flags & kBusy) != 0;
    if (calls.loseTexture) {
        ctx->TextureValid = 0;
    }
    if (calls.flip && (ctx->DirtyFlags & 0x10) != 0) {
        FlipSurfaces(driver, ctx);
    }
}

class Execute : public testing::Test {
  protected:
    Execute() { calls = {}; }

    // A context whose renderers and flush are the stand-ins, with clean state.
    D3DContext* MakeContext(ContextRig& rig, RigSurface* z = nullptr) {
        RigSurface& target = rig.MakeTarget();
        D3DContext* ctx = rig.Create(target, z);
        if (ctx == nullptr) {
            return nullptr;
        }
        ctx->TriangleRenderer = Triangle;
        ctx->LineRenderer = Line;
        ctx->PointRenderer = Point;
        ctx->HandleDirtyState = Flush;
        ctx->DirtyFlags = 0;
        rig.driver->TargetLost = 0;
        DropPending(ctx);
        rig.bus->Clear();
        return ctx;
    }

    static RigOptions Device(uint32_t id) {
        RigOptions options;
        options.deviceId = id;
        return options;
    }

    // Draws `count` records of kind `opcode`; ddrval.
    uint32_t Draw(ContextRig& rig, uint32_t handle, uint8_t opcode, uint16_t count = 1) {
        if (execute == nullptr) {
            execute = &rig.MakeBuffer(64);
            vertices = &rig.MakeBuffer(64);
        }
        data = {};
        data.dwhContext = handle;
        data.dwOffset = 20;
        data.dwTLOffset = 32;
        data.dwStatus = status;
        data.lpExeBuf = &execute->interface;
        data.lpTLBuf = &vertices->interface;
        data.diInstruction.bOpcode = opcode;
        data.diInstruction.bSize = 8;
        data.diInstruction.wCount = count;
        data.ddrval = 0xDEADBEEF;
        EXPECT_EQ(RenderPrimitive(&data), 1u);
        return data.ddrval;
    }

    static uint32_t Capture(uint32_t handle, uint32_t flag) {
        D3DHAL_SCENECAPTUREDATA capture{handle, flag, 0xDEADBEEF};
        EXPECT_EQ(SceneCapture(&capture), 1u);
        return capture.ddrval;
    }

    RigSurface* execute = nullptr;
    RigSurface* vertices = nullptr;
    D3DHAL_RENDERPRIMITIVEDATA data{};
    uint32_t status = 0xFFFFFFFF;
};

using RenderPrimitiveTest = Execute;
using SceneCaptureTest = Execute;
using FlipSurfacesTest = Execute;
using SynchroniseContextTest = Execute;
using SubBufferRing = Execute;

// Dispatch.

TEST_F(RenderPrimitiveTest, AZeroCountOnADeletedContextSucceedsAndTouchesNothing) {
    ContextRig rig;
    D3DContext* ctx = MakeContext(rig);
    ASSERT_NE(ctx, nullptr);
    rig.driver->ModeChangeCount = 9;
    rig.driver->TargetLost = 1;
    EXPECT_EQ(Draw(rig, 150, 3, 0), 0u);
    EXPECT_EQ(Draw(rig, ctx->ContextHandle, 3, 0), 0u);
    EXPECT_EQ(calls.order, "");
    EXPECT_EQ(ctx->ModeStamp, 0u);
    EXPECT_EQ(ctx->DirtyFlags, 0u);
    EXPECT_TRUE(rig.bus->events.empty());
    EXPECT_EQ(data.dwStatus, kOnes);
}

TEST_F(RenderPrimitiveTest, RefusesAnEmptySlotAndAWrongMagic) {
    ContextRig rig;
    D3DContext* ctx = MakeContext(rig);
    ASSERT_NE(ctx, nullptr);
    rig.driver->ModeChangeCount = 9;
    EXPECT_EQ(Draw(rig, 150, 3), 0x200u);
    ctx->Magic = 0xD3D00000; // not repaired here
    EXPECT_EQ(Draw(rig, ctx->ContextHandle, 3), 0x200u);
    EXPECT_EQ(ctx->Magic, 0xD3D00000u);
    EXPECT_EQ(calls.order, "");
    EXPECT_EQ(rig.driver->TargetLost, 0u);
    EXPECT_TRUE(rig.bus->events.empty());
}

TEST_F(RenderPrimitiveTest, PicksTheRendererByOpcodeAndHandsItRecordsAndVertices) {
    ContextRig rig;
    D3DContext* ctx = MakeContext(rig);
    ASSERT_NE(ctx, nullptr);
    const std::pair<uint8_t, const char*> kinds[] = {{3, "T"}, {2, "L"}, {1, "P"}};
    for (auto [opcode, order] : kinds) {
        calls = {};
        EXPECT_EQ(Draw(rig, ctx->ContextHandle, opcode, 5), 0u);
        EXPECT_EQ(calls.order, order);
        EXPECT_EQ(calls.ctx, ctx);
        EXPECT_EQ(calls.ins.bOpcode, opcode);
        EXPECT_EQ(calls.ins.bSize, 8u);
        EXPECT_EQ(calls.ins.wCount, 5u);
        EXPECT_EQ(calls.records, reinterpret_cast<uint8_t*>(execute->bytes.data()) + 20);
        EXPECT_EQ(reinterpret_cast<uint8_t*>(calls.vertices),
                  reinterpret_cast<uint8_t*>(vertices->bytes.data()) + 32);
        EXPECT_TRUE(calls.busyAtDraw);
        EXPECT_EQ(rig.chip->Flags & kBusy, 0u);
        EXPECT_EQ(data.dwStatus, kOnes);
    }
}

TEST_F(RenderPrimitiveTest, AnyOtherOpcodeDrawsNothingAndSucceeds) {
    ContextRig rig;
    D3DContext* ctx = MakeContext(rig);
    ASSERT_NE(ctx, nullptr);
    for (uint8_t opcode : {0, 4, 8, 11, 255}) {
        ctx->DirtyFlags = 1;
        calls = {};
        EXPECT_EQ(Draw(rig, ctx->ContextHandle, opcode), 0u);
        EXPECT_EQ(calls.order, "F"); // state goes out all the same
        EXPECT_EQ(rig.chip->Flags & kBusy, 0u);
    }
}

TEST_F(RenderPrimitiveTest, APointInstructionDrawsNothing) {
    ContextRig rig;
    D3DContext* ctx = rig.Create(rig.MakeTarget());
    ASSERT_NE(ctx, nullptr);
    ctx->HandleDirtyState = Flush;
    DropPending(ctx);
    EXPECT_EQ(Draw(rig, ctx->ContextHandle, 1, 3), 0u);
    EXPECT_TRUE(Rig::Pending(ctx).empty());
}

TEST_F(RenderPrimitiveTest, PointsOfTrianglesGoThroughTheTriangleRenderer) {
    ContextRig rig;
    D3DContext* ctx = MakeContext(rig);
    ASSERT_NE(ctx, nullptr);
    ctx->FillMode = 1; // D3DFILL_POINT
    EXPECT_EQ(Draw(rig, ctx->ContextHandle, 3), 0u);
    EXPECT_EQ(calls.order, "T");
}

TEST_F(RenderPrimitiveTest, FlushesDirtyStateOnceAheadOfTheDrawing) {
    ContextRig rig;
    D3DContext* ctx = MakeContext(rig);
    ASSERT_NE(ctx, nullptr);
    ctx->DirtyFlags = 0x0B;
    EXPECT_EQ(Draw(rig, ctx->ContextHandle, 3), 0u);
    EXPECT_EQ(Draw(rig, ctx->ContextHandle, 3), 0u);
    EXPECT_EQ(calls.order, "FTT");
    EXPECT_EQ(calls.dirtyAtFlush, 0x0Bu);
    EXPECT_TRUE(calls.busyAtFlush);
    EXPECT_EQ(ctx->DirtyFlags, 0u);
}

TEST_F(RenderPrimitiveTest, SendsNothingAtItsEnd) {
    ContextRig rig;
    D3DContext* ctx = MakeContext(rig);
    ASSERT_NE(ctx, nullptr);
    calls.words = 3;
    EXPECT_EQ(Draw(rig, ctx->ContextHandle, 3), 0u);
    EXPECT_TRUE(rig.bus->events.empty());
    EXPECT_EQ(PairsOf(Rig::Pending(ctx)),
              (Steps{{t::ConstantColor, 0}, {t::ConstantColor, 1}, {t::ConstantColor, 2}}));
}

// Flips and mode changes.

TEST_F(RenderPrimitiveTest, AfterAModeChangeTheFirstPrimitiveOfEachContextAimsItsTarget) {
    ContextRig rig;
    D3DContext* first = MakeContext(rig);
    D3DContext* second = MakeContext(rig);
    ASSERT_NE(first, nullptr);
    ASSERT_NE(second, nullptr);
    calls.flip = true;
    rig.driver->ModeChangeCount = 1;
    for (D3DContext* ctx : {first, second}) {
        calls.order.clear();
        EXPECT_EQ(Draw(rig, ctx->ContextHandle, 3), 0u);
        EXPECT_EQ(calls.order, "FT");
        EXPECT_EQ(calls.dirtyAtFlush, 0x10u);
        EXPECT_EQ(ctx->ModeStamp, 1u);
        EXPECT_EQ(PairsOf(Rig::Pending(ctx)), (Steps{{t::FBPixelOffset, 0x30000}}));
        EXPECT_EQ(rig.driver->TargetLost, 0u);
        calls.order.clear();
        EXPECT_EQ(Draw(rig, ctx->ContextHandle, 3), 0u);
        EXPECT_EQ(calls.order, "T");
    }
}

TEST_F(RenderPrimitiveTest, AfterAFlipOnlyTheFirstContextToDrawAimsItsTarget) {
    ContextRig rig;
    D3DContext* first = MakeContext(rig);
    D3DContext* second = MakeContext(rig);
    ASSERT_NE(first, nullptr);
    ASSERT_NE(second, nullptr);
    calls.flip = true;
    rig.driver->TargetLost = 1;
    EXPECT_EQ(Draw(rig, second->ContextHandle, 3), 0u);
    EXPECT_EQ(Draw(rig, first->ContextHandle, 3), 0u);
    EXPECT_EQ(calls.order, "FTT");
    EXPECT_EQ(PairsOf(Rig::Pending(second)), (Steps{{t::FBPixelOffset, 0x30000}}));
    EXPECT_TRUE(Rig::Pending(first).empty());
}

TEST_F(RenderPrimitiveTest, AModeChangeLosesTheTargetUntilSomethingIsDrawn) {
    ContextRig rig;
    D3DContext* ctx = MakeContext(rig);
    ASSERT_NE(ctx, nullptr);
    ctx->ZVisibleMode = 1;
    rig.driver->ModeChangeCount = 1;
    EXPECT_EQ(Draw(rig, ctx->ContextHandle, 3), 0u);
    EXPECT_EQ(rig.driver->TargetLost, 1u);
}

// Z visibility.

TEST_F(RenderPrimitiveTest, WithZVisibleOnReportsVisibleAndKeepsDirtyStatePending) {
    ContextRig rig;
    D3DContext* ctx = MakeContext(rig);
    ASSERT_NE(ctx, nullptr);
    ctx->ZVisibleMode = 1;
    ctx->DirtyFlags = 0x05;
    rig.driver->TargetLost = 1;
    EXPECT_EQ(Draw(rig, ctx->ContextHandle, 3), 0u);
    EXPECT_EQ(calls.order, "");
    EXPECT_EQ(data.dwStatus, 0xFEFFFFFFu);
    EXPECT_EQ(ctx->DirtyFlags, 0x15u);
    EXPECT_EQ(rig.driver->TargetLost, 1u);
    EXPECT_EQ(rig.chip->Flags & kBusy, 0u);
    EXPECT_TRUE(Rig::Pending(ctx).empty());
}

// Textures that the chip cannot reach.

TEST_F(RenderPrimitiveTest, ATextureInSystemMemoryFailsEachPrimitiveUntilItIsChanged) {
    ContextRig rig;
    D3DContext* ctx = MakeContext(rig);
    ASSERT_NE(ctx, nullptr);
    calls.loseTexture = true;
    ctx->DirtyFlags = 0x1D;
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(Draw(rig, ctx->ContextHandle, 3), kInvalid);
        EXPECT_EQ(ctx->DirtyFlags, 8u);
        EXPECT_EQ(rig.chip->Flags & kBusy, 0u);
    }
    EXPECT_EQ(calls.order, "FFF");
    calls.loseTexture = false;
    ctx->TextureValid = 1; // another texture was bound
    EXPECT_EQ(Draw(rig, ctx->ContextHandle, 3), 0u);
    EXPECT_EQ(calls.order, "FFFFT");
    EXPECT_EQ(calls.dirtyAtFlush, 8u);
    EXPECT_EQ(ctx->DirtyFlags, 0u);
}

TEST_F(RenderPrimitiveTest, ARealTextureInSystemMemoryIsRefusedOnEveryBoardWithTextures) {
    for (uint32_t id : {2u, 6u, 4u, 7u}) {
        SCOPED_TRACE(id);
        ContextRig rig(Device(id));
        execute = nullptr; // buffers belong to a rig
        D3DContext* ctx = rig.Create(rig.MakeTarget());
        ASSERT_NE(ctx, nullptr);
        RigSurface& surface = rig.MakeSurface(64, 64, DDSCAPS_TEXTURE, PixelSize16, 0x100000);
        surface.local.ddsCaps.dwCaps = DDSCAPS_TEXTURE | DDSCAPS_SYSTEMMEMORY;
        D3DHAL_TEXTURECREATEDATA create{};
        create.dwhContext = ctx->ContextHandle;
        create.lpDDS = &surface.interface;
        TextureCreate(&create);
        ASSERT_EQ(create.ddrval, 0u);
        ctx->TextureHandle = create.dwHandle;
        EXPECT_EQ(Draw(rig, ctx->ContextHandle, 1), kInvalid);
        EXPECT_EQ(Draw(rig, ctx->ContextHandle, 1), kInvalid);
        EXPECT_EQ(ctx->DirtyFlags, 8u);
        ctx->TextureHandle = 0;
        ctx->DirtyFlags |= 9;
        EXPECT_EQ(Draw(rig, ctx->ContextHandle, 1), 0u);
        ctx->TextureHandle = 12345; // names nothing: no error here
        ctx->DirtyFlags |= 9;
        EXPECT_EQ(Draw(rig, ctx->ContextHandle, 1), 0u);
    }
}

// Context synchronisation.

void SetHeadWords(D3DContext* ctx) {
    ctx->Copies.FogMode = 0xA1;
    ctx->Copies.TextureAddressMode = 0xA2;
    ctx->Copies.TextureColorMode = 0xA3;
    ctx->Copies.TextureReadMode = 0xA4;
    ctx->AlphaBlendModeOut = 0xA5;
    ctx->FogColor = 0xA6;
}

TEST_F(SynchroniseContextTest, AFIFOContextOnTheFirstPermediaSendsFiveWordsAgain) {
    for (uint32_t id : {4u, 0x3D04u}) {
        for (bool fog : {false, true}) {
            ContextRig rig(Device(id));
            execute = nullptr;
            rig.SetRegistry("Direct3DHAL.NoDMA", "1");
            D3DContext* ctx = MakeContext(rig);
            ASSERT_NE(ctx, nullptr);
            SetHeadWords(ctx);
            ctx->RenderFlags = fog ? uint32_t{RF_FOG} : 0;
            // Current already: nothing.
            EXPECT_EQ(Draw(rig, ctx->ContextHandle, 3), 0u);
            EXPECT_TRUE(rig.bus->events.empty());

            ChangeContext(rig.driver, rig.chip, kContext2D);
            rig.MeterFIFO();
            rig.bus->Clear();
            EXPECT_EQ(Draw(rig, ctx->ContextHandle, 3), 0u);
            EXPECT_EQ(rig.chip->CurrentContext, ctx->Stream.HardwareContext);
            const Steps expected = {Wait(5),
                                    {t::FogMode, 0xA1},
                                    {t::FogColor, fog ? 0xA6 : kOnes},
                                    {t::TextureColorMode, 0xA3},
                                    {t::TextureAddressMode, 0xA2},
                                    {t::AlphaBlendMode, 0xA5}};
            EXPECT_EQ(rig.MeteredSteps(), expected);
            EXPECT_EQ(ctx->DirtyFlags, 0u);
        }
    }
}

TEST_F(SynchroniseContextTest, RunsBeforeTheCursorIsKeptAway) {
    ContextRig rig;
    rig.SetRegistry("Direct3DHAL.NoDMA", "1");
    D3DContext* ctx = MakeContext(rig);
    ASSERT_NE(ctx, nullptr);
    ChangeContext(rig.driver, rig.chip, kContext2D);
    uint32_t seen = 0;
    rig.bus->readFIFOSpace = [&] {
        seen |= rig.chip->Flags;
        return 1000u;
    };
    EXPECT_EQ(Draw(rig, ctx->ContextHandle, 3), 0u);
    EXPECT_EQ(seen & kBusy, 0u);
    EXPECT_TRUE(calls.busyAtDraw);
}

TEST_F(SynchroniseContextTest, OtherChipsChangeContextAndSendNothing) {
    for (uint32_t id : {1u, 2u, 6u, 7u, 0x3D07u}) {
        ContextRig rig(Device(id));
        execute = nullptr;
        rig.SetRegistry("Direct3DHAL.NoDMA", "1");
        D3DContext* ctx = MakeContext(rig);
        ASSERT_NE(ctx, nullptr);
        ChangeContext(rig.driver, rig.chip, kContext2D);
        EXPECT_EQ(Draw(rig, ctx->ContextHandle, 3), 0u);
        EXPECT_EQ(rig.chip->CurrentContext, ctx->Stream.HardwareContext);
        EXPECT_TRUE(rig.bus->FifoWords().empty());
    }
}

TEST_F(SynchroniseContextTest, WithDisconnectOnTheWordsGoOutWithoutAWait) {
    ContextRig rig;
    rig.SetRegistry("Direct3DHAL.NoDMA", "1");
    D3DContext* ctx = MakeContext(rig);
    ASSERT_NE(ctx, nullptr);
    SetHeadWords(ctx);
    ctx->Stream.DisconnectMode = 1;
    ChangeContext(rig.driver, rig.chip, kContext2D);
    rig.MeterFIFO();
    rig.bus->Clear();
    EXPECT_EQ(Draw(rig, ctx->ContextHandle, 3), 0u);
    const Steps expected = {{t::FogMode, 0xA1},
                            {t::FogColor, kOnes},
                            {t::TextureColorMode, 0xA3},
                            {t::TextureAddressMode, 0xA2},
                            {t::AlphaBlendMode, 0xA5}};
    EXPECT_EQ(rig.MeteredSteps(), expected);
}

TEST_F(SynchroniseContextTest, UnderDMANothingHappensUntilTheNextSubBuffer) {
    ContextRig rig;
    D3DContext* ctx = MakeContext(rig);
    ASSERT_NE(ctx, nullptr);
    SetHeadWords(ctx);
    EXPECT_EQ(rig.chip->CurrentContext, kContext2D);
    calls.words = 1;
    EXPECT_EQ(Draw(rig, ctx->ContextHandle, 3), 0u);
    EXPECT_EQ(rig.chip->CurrentContext, kContext2D);
    EXPECT_EQ(PairsOf(Rig::Pending(ctx)), (Steps{{t::ConstantColor, 0}}));
    EXPECT_TRUE(rig.bus->events.empty());
    // The end of the scene changes the context and heads the next sub-buffer.
    EXPECT_EQ(Capture(ctx->ContextHandle, 1), 0u);
    EXPECT_EQ(rig.chip->CurrentContext, ctx->Stream.HardwareContext);
    const Steps head = {{t::FogMode, 0xA1},          {t::TextureAddressMode, 0xA2},
                        {t::TextureColorMode, 0xA3}, {t::TextureReadMode, 0xA4},
                        {t::AlphaBlendMode, 0xA5},   {t::FogColor, kOnes}};
    EXPECT_EQ(PairsOf(Rig::Pending(ctx)), head);
}

// Sub-buffers.

// A ring of `count` sub-buffers of `words` words each.
RigOptions RingOptions(uint32_t id, uint32_t count, uint32_t words) {
    RigOptions options;
    options.deviceId = id;
    options.dmaBufferBytes = count * words * 4;
    return options;
}

TEST_F(SubBufferRing, TheFillLimitGrowsByTwoHundredFiftySixUpToTheWholeSubBuffer) {
    ContextRig rig(RingOptions(7, 2, 700));
    rig.SetRegistry("Direct3DHAL.SubBuffers", "2");
    D3DContext* ctx = MakeContext(rig);
    ASSERT_NE(ctx, nullptr);
    EXPECT_EQ(Capture(ctx->ContextHandle, 0), 0u);
    calls.words = (256 + 512 + 700 + 700) / 2 + 1;
    EXPECT_EQ(Draw(rig, ctx->ContextHandle, 3), 0u);
    ASSERT_EQ(rig.bus->transfers.size(), 4u);
    const uint32_t sizes[] = {256, 512, 700, 700};
    uint32_t next = 0;
    for (uint32_t i = 0; i < 4; ++i) {
        const Transfer& transfer = rig.bus->transfers[i];
        EXPECT_EQ(transfer.address, rig.chip->DMABufferPhysical[0] + (i % 2) * 700 * 4);
        ASSERT_EQ(transfer.words.size(), sizes[i]);
        for (const Step& step : PairsOf(transfer.words)) {
            EXPECT_EQ(step, (Step{t::ConstantColor, next++}));
        }
    }
    EXPECT_EQ(ctx->Stream.SubBufferFlushWords, 700u);
    EXPECT_EQ(ctx->Stream.SubBufferIndex, 0u);
    EXPECT_EQ(PairsOf(Rig::Pending(ctx)), (Steps{{t::ConstantColor, next}}));
    EXPECT_EQ(rig.chip->CurrentContext, ctx->Stream.HardwareContext);
}

TEST_F(SubBufferRing, OnTheFirstPermediaEachNewSubBufferBeginsWithItsHead) {
    for (uint32_t id : {4u, 0x3D04u}) {
        ContextRig rig(RingOptions(id, 2, 256));
        execute = nullptr;
        rig.SetRegistry("Direct3DHAL.SubBuffers", "2");
        D3DContext* ctx = MakeContext(rig);
        ASSERT_NE(ctx, nullptr);
        SetHeadWords(ctx);
        ctx->RenderFlags = RF_FOG;
        calls.words = 128 + 122 + 1;
        EXPECT_EQ(Draw(rig, ctx->ContextHandle, 3), 0u);
        ASSERT_EQ(rig.bus->transfers.size(), 2u);
        EXPECT_EQ(PairsOf(rig.bus->transfers[0].words)[0], (Step{t::ConstantColor, 0}));
        const Steps head = {{t::FogMode, 0xA1},          {t::TextureAddressMode, 0xA2},
                            {t::TextureColorMode, 0xA3}, {t::TextureReadMode, 0xA4},
                            {t::AlphaBlendMode, 0xA5},   {t::FogColor, 0xA6}};
        const Steps second = PairsOf(rig.bus->transfers[1].words);
        ASSERT_EQ(second.size(), 128u);
        EXPECT_EQ(Steps(second.begin(), second.begin() + 6), head);
        EXPECT_EQ(second[6], (Step{t::ConstantColor, 128}));
        const Steps third = PairsOf(Rig::Pending(ctx));
        ASSERT_EQ(third.size(), 7u);
        EXPECT_EQ(Steps(third.begin(), third.begin() + 6), head);
        EXPECT_EQ(third[6], (Step{t::ConstantColor, 250}));
    }
}

TEST_F(SubBufferRing, AReservationWrapsAnIndexPastTheEnd) {
    ContextRig rig(RingOptions(7, 3, 300));
    rig.SetRegistry("Direct3DHAL.SubBuffers", "3");
    D3DContext* ctx = MakeContext(rig);
    ASSERT_NE(ctx, nullptr);
    ctx->Stream.SubBufferIndex = 2;
    ctx->Stream.SubBufferCount = 2; // the index is out of range
    ctx->Stream.WritePointer = ctx->Stream.SubBuffers[2].Linear + 255;
    rig.chip->DMAState = DMAIdle;
    ReserveSpace(ctx, 8);
    EXPECT_EQ(ctx->Stream.SubBufferIndex, 0u);
}

// Scenes.

TEST_F(SceneCaptureTest, RefusesABadContext) {
    ContextRig rig;
    D3DContext* ctx = MakeContext(rig);
    ASSERT_NE(ctx, nullptr);
    EXPECT_EQ(Capture(150, 0), 0x200u);
    ctx->Magic = 0;
    EXPECT_EQ(Capture(ctx->ContextHandle, 1), 0x200u);
}

TEST_F(SceneCaptureTest, TheStartSetsTheLimitBackAndMovesNothing) {
    ContextRig rig;
    D3DContext* ctx = MakeContext(rig);
    ASSERT_NE(ctx, nullptr);
    ctx->Stream.SubBufferFlushWords = 0x400;
    ctx->Stream.SubBufferIndex = 1;
    ctx->Stream.WritePointer = ctx->Stream.SubBuffers[1].Linear + 40;
    EXPECT_EQ(Capture(ctx->ContextHandle, 0), 0u);
    EXPECT_EQ(ctx->Stream.SubBufferFlushWords, 0x100u);
    EXPECT_EQ(ctx->Stream.SubBufferIndex, 1u);
    EXPECT_EQ(ctx->Stream.WritePointer, ctx->Stream.SubBuffers[1].Linear + 40);
    EXPECT_TRUE(rig.bus->events.empty());
}

TEST_F(SceneCaptureTest, TheStartDoesNotCapTheLimitByASmallSubBuffer) {
    ContextRig rig(RingOptions(7, 8, 200));
    D3DContext* ctx = MakeContext(rig);
    ASSERT_NE(ctx, nullptr);
    EXPECT_EQ(ctx->Stream.SubBufferFlushWords, 200u);
    EXPECT_EQ(Capture(ctx->ContextHandle, 0), 0u);
    EXPECT_EQ(ctx->Stream.SubBufferFlushWords, 256u);
}

TEST_F(SceneCaptureTest, TheStartSetsTheLimitInFIFOModeTooUntilTheFirstOverflow) {
    ContextRig rig;
    rig.SetRegistry("Direct3DHAL.NoDMA", "1");
    D3DContext* ctx = MakeContext(rig);
    ASSERT_NE(ctx, nullptr);
    EXPECT_EQ(Capture(ctx->ContextHandle, 0), 0u);
    EXPECT_EQ(ctx->Stream.SubBufferFlushWords, 0x100u);
    calls.words = 128 + 2; // up to the limit, then from the window's start at every pair
    EXPECT_EQ(Draw(rig, ctx->ContextHandle, 3), 0u);
    EXPECT_EQ(ctx->Stream.SubBufferFlushWords, 0u);
    EXPECT_EQ(ctx->Stream.WritePointer, ctx->Stream.Current().Linear + 2);
    EXPECT_EQ(PairsOf(rig.bus->FifoWords()).size(), 130u);
}

TEST_F(SceneCaptureTest, TheEndSendsWhatIsPendingAndMovesOn) {
    for (uint32_t id : {7u, 4u}) {
        ContextRig rig(RingOptions(id, 2, 512));
        execute = nullptr;
        rig.SetRegistry("Direct3DHAL.SubBuffers", "2");
        D3DContext* ctx = MakeContext(rig);
        ASSERT_NE(ctx, nullptr);
        const Steps head = {{t::FogMode, 0xA1},          {t::TextureAddressMode, 0xA2},
                            {t::TextureColorMode, 0xA3}, {t::TextureReadMode, 0xA4},
                            {t::AlphaBlendMode, 0xA5},   {t::FogColor, kOnes}};
        SetHeadWords(ctx);
        ctx->RenderFlags = 0;
        ctx->Stream.SubBufferFlushWords = 300;
        calls.words = 2;
        EXPECT_EQ(Draw(rig, ctx->ContextHandle, 3), 0u);
        EXPECT_EQ(Capture(ctx->ContextHandle, 1), 0u);
        ASSERT_EQ(rig.bus->transfers.size(), 1u);
        EXPECT_EQ(rig.bus->transfers[0].address, rig.chip->DMABufferPhysical[0]);
        EXPECT_EQ(PairsOf(rig.bus->transfers[0].words),
                  (Steps{{t::ConstantColor, 0}, {t::ConstantColor, 1}}));
        EXPECT_EQ(ctx->Stream.SubBufferIndex, 1u);
        EXPECT_EQ(ctx->Stream.SubBufferFlushWords, 300u);
        EXPECT_EQ(PairsOf(Rig::Pending(ctx)), id == 4 ? head : Steps{});
        EXPECT_EQ(rig.chip->Flags & kBusy, 0u);
        // Again: on the first Permedia the head alone counts as something to send.
        EXPECT_EQ(Capture(ctx->ContextHandle, 1), 0u);
        EXPECT_EQ(rig.bus->transfers.size(), id == 4 ? 2u : 1u);
        EXPECT_EQ(ctx->Stream.SubBufferIndex, id == 4 ? 0u : 1u);
    }
}

TEST_F(SceneCaptureTest, TheEndWithAnEmptySubBufferStartsNoDMA) {
    ContextRig rig;
    D3DContext* ctx = MakeContext(rig);
    ASSERT_NE(ctx, nullptr);
    EXPECT_EQ(Capture(ctx->ContextHandle, 1), 0u);
    EXPECT_TRUE(rig.bus->events.empty());
    EXPECT_EQ(ctx->Stream.SubBufferIndex, 0u);
}

TEST_F(SceneCaptureTest, TheEndInFIFOModeDoesNothing) {
    ContextRig rig;
    rig.SetRegistry("Direct3DHAL.NoDMA", "1");
    D3DContext* ctx = MakeContext(rig);
    ASSERT_NE(ctx, nullptr);
    calls.words = 2;
    EXPECT_EQ(Draw(rig, ctx->ContextHandle, 3), 0u);
    rig.bus->Clear();
    uint32_t* at = ctx->Stream.WritePointer;
    EXPECT_NE(at, ctx->Stream.Current().Linear);
    EXPECT_EQ(Capture(ctx->ContextHandle, 1), 0u);
    EXPECT_TRUE(rig.bus->events.empty());
    EXPECT_EQ(ctx->Stream.WritePointer, at);
}

TEST_F(SceneCaptureTest, OtherFlagsDoNothing) {
    ContextRig rig;
    D3DContext* ctx = MakeContext(rig);
    ASSERT_NE(ctx, nullptr);
    ctx->Stream.SubBufferFlushWords = 300;
    calls.words = 1;
    EXPECT_EQ(Draw(rig, ctx->ContextHandle, 3), 0u);
    EXPECT_EQ(Capture(ctx->ContextHandle, 2), 0u);
    EXPECT_TRUE(rig.bus->events.empty());
    EXPECT_EQ(ctx->Stream.SubBufferFlushWords, 300u);
}

TEST_F(SceneCaptureTest, TheEndComparesTheIndexForEqualityOnly) {
    ContextRig rig(RingOptions(7, 4, 300));
    rig.SetRegistry("Direct3DHAL.SubBuffers", "4");
    D3DContext* ctx = MakeContext(rig);
    ASSERT_NE(ctx, nullptr);
    ctx->Stream.SubBufferCount = 2;
    ctx->Stream.SubBufferIndex = 2; // out of range: 3 is not 2, and stays
    ctx->Stream.WritePointer = ctx->Stream.SubBuffers[2].Linear;
    ReserveSpace(ctx, 8);
    EmitTag(ctx->Stream, t::ConstantColor, 1);
    EXPECT_EQ(Capture(ctx->ContextHandle, 1), 0u);
    EXPECT_EQ(ctx->Stream.SubBufferIndex, 3u);
}

// Aiming.

TEST_F(FlipSurfacesTest, NamesTheBuffersInTheUnitsOfEachFamily) {
    const std::tuple<uint32_t, uint32_t, uint32_t> cases[] = {
        {4, 0x30000, 0x40000}, {7, 0x30000, 0x40000}, {2, 0x30000, 0x1000}, {1, 0x30000, 0x1000}};
    for (auto [id, colour, depth] : cases) {
        SCOPED_TRACE(id);
        ContextRig rig(Device(id));
        RigSurface& z = rig.MakeZ();
        D3DContext* ctx = MakeContext(rig, &z);
        ASSERT_NE(ctx, nullptr);
        rig.driver->TargetLost = 1;
        FlipSurfaces(rig.driver, ctx);
        EXPECT_EQ(PairsOf(Rig::Pending(ctx)),
                  (Steps{{t::FBPixelOffset, colour}, {t::LBWindowBase, depth}}));
        EXPECT_EQ(ctx->WindowBaseColour, colour);
        EXPECT_EQ(ctx->WindowBaseDepth, depth);
        EXPECT_EQ(rig.driver->TargetLost, 0u);
    }
}

TEST_F(FlipSurfacesTest, OnAnyOtherFamilyTheOldDepthBaseGoesOutAgain) {
    ContextRig rig;
    RigSurface& z = rig.MakeZ();
    D3DContext* ctx = MakeContext(rig, &z);
    ASSERT_NE(ctx, nullptr);
    rig.chip->Family = 2;
    ctx->WindowBaseDepth = 0x777;
    FlipSurfaces(rig.driver, ctx);
    EXPECT_EQ(PairsOf(Rig::Pending(ctx)),
              (Steps{{t::FBPixelOffset, 0x30000}, {t::LBWindowBase, 0x777}}));
}

TEST_F(FlipSurfacesTest, ATargetOfNoRecordIsAimedAtAndHasNoOwner) {
    ContextRig rig;
    D3DContext* ctx = MakeContext(rig);
    ASSERT_NE(ctx, nullptr);
    ctx->RenderTargetSurface->lpGbl->dwReserved1 = 0;
    FlipSurfaces(rig.driver, ctx);
    EXPECT_EQ(PairsOf(Rig::Pending(ctx)), (Steps{{t::FBPixelOffset, 0x30000}}));
}

TEST_F(FlipSurfacesTest, DividesByTheDisplaysBytesAtSetUpAndNotByTheTargets) {
    ContextRig rig;
    D3DContext* ctx = MakeContext(rig);
    ASSERT_NE(ctx, nullptr);
    RigSurface& other = rig.MakeTarget(PixelSize32);
    ctx->RenderTargetSurface = &other.local;
    rig.driver->PixelDepthBits = 32;
    FlipSurfaces(rig.driver, ctx);
    EXPECT_EQ(ctx->WindowBaseColour, 0x30000u);
    ctx->BytesPerPixel = 3; // unsigned, and rounded down
    other.Global().fpVidMem = reinterpret_cast<uint32_t>(rig.driver->FrameBufferBase) - 1;
    FlipSurfaces(rig.driver, ctx);
    EXPECT_EQ(ctx->WindowBaseColour, 0x55555555u);
}

TEST_F(FlipSurfacesTest, MarksTheTargetAsTheContexts) {
    ContextRig rig;
    D3DContext* ctx = MakeContext(rig);
    ASSERT_NE(ctx, nullptr);
    RigSurface& other = rig.MakeTarget();
    ctx->RenderTargetSurface = &other.local;
    FlipSurfaces(rig.driver, ctx);
    EXPECT_EQ(other.priv.OwnerContext, ctx);
}

TEST_F(FlipSurfacesTest, WaitsForFourEntriesInFIFOMode) {
    ContextRig rig;
    rig.SetRegistry("Direct3DHAL.NoDMA", "1");
    D3DContext* ctx = MakeContext(rig);
    ASSERT_NE(ctx, nullptr);
    rig.MeterFIFO();
    rig.bus->Clear();
    FlipSurfaces(rig.driver, ctx);
    EXPECT_EQ(rig.MeteredSteps(), (Steps{Wait(4), {t::FBPixelOffset, 0x30000}}));
    EXPECT_EQ(ctx->Stream.WritePointer, ctx->Stream.Current().Linear + 2);
}

} // namespace
