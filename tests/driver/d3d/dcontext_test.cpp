// The birth and death of Direct3D contexts.
#include "driver/d3d/dcontext.h"
#include "driver/diag/korvtrace.h"
#include "driver/texture/textures.h"
#include "host/win32/heap.h"
#include "host/win32/sync.h"
#include "tests/driver/d3d/context_support.h"
#include "tests/support/tag_names.h"

#include <algorithm>
#include <set>

using namespace test;

namespace {

uint32_t CreateResult(ContextRig& rig, RigSurface* target, RigSurface* z = nullptr) {
    D3DHAL_CONTEXTCREATEDATA data = rig.CreateData(target, z);
    EXPECT_EQ(CreateDirect3DContext(&data), 1u);
    return data.ddrval;
}

uint16_t EndIndexOf(ContextRig& rig, const D3DContext* ctx) {
    return rig.chip->ContextBlocks->EndIndex[ctx->Stream.HardwareContext];
}

uint32_t LiveSlots() {
    uint32_t live = 0;
    for (const D3DContext* slot : ContextSlots) {
        live += slot != nullptr;
    }
    return live;
}

uint32_t Reap(uint32_t pid) {
    D3DHAL_CONTEXTDESTROYALLDATA data{pid, 0xDEADBEEF};
    EXPECT_EQ(DeleteBadProcess(&data), 1u);
    return data.ddrval;
}

TextureRecord* AddTexture(D3DContext* ctx, uint32_t magic, uint32_t context, uint32_t bucket) {
    auto* texture = static_cast<TextureRecord*>(
        HeapAlloc(DXGlobals.Heap, HEAP_ZERO_MEMORY, sizeof(TextureRecord)));
    texture->Magic = magic;
    texture->Context = context;
    texture->Handle = bucket;
    texture->Next = ctx->TextureBuckets[bucket];
    if (texture->Next != nullptr) {
        texture->Next->Prev = texture;
    }
    ctx->TextureBuckets[bucket] = texture;
    return texture;
}

// Sub-buffers.

TEST(CreateDirect3DContext, SubBuffersOfOneGivesARingOfTwoAndAboveThirtyTwoGivesThirtyTwo) {
    const std::pair<const char*, uint32_t> cases[] = {
        {"0", 8}, {"1", 2}, {"2", 2}, {"3", 3}, {"32", 32}, {"33", 32}, {"100", 32}, {"-1", 32}};
    for (auto [text, count] : cases) {
        SCOPED_TRACE(text);
        ContextRig rig;
        rig.SetRegistry("Direct3DHAL.SubBuffers", text);
        EXPECT_EQ(SubBufferCountFor(rig.chip), count);
        D3DContext* ctx = rig.Create(rig.MakeTarget());
        ASSERT_NE(ctx, nullptr);
        EXPECT_EQ(ctx->Stream.SubBufferCount, count);
        EXPECT_EQ(EndIndexOf(rig, ctx), count > 2 ? count - 1 : 0);
    }
    ContextRig rig;
    EXPECT_EQ(SubBufferCountFor(rig.chip), 8u); // absent
}

TEST(CreateDirect3DContext, TheBoardsFlagForcesTwoSubBuffersWithoutAQueue) {
    for (const char* text : {"0", "1", "100"}) {
        RigOptions options;
        options.chipFlags = 4;
        ContextRig rig(options);
        rig.SetRegistry("Direct3DHAL.SubBuffers", text);
        D3DContext* ctx = rig.Create(rig.MakeTarget());
        ASSERT_NE(ctx, nullptr);
        EXPECT_EQ(ctx->Stream.SubBufferCount, 2u);
        EXPECT_EQ(EndIndexOf(rig, ctx), 0u);
    }
}

TEST(CreateDirect3DContext, CutsTheBufferIntoEqualPiecesInOrder) {
    RigOptions options;
    options.dmaBufferBytes = 0x4004; // not a multiple of the pieces
    ContextRig rig(options);
    rig.SetRegistry("Direct3DHAL.SubBuffers", "3");
    D3DContext* ctx = rig.Create(rig.MakeTarget());
    ASSERT_NE(ctx, nullptr);
    const CommandStream& stream = ctx->Stream;
    constexpr uint32_t kWords = 1365; // 0x4004 / 3 = 5462 bytes, down to words
    EXPECT_EQ(stream.CommandMode, 1u);
    EXPECT_EQ(stream.SubBufferWords, kWords);
    EXPECT_EQ(stream.SubBufferFlushWords, 256u);
    EXPECT_EQ(stream.SubBufferIndex, 0u);
    EXPECT_EQ(stream.StartDMA, StartDMA);
    EXPECT_EQ(ctx->DMABufferHandle, 0);
    EXPECT_EQ(rig.chip->DMABufferInUse, 1u);
    for (uint32_t i = 0; i < 3; ++i) {
        const uint32_t linear = rig.chip->DMABufferLinear[0] + i * kWords * 4;
        EXPECT_EQ(stream.SubBuffers[i].Physical, rig.chip->DMABufferPhysical[0] + i * kWords * 4);
        EXPECT_EQ(reinterpret_cast<uint32_t>(stream.SubBuffers[i].Linear), linear);
        EXPECT_EQ(reinterpret_cast<uint32_t>(stream.SubBuffers[i].Last), linear + kWords * 4 - 4);
    }
    EXPECT_EQ(stream.SubBuffers[3].Linear, nullptr);
}

TEST(CreateDirect3DContext, ASmallBufferStartsTheFlushLimitAtTheSubBuffersSize) {
    RigOptions options;
    options.dmaBufferBytes = 8 * 200 * 4;
    ContextRig rig(options);
    D3DContext* ctx = rig.Create(rig.MakeTarget());
    ASSERT_NE(ctx, nullptr);
    EXPECT_EQ(ctx->Stream.SubBufferWords, 200u);
    EXPECT_EQ(ctx->Stream.SubBufferFlushWords, 200u);
}

TEST(CreateDirect3DContext, TheFirstSubBufferGetsNoHead) {
    ContextRig rig;
    D3DContext* ctx = rig.Create(rig.MakeTarget());
    ASSERT_NE(ctx, nullptr);
    EXPECT_EQ(ctx->Stream.SubBuffers[0].Linear[0], t::RasterizerMode);
}

void ExpectFIFOContext(ContextRig& rig, D3DContext* ctx) {
    ASSERT_NE(ctx, nullptr);
    const CommandStream& stream = ctx->Stream;
    const uint32_t window = reinterpret_cast<uint32_t>(rig.driver->Registers) + 0x2000;
    EXPECT_EQ(stream.CommandMode, 2u);
    EXPECT_EQ(stream.SubBufferCount, 1u);
    EXPECT_EQ(stream.SubBufferIndex, 0u);
    EXPECT_EQ(stream.SubBuffers[0].Physical, 0u);
    EXPECT_EQ(reinterpret_cast<uint32_t>(stream.SubBuffers[0].Linear), window);
    EXPECT_EQ(reinterpret_cast<uint32_t>(stream.SubBuffers[0].Last), window + 0xFA0);
    EXPECT_EQ(stream.SubBuffers[1].Linear, nullptr);
    EXPECT_EQ(stream.StartDMA, nullptr);
    EXPECT_EQ(stream.SubBufferFlushWords, 0u);
    EXPECT_EQ(stream.SubBufferWords, 0u);
    EXPECT_EQ(EndIndexOf(rig, ctx), 0u);
}

TEST(CreateDirect3DContext, NoDMAOfOneYieldsAFIFOContextWithOnePseudoSubBuffer) {
    ContextRig rig;
    rig.SetRegistry("Direct3DHAL.NoDMA", "1");
    ExpectFIFOContext(rig, rig.Create(rig.MakeTarget()));
    EXPECT_EQ(rig.chip->DMABufferInUse, 0u);
}

TEST(CreateDirect3DContext, OtherValuesOfNoDMAKeepDMA) {
    ContextRig rig;
    rig.SetRegistry("Direct3DHAL.NoDMA", "2");
    D3DContext* ctx = rig.Create(rig.MakeTarget());
    ASSERT_NE(ctx, nullptr);
    EXPECT_EQ(ctx->Stream.CommandMode, 1u);
}

TEST(CreateDirect3DContext, FallsBackToTheFIFOWithoutAFreeDMABuffer) {
    RigOptions options;
    options.dmaBufferCount = 1;
    ContextRig rig(options);
    D3DContext* first = rig.Create(rig.MakeTarget());
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(first->Stream.CommandMode, 1u);
    ExpectFIFOContext(rig, rig.Create(rig.MakeTarget()));
}

// The record.

TEST(CreateDirect3DContext, FillsTheRecordAndPublishesIt) {
    for (auto [id, useDelta] : {std::pair{4u, 0u}, std::pair{7u, 1u}, std::pair{0x3D07u, 1u}}) {
        RigOptions options;
        options.deviceId = id;
        ContextRig rig(options);
        rig.driver->ModeChangeCount = 41;
        RigSurface& target = rig.MakeTarget();
        RigSurface& z = rig.MakeZ();
        D3DHAL_CONTEXTCREATEDATA data = rig.CreateData(&target, &z, 0x1234);
        EXPECT_EQ(CreateDirect3DContext(&data), 1u);
        EXPECT_EQ(data.ddrval, 0u);
        EXPECT_EQ(data.dwhContext, 1u);
        D3DContext* ctx = ContextSlots[1];
        ASSERT_NE(ctx, nullptr);
        EXPECT_EQ(ctx->Magic, 0xD3D00100u);
        EXPECT_EQ(ctx->MemAddress, ctx);
        EXPECT_EQ(ctx->MemHandle, reinterpret_cast<uint32_t>(ctx) ^ 0x5A5A5A5A);
        EXPECT_EQ(ctx->ContextHandle, 1u);
        EXPECT_EQ(ctx->Driver, rig.driver);
        EXPECT_EQ(ctx->RenderTargetSurface, &target.local);
        EXPECT_EQ(ctx->ZBufferSurface, &z.local);
        EXPECT_EQ(ctx->ProcessId, 0x1234u);
        EXPECT_EQ(ctx->CullMode, 3u);
        EXPECT_EQ(ctx->TextureValid, 1u);
        EXPECT_EQ(ctx->StippleIndex, 16u);
        EXPECT_EQ(ctx->ModeStamp, 41u);
        EXPECT_EQ(ctx->TextureHandle, 0u);
        EXPECT_EQ(ctx->NextTextureHandle, 0u);
        EXPECT_EQ(ctx->UseDelta, useDelta);
        EXPECT_EQ(ctx->TraceEnabled, 0u);
        EXPECT_EQ(ctx->SharedBuffers, 0u);
        EXPECT_EQ(rig.chip->Flags & CursorExclude, 0u);
        EXPECT_EQ(target.priv.OwnerContext, ctx); // set again when the target is aimed at
        const ContextBlock* block = rig.chip->ContextBlocks;
        const uint32_t hardware = ctx->Stream.HardwareContext;
        EXPECT_EQ(block->Type[hardware], 3u);
        EXPECT_EQ(block->Handle[hardware], ctx->MemHandle);
        EXPECT_EQ(block->Owner[hardware], reinterpret_cast<uint32_t>(ctx));
    }
}

TEST(CreateDirect3DContext, KeepsTheCursorAwayWhileItSetsTheChipUp) {
    ContextRig rig;
    rig.SetRegistry("Direct3DHAL.NoDMA", "1");
    bool words = false;
    bool excluded = true;
    rig.bus->readFIFOSpace = [&] {
        const auto& events = rig.bus->events;
        words = words || (!events.empty() && events.back().kind == 'f');
        excluded = excluded && (!words || (rig.chip->Flags & CursorExclude) != 0);
        return 1000u;
    };
    ASSERT_NE(rig.Create(rig.MakeTarget()), nullptr);
    EXPECT_TRUE(words);
    EXPECT_TRUE(excluded);
    EXPECT_EQ(rig.chip->Flags & CursorExclude, 0u);
}

TEST(CreateDirect3DContext, TakesThePrimaryDisplayWhereTheGlobalObjectNamesNone) {
    ContextRig rig;
    rig.directDraw.dwReserved1 = 0;
    pDriverData = rig.driver;
    D3DContext* ctx = rig.Create(rig.MakeTarget());
    ASSERT_NE(ctx, nullptr);
    EXPECT_EQ(ctx->Driver, rig.driver);
}

TEST(CreateDirect3DContext, HonoursDisableDeltaOnTheFirstPermediaOnly) {
    const std::tuple<uint32_t, const char*, uint32_t> cases[] = {
        {4, "1", 0}, {0x3D04, "1", 0}, {4, "0", 1}, {0x3D04, "2", 1}, {2, "1", 1},
        {6, "1", 1}, {1, "1", 1},      {7, "1", 1}, {0x3D07, "1", 1}};
    for (auto [id, value, useDelta] : cases) {
        SCOPED_TRACE(id);
        RigOptions options;
        options.deviceId = id;
        options.chipFlags = 0x100;
        ContextRig rig(options);
        rig.SetRegistry("Direct3DHAL.DisableDelta", value);
        D3DContext* ctx = rig.Create(rig.MakeTarget());
        ASSERT_NE(ctx, nullptr);
        EXPECT_EQ(ctx->UseDelta, useDelta);
    }
}

// Refusals.

TEST(CreateDirect3DContext, RefusesSurfacesWithoutPrivateData) {
    ContextRig rig;
    RigSurface& target = rig.MakeTarget();
    RigSurface& z = rig.MakeZ();
    RigSurface& bare = rig.MakeTarget();
    bare.Global().dwReserved1 = 0;
    RigSurface& foreign = rig.MakeZ();
    foreign.priv.MagicNo = 0xD3D10111;
    EXPECT_EQ(CreateResult(rig, &bare), 0x201u);
    EXPECT_EQ(CreateResult(rig, &target, &foreign), 0x201u);
    EXPECT_EQ(CreateResult(rig, &bare, &z), 0x201u);
    EXPECT_EQ(CreateResult(rig, nullptr), 0x201u);
    EXPECT_EQ(LiveSlots(), 0u);
    EXPECT_EQ(rig.LiveServiceBlocks(), 0u);
    EXPECT_EQ(rig.chip->DMABufferInUse, 0u);
}

TEST(CreateDirect3DContext, ReportsNoMemoryForTheRecord) {
    ContextRig rig;
    rig.refuseMemory = true;
    EXPECT_EQ(CreateResult(rig, &rig.MakeTarget()), 0x8007000Eu);
    EXPECT_EQ(LiveSlots(), 0u);
    EXPECT_EQ(rig.chip->DMABufferInUse, 0u);
}

TEST(CreateDirect3DContext, AcceptsOneHundredAndNinetyNineAndRefusesTheNext) {
    ContextRig rig;
    RigSurface& target = rig.MakeTarget();
    std::set<uint32_t> hardware;
    for (uint32_t i = 1; i <= 199; ++i) {
        D3DHAL_CONTEXTCREATEDATA data = rig.CreateData(&target);
        CreateDirect3DContext(&data);
        ASSERT_EQ(data.ddrval, 0u);
        ASSERT_EQ(data.dwhContext, i);
        hardware.insert(ContextSlots[i]->Stream.HardwareContext);
    }
    EXPECT_EQ(hardware.size(), 199u);
    EXPECT_EQ(ContextSlots[0], nullptr);
    EXPECT_EQ(CreateResult(rig, &target), 0x201u);
    EXPECT_EQ(rig.LiveServiceBlocks(), 199u);
    // The lowest freed slot is the next one given out.
    EXPECT_EQ(ContextRig::Delete(120), 0u);
    EXPECT_EQ(ContextRig::Delete(57), 0u);
    D3DHAL_CONTEXTCREATEDATA data = rig.CreateData(&target);
    CreateDirect3DContext(&data);
    EXPECT_EQ(data.dwhContext, 57u);
}

// Deletion.

TEST(DeleteDirect3DContext, GivesEverythingBackAfterTheChipHasDrained) {
    ContextRig rig;
    D3DContext* ctx = rig.Create(rig.MakeTarget());
    ASSERT_NE(ctx, nullptr);
    const uint32_t hardware = ctx->Stream.HardwareContext;
    rig.bus->Clear();
    EXPECT_EQ(ContextRig::Delete(1), 0u);
    // The pipeline is drained, and what was pending in the sub-buffer is dropped.
    EXPECT_EQ(rig.bus->Writes(), test::SyncWrites());
    EXPECT_EQ(rig.bus->ReadsOf(t::OutFIFOWord), 1u);
    EXPECT_TRUE(rig.bus->transfers.empty());
    EXPECT_EQ(ContextSlots[1], nullptr);
    EXPECT_EQ(rig.LiveServiceBlocks(), 0u);
    EXPECT_EQ(rig.chip->DMABufferInUse, 0u);
    EXPECT_LT(rig.chip->ContextBlocks->Size[hardware], 0);
}

TEST(DeleteDirect3DContext, WaitsForTheQueueAndTheEngine) {
    ContextRig rig;
    D3DContext* ctx = rig.Create(rig.MakeTarget());
    ASSERT_NE(ctx, nullptr);
    rig.chip->DMAState = DMAQueueOn;
    rig.chip->QueueHead = 2;
    rig.chip->QueueTail = 0;
    uint32_t rounds = 0;
    bool early = false;
    rig.bus->onIdle = [&](uint32_t) {
        ++rounds;
        if (rig.chip->QueueTail != 2) {
            rig.chip->QueueTail = rig.chip->QueueTail + 1;
        }
    };
    uint32_t left = 3;
    rig.bus->readDMACount = [&] {
        early = early || rig.chip->QueueTail != 2;
        return left != 0 ? left-- : 0;
    };
    rig.bus->Clear();
    EXPECT_EQ(ContextRig::Delete(1), 0u);
    EXPECT_GE(rounds, 2u);
    EXPECT_FALSE(early);
    EXPECT_EQ(left, 0u);
    EXPECT_NE(rig.chip->DMAState & DMAIdle, 0u);
}

TEST(DeleteDirect3DContext, ASecondTimeYieldsContextBad) {
    ContextRig rig;
    ASSERT_NE(rig.Create(rig.MakeTarget()), nullptr);
    EXPECT_EQ(ContextRig::Delete(1), 0u);
    rig.bus->Clear();
    EXPECT_EQ(ContextRig::Delete(1), 0x200u);
    EXPECT_TRUE(rig.bus->events.empty());
}

TEST(DeleteDirect3DContext, RepairsAStaleMagicAndRefusesAnyOther) {
    ContextRig rig;
    D3DContext* ctx = rig.Create(rig.MakeTarget());
    ASSERT_NE(ctx, nullptr);
    ctx->Magic = 0xD3D10100;
    rig.bus->Clear();
    EXPECT_EQ(ContextRig::Delete(1), 0x200u);
    EXPECT_TRUE(rig.bus->events.empty());
    EXPECT_EQ(ContextSlots[1], ctx);
    ctx->Magic = 0xD3D00000;
    EXPECT_EQ(ContextRig::Delete(1), 0u);
    EXPECT_EQ(ContextSlots[1], nullptr);
}

TEST(DeleteDirect3DContext, LeavesTheTargetsOwnerUntilTheNextCreation) {
    RigOptions options;
    options.dmaBufferCount = 0;
    ContextRig rig(options);
    RigSurface& target = rig.MakeTarget();
    D3DContext* ctx = rig.Create(target);
    ASSERT_NE(ctx, nullptr);
    EXPECT_EQ(ContextRig::Delete(1), 0u);
    EXPECT_EQ(target.priv.OwnerContext, ctx);
    // Cleared early in creation: seen here when the new context first writes.
    bool asked = false;
    D3DContext* seen = ctx;
    rig.bus->readFIFOSpace = [&] {
        if (!asked) {
            seen = target.priv.OwnerContext;
            asked = true;
        }
        return 1000u;
    };
    ASSERT_NE(rig.Create(target), nullptr);
    EXPECT_TRUE(asked);
    EXPECT_EQ(seen, nullptr);
}

TEST(DeleteDirect3DContext, OfTheCurrentContextLeavesTheChipWithNone) {
    ContextRig rig;
    rig.SetRegistry("Direct3DHAL.NoDMA", "1");
    ASSERT_NE(rig.Create(rig.MakeTarget()), nullptr);
    EXPECT_EQ(ContextRig::Delete(1), 0u);
    EXPECT_EQ(rig.chip->CurrentContext, 0xFFFFu);
}

// Tear-down.

TEST(CleanDirect3DContext, FreesTheTexturesOfTheContextAlone) {
    ContextRig rig;
    D3DContext* ctx = rig.Create(rig.MakeTarget());
    ASSERT_NE(ctx, nullptr);
    const uint32_t own = ctx->ContextHandle;
    const size_t others = host::heap::LiveBlocks();
    AddTexture(ctx, 0xD3D10100, own, 7);
    TextureRecord* foreign = AddTexture(ctx, 0xD3D10100, own + 1, 7);
    AddTexture(ctx, 0xD3D10000, own, 7);
    TextureRecord* unknown = AddTexture(ctx, 0xD3D10101, own, 7);
    AddTexture(ctx, 0xD3D10100, own, 7);
    AddTexture(ctx, 0xD3D10100, own, 255);
    CleanDirect3DContext(ctx);
    EXPECT_EQ(host::heap::LiveBlocks(), others + 2);
    EXPECT_TRUE(host::heap::IsLive(foreign));
    EXPECT_TRUE(host::heap::IsLive(unknown));
    EXPECT_EQ(ctx->TextureBuckets[255], nullptr);
    ASSERT_EQ(ctx->TextureBuckets[7], unknown);
    EXPECT_EQ(unknown->Prev, nullptr);
    ASSERT_EQ(unknown->Next, foreign);
    EXPECT_EQ(foreign->Prev, unknown);
    EXPECT_EQ(foreign->Next, nullptr);
}

TEST(CleanDirect3DContext, EndsTheTrace) {
    ContextRig rig;
    D3DContext* ctx = rig.Create(rig.MakeTarget());
    ASSERT_NE(ctx, nullptr);
    host::CreateNamedSemaphore("GTraceSemP", 0);
    host::CreateNamedSemaphore("GTraceSemC", 0);
    host::CreateNamedMapping("GTraceShm", 16);
    EXPECT_EQ(InitTrace(), 1u);
    CleanDirect3DContext(ctx);
    EXPECT_EQ(host::OpenSyncHandles(), 0u);
    host::ResetSync();
}

TEST(CleanDirect3DContext, OfARecordThatGotNoBufferAndNoHardwareContextFreesNone) {
    ContextRig rig;
    D3DContext* ctx = rig.PlainContext(true);
    ctx->Stream.SubBuffers[0].Linear = nullptr;
    ctx->Stream.HardwareContext = 0;
    rig.chip->DMABufferInUse = 1; // somebody else's
    rig.chip->CurrentContext = 0;
    CleanDirect3DContext(ctx);
    EXPECT_EQ(rig.chip->DMABufferInUse, 1u);
    EXPECT_EQ(rig.chip->CurrentContext, 0u);
}

TEST(CleanDirect3DContext, KeepsABufferThatIsShared) {
    ContextRig rig;
    D3DContext* ctx = rig.Create(rig.MakeTarget());
    ASSERT_NE(ctx, nullptr);
    ctx->SharedBuffers = 1;
    ctx->TraceEnabled = 1;
    CleanDirect3DContext(ctx);
    EXPECT_EQ(rig.chip->DMABufferInUse, 1u);
    EXPECT_EQ(ctx->TraceEnabled, 0u);
}

TEST(CleanDirect3DContext, ForgetsTheWindowOfAFIFOContext) {
    ContextRig rig;
    rig.SetRegistry("Direct3DHAL.NoDMA", "1");
    rig.chip->DMABufferInUse = 1; // somebody else's
    D3DContext* ctx = rig.Create(rig.MakeTarget());
    ASSERT_NE(ctx, nullptr);
    CleanDirect3DContext(ctx);
    EXPECT_EQ(ctx->Stream.SubBuffers[0].Linear, nullptr);
    EXPECT_EQ(rig.chip->DMABufferInUse, 1u);
}

// A process that has gone.

TEST(DeleteBadProcess, ReapsTheContextsOfTheProcessWithoutAnyChipAccess) {
    ContextRig rig;
    RigSurface& target = rig.MakeTarget();
    for (uint32_t pid : {5u, 6u, 5u}) {
        ASSERT_NE(rig.Create(target, nullptr, pid), nullptr);
    }
    rig.chip->DMAState = 0; // work may be under way
    rig.bus->Clear();
    EXPECT_EQ(Reap(5), 0u);
    EXPECT_TRUE(rig.bus->events.empty());
    EXPECT_EQ(ContextSlots[1], nullptr);
    EXPECT_NE(ContextSlots[2], nullptr);
    EXPECT_EQ(ContextSlots[3], nullptr);
    EXPECT_EQ(rig.LiveServiceBlocks(), 1u);
    EXPECT_EQ(rig.chip->DMABufferInUse, 2u);
}

TEST(DeleteBadProcess, ReachesTheLastSlotRepairsStaleRecordsAndSkipsOthers) {
    ContextRig rig;
    RigSurface& target = rig.MakeTarget();
    for (uint32_t i = 0; i < 199; ++i) {
        ASSERT_NE(rig.Create(target, nullptr, i == 198 || i < 2 ? 9 : 1), nullptr);
    }
    ContextSlots[1]->Magic = 0xD3D00000;
    ContextSlots[2]->Magic = 0x12345678;
    EXPECT_EQ(Reap(9), 0u);
    EXPECT_EQ(ContextSlots[1], nullptr);
    EXPECT_NE(ContextSlots[2], nullptr);
    EXPECT_EQ(ContextSlots[199], nullptr);
    EXPECT_EQ(LiveSlots(), 197u);
}

TEST(DeleteBadProcess, SucceedsWithNothingToReap) {
    ContextRig rig;
    EXPECT_EQ(Reap(77), 0u);
}

// The list of live handles.

std::vector<uint32_t> ListedHandles() {
    std::vector<uint32_t> handles;
    for (const D3DContextNode* node = lpD3DContextList; node != nullptr; node = node->Next) {
        handles.push_back(node->Handle);
    }
    return handles;
}

uint32_t Remove(uint32_t handle) {
    D3DHAL_CONTEXTDESTROYDATA data{handle, 0xDEADBEEF};
    EXPECT_EQ(RemoveDirect3DContext(&data), 1u);
    return data.ddrval;
}

TEST(AddDirect3DContext, ListsTheNewestFirst) {
    ContextRig rig;
    RigSurface& target = rig.MakeTarget();
    const size_t others = host::heap::LiveBlocks();
    for (uint32_t i = 0; i < 3; ++i) {
        D3DHAL_CONTEXTCREATEDATA data = rig.CreateData(&target);
        EXPECT_EQ(AddDirect3DContext(&data), 1u);
        EXPECT_EQ(data.ddrval, 0u);
    }
    EXPECT_EQ(ListedHandles(), (std::vector<uint32_t>{3, 2, 1}));
    EXPECT_EQ(Remove(2), 0u);
    EXPECT_EQ(ListedHandles(), (std::vector<uint32_t>{3, 1}));
    EXPECT_EQ(ContextSlots[2], nullptr);
    EXPECT_EQ(Remove(3), 0u);
    EXPECT_EQ(Remove(1), 0u);
    EXPECT_TRUE(ListedHandles().empty());
    EXPECT_EQ(host::heap::LiveBlocks(), others);
}

TEST(AddDirect3DContext, MakesTheContextEvenWithoutMemoryToListIt) {
    ContextRig rig;
    host::heap::FailAllocations(1);
    D3DHAL_CONTEXTCREATEDATA data = rig.CreateData(&rig.MakeTarget());
    EXPECT_EQ(AddDirect3DContext(&data), 1u);
    EXPECT_EQ(data.ddrval, 0u);
    EXPECT_NE(ContextSlots[1], nullptr);
    EXPECT_TRUE(ListedHandles().empty());
    EXPECT_EQ(Remove(1), 0u);
}

TEST(AddDirect3DContext, ListsARefusedCreationToo) {
    ContextRig rig;
    D3DHAL_CONTEXTCREATEDATA data = rig.CreateData(nullptr);
    data.dwhContext = 44;
    EXPECT_EQ(AddDirect3DContext(&data), 1u);
    EXPECT_EQ(data.ddrval, 0x201u);
    EXPECT_EQ(ListedHandles(), std::vector<uint32_t>{44});
}

TEST(RemoveDirect3DContext, DropsTheEntryOfARefusedDeletionAndToleratesNone) {
    ContextRig rig;
    D3DHAL_CONTEXTCREATEDATA data = rig.CreateData(&rig.MakeTarget());
    AddDirect3DContext(&data);
    ContextSlots[1]->Magic = 0x12345678;
    EXPECT_EQ(Remove(1), 0x200u);
    EXPECT_TRUE(ListedHandles().empty());
    EXPECT_NE(ContextSlots[1], nullptr);
    EXPECT_EQ(Remove(1), 0x200u);
}

} // namespace
