#include "driver/core/registers.h"
#include "driver/d3d/dcontext.h"
#include "driver/services/context.h"
#include "driver/services/services.h"
#include "host/win32/system.h"
#include "tests/support/rig.h"
#include "tests/support/tag_names.h"
#include "tests/support/words.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

using test::Rig;
using test::Words;

constexpr uint32_t kUntouched = 0xEEEEEEEE;

class ServiceTest : public testing::Test {
  protected:
    void SetUp() override {
        host::ResetSystem();
        rig.Ready();
        lpD3DContextList = nullptr;
        buffer.assign(256, kUntouched);
    }
    void TearDown() override {
        EXPECT_EQ(host::Win16Lock().depth, 0u);
        EXPECT_EQ(host::Win16Lock().unbalanced, 0u);
        lpD3DContextList = nullptr;
        std::fill(std::begin(ContextSlots), std::end(ContextSlots), nullptr);
        host::ResetSystem();
    }
    int32_t Service(uint32_t code, Words request) {
        request.resize(8);
        return KORV_Service(code, request.data(), buffer.data());
    }
    Words Answer(size_t words) const { return {buffer.begin(), buffer.begin() + words}; }

    // A record in slot `handle`, in front of the list.
    D3DContext* List(uint32_t handle, uint32_t magic = kContextMagic) {
        D3DContext* ctx = rig.PlainContext(false);
        ctx->Magic = magic;
        for (uint32_t state = 0; state < 256; ++state) {
            ctx->RenderStates[state] = handle * 1000 + state;
        }
        ContextSlots[handle] = ctx;
        nodes.push_back(std::make_unique<D3DContextNode>(D3DContextNode{handle, lpD3DContextList}));
        lpD3DContextList = nodes.back().get();
        return ctx;
    }

    Rig rig;
    Words buffer;
    std::vector<std::unique_ptr<D3DContextNode>> nodes;
};

TEST_F(ServiceTest, ReadsRegistersOfTheCurrentContextByRunningNumber) {
    rig.bus->registers[t::Mapped(t::DitherMode)] = 0xD17;
    rig.bus->registers[t::Mapped(t::FBSoftwareWriteMask)] = 0xD18;
    EXPECT_EQ(Service(0, {0, 2, t::DitherMode, 5}), 0);
    EXPECT_EQ(Answer(5), (Words{0, 0xD17, 1, 0xD18, kUntouched}));
    EXPECT_EQ(rig.chip->CurrentContext, 5u);
    EXPECT_TRUE(rig.bus->Writes().empty());
    EXPECT_EQ(host::Win16Lock().taken, 1u);
}

TEST_F(ServiceTest, ReadsRegistersUnderAnotherContextAndGoesBack) {
    const int32_t id = KORV_CreateContext(rig.driver, 2);
    EXPECT_EQ(Service(0, {0, 1, t::DitherMode, static_cast<uint32_t>(id)}), 0);
    EXPECT_EQ(rig.chip->CurrentContext, 5u);
    const auto& events = rig.bus->events;
    const auto syncs = std::count_if(events.begin(), events.end(), [](const test::BusEvent& e) {
        return e.kind == 'w' && e.offset == t::Mapped(t::Sync);
    });
    EXPECT_EQ(syncs, 2); // each change drains the chip
}

TEST_F(ServiceTest, FromContextZeroItStaysOnTheContextThatWasRead) {
    rig.chip->CurrentContext = 0;
    EXPECT_EQ(Service(0, {0, 1, 0, 5}), 0);
    EXPECT_EQ(rig.chip->CurrentContext, 5u);
}

TEST_F(ServiceTest, ReadsTheVideoBlock) {
    rig.bus->registers[t::VSControl + 3 * 8] = 0x33;
    rig.bus->registers[t::VSControl + 4 * 8] = 0x44;
    EXPECT_EQ(Service(3, {0, 2, 3, 5}), 0);
    EXPECT_EQ(Answer(4), (Words{0, 0x33, 1, 0x44}));
}

TEST_F(ServiceTest, ReadsTheVideoBlockUnderAnotherContextAndGoesBackUnlessThatIsZero) {
    const auto id = static_cast<uint32_t>(KORV_CreateContext(rig.driver, 2));
    EXPECT_EQ(Service(3, {0, 1, 0, id}), 0);
    EXPECT_EQ(rig.chip->CurrentContext, 5u);
    rig.chip->CurrentContext = 0;
    EXPECT_EQ(Service(3, {0, 1, 0, id}), 0);
    EXPECT_EQ(rig.chip->CurrentContext, id);
}

TEST_F(ServiceTest, FromNoContextItGoesBackToNone) {
    rig.chip->CurrentContext = kNoContext;
    EXPECT_EQ(Service(0, {0, 1, 0, 5}), 0);
    EXPECT_EQ(rig.chip->CurrentContext, kNoContext);
}

TEST_F(ServiceTest, NoRegistersAtAllAreReadAndTheContextStillChanges) {
    const auto id = static_cast<uint32_t>(KORV_CreateContext(rig.driver, 2));
    rig.bus->Clear();
    EXPECT_EQ(Service(0, {0, 0, t::DitherMode, id}), 0);
    EXPECT_EQ(buffer[0], kUntouched);
    EXPECT_EQ(rig.bus->ReadsOf(t::Mapped(t::DitherMode)), 0u);
    EXPECT_FALSE(rig.bus->Writes().empty());
}

TEST_F(ServiceTest, CountsAndListsTheHardwareContexts) {
    // Six slots of the rig, then a client's and a Direct3D context's.
    const uint32_t client = CreateContext(rig.driver, rig.chip, 2, 0, 0);
    const uint32_t direct3d = CreateContext(rig.driver, rig.chip, 3, 0x11, 0x22);
    const uint32_t freed = CreateContext(rig.driver, rig.chip, 2, 0, 0);
    DeleteContext(rig.driver, rig.chip, freed);
    EXPECT_EQ(client, 6u);
    EXPECT_EQ(direct3d, 7u);
    EXPECT_EQ(Service(4, {}), 0);
    EXPECT_EQ(buffer[0], 8u);

    std::fill(buffer.begin(), buffer.end(), kUntouched);
    EXPECT_EQ(Service(5, {0, 0, 0, 0, 8}), 0);
    const Words kinds = {4, 4, 4, 4, 3, 0, 4, 1};
    for (uint32_t entry = 0; entry < 8; ++entry) {
        EXPECT_EQ(buffer[entry * 3], kinds[entry]) << entry;
        EXPECT_EQ(buffer[entry * 3 + 1], entry);
        EXPECT_EQ(buffer[entry * 3 + 2], kUntouched);
    }
    EXPECT_EQ(buffer[24], kUntouched);
}

TEST_F(ServiceTest, ASlotWithoutATypeIsNotListed) {
    rig.chip->ContextBlocks->Type[3] = 0xFFFF;
    EXPECT_EQ(Service(4, {}), 0);
    EXPECT_EQ(buffer[0], 5u);
    EXPECT_EQ(Service(5, {0, 0, 0, 0, 5}), 0);
    EXPECT_EQ(buffer[3 * 3 + 1], 4u);
}

TEST_F(ServiceTest, AWrongNumberOfContextsIsRefused) {
    EXPECT_EQ(Service(5, {0, 0, 0, 0, 5}), -1);
    EXPECT_EQ(Service(5, {0, 0, 0, 0, 7}), -1);
    EXPECT_EQ(buffer[0], kUntouched);
}

TEST_F(ServiceTest, CountsTheListOfDirect3DContexts) {
    EXPECT_EQ(Service(6, {}), 0);
    EXPECT_EQ(buffer[0], 0u);
    List(3);
    List(9);
    EXPECT_EQ(Service(6, {}), 0);
    EXPECT_EQ(buffer[0], 2u);
}

TEST_F(ServiceTest, ListsLiveDirect3DContextsAndStillAnswersAsOnFailure) {
    List(3);
    List(9, 0xD3D00000);
    List(12);
    EXPECT_EQ(Service(7, {0, 0, 0, 0, 3}), -1);
    EXPECT_EQ(Answer(6), (Words{kUntouched, 12, kUntouched, 3, kUntouched, kUntouched}));
}

TEST_F(ServiceTest, AWrongNumberOfDirect3DContextsLeavesTheBuffer) {
    List(3);
    EXPECT_EQ(Service(7, {0, 0, 0, 0, 2}), -1);
    EXPECT_EQ(buffer[1], kUntouched);
}

TEST_F(ServiceTest, CopiesHalfOfTheRenderStatesAndStillAnswersAsOnFailure) {
    List(3);
    EXPECT_EQ(Service(8, {0, 0, 0, 0, 3}), -1);
    EXPECT_EQ(buffer[0], 3000u);
    EXPECT_EQ(buffer[127], 3127u);
    EXPECT_EQ(buffer[128], kUntouched);
    EXPECT_EQ(Service(8, {5, 0, 0, 0, 3}), -1);
    EXPECT_EQ(buffer[0], 3128u);
    EXPECT_EQ(buffer[127], 3255u);
}

TEST_F(ServiceTest, AContextThatIsGoneHasNoRenderStates) {
    List(3, 0xD3D00000);
    EXPECT_EQ(Service(8, {0, 0, 0, 0, 3}), -1);
    EXPECT_EQ(Service(8, {0, 0, 0, 0, 4}), -1);
    EXPECT_EQ(buffer[0], kUntouched);
    EXPECT_EQ(GetD3DContextState(rig.driver, buffer.data(), 3, 0), 0u);
}

TEST_F(ServiceTest, ReadOutsTellSuccessToADirectCaller) {
    List(3);
    EXPECT_EQ(GetD3DContextState(rig.driver, buffer.data(), 3, 1), 1u);
    auto* entries = reinterpret_cast<D3DContextEntry*>(buffer.data());
    EXPECT_EQ(GetD3DContexts(rig.driver, entries, 1), 1u);
    EXPECT_EQ(GetD3DContexts(rig.driver, entries, 0), 0u);
}

TEST_F(ServiceTest, OtherCodesDoNothing) {
    for (const uint32_t code : {1u, 2u, 9u, 0xFFFFFFFFu}) {
        EXPECT_EQ(Service(code, {0, 4, 0, 1, 1}), 0);
    }
    EXPECT_EQ(buffer[0], kUntouched);
    EXPECT_TRUE(rig.bus->events.empty());
}

TEST_F(ServiceTest, WithoutTheLockNothingIsDone) {
    host::SetWin16LockPresent(false);
    EXPECT_EQ(Service(4, {}), -1);
    EXPECT_EQ(buffer[0], kUntouched);
    Words request = {0, 3, 0, 0, 1, 0};
    EXPECT_EQ(KORV_DebugHelp(request.data()), -1);
}

class DebugHelp : public ServiceTest {
  protected:
    int32_t Help(uint32_t kind, uint32_t which, uint32_t count, uint32_t rest = 7) {
        request = {0,     kind,
                   which, static_cast<uint32_t>(reinterpret_cast<uintptr_t>(buffer.data())),
                   count, rest};
        return KORV_DebugHelp(request.data());
    }
    Words request;
};

TEST_F(DebugHelp, ReadsRegistersFromTagZeroAndStaysInTheContext) {
    const int32_t id = KORV_CreateContext(rig.driver, 2);
    rig.bus->registers[t::Mapped(t::StartXDom)] = 0xA;
    rig.bus->registers[t::Mapped(t::dXDom)] = 0xB;
    EXPECT_EQ(Help(1, static_cast<uint32_t>(id), 2), 0);
    EXPECT_EQ(Answer(5), (Words{0, 0xA, 1, 0xB, kUntouched}));
    EXPECT_EQ(rig.chip->CurrentContext, static_cast<uint32_t>(id));
    EXPECT_EQ(host::Win16Lock().taken, 1u);
}

TEST_F(DebugHelp, CopiesMemoryByRegion) {
    // The upper halves lie 4 MB behind the bases.
    Words memory(0x400000 / 4 + 16);
    for (uint32_t i = 0; i < 16; ++i) {
        memory[i] = 0x100 + i;
        memory[0x400000 / 4 + i] = 0x200 + i;
    }
    auto* base = reinterpret_cast<uint8_t*>(memory.data());
    uint8_t* frameBuffer = rig.driver->FrameBufferBase;
    uint8_t* localBuffer = rig.driver->LocalBufferBase;
    Words none(16, 0x999);
    auto* other = reinterpret_cast<uint8_t*>(none.data());

    rig.driver->FrameBufferBase = base;
    rig.driver->LocalBufferBase = other;
    EXPECT_EQ(Help(3, 0, 2), 0);
    EXPECT_EQ(Answer(3), (Words{0x100, 0x101, kUntouched}));
    EXPECT_EQ(Help(3, 1, 2), 0);
    EXPECT_EQ(Answer(3), (Words{0x200, 0x201, kUntouched}));

    rig.driver->FrameBufferBase = other;
    rig.driver->LocalBufferBase = base;
    EXPECT_EQ(Help(3, 2, 2), 0);
    EXPECT_EQ(Answer(3), (Words{0x100, 0x101, kUntouched}));
    EXPECT_EQ(Help(3, 3, 2), 0);
    EXPECT_EQ(Answer(3), (Words{0x200, 0x201, kUntouched}));
    EXPECT_EQ(Help(3, 5, 2), 0); // word 5
    EXPECT_EQ(Answer(3), (Words{0x105, 0x106, kUntouched}));
    EXPECT_EQ(request[5], 7u);

    rig.driver->FrameBufferBase = frameBuffer;
    rig.driver->LocalBufferBase = localBuffer;
}

TEST_F(DebugHelp, CopiesTheWholeLocalBufferWhateverTheCount) {
    Words memory = {1, 2, 3, 4, 5, 6};
    uint8_t* localBuffer = rig.driver->LocalBufferBase;
    rig.driver->LocalBufferBase = reinterpret_cast<uint8_t*>(memory.data());
    rig.chip->LocalBufferSize = 20;
    EXPECT_EQ(Help(3, 4, 1), 0);
    EXPECT_EQ(Answer(6), (Words{1, 2, 3, 4, 5, kUntouched}));
    EXPECT_EQ(request[5], 0u);
    rig.driver->LocalBufferBase = localBuffer;
}

TEST_F(DebugHelp, OtherKindsDoNothing) {
    for (const uint32_t kind : {0u, 2u, 4u}) {
        EXPECT_EQ(Help(kind, 0, 2), 0);
    }
    EXPECT_EQ(buffer[0], kUntouched);
    EXPECT_TRUE(rig.bus->events.empty());
}

} // namespace
