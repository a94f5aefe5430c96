// What is seen of the driver's contexts from outside, and the trace that is turned on in them.
#include "board/recorder.h"
#include "driver/d3d/dcontext.h"
#include "driver/diag/korvtrace.h"
#include "host/d3d/direct3d.h"
#include "host/display/machine.h"
#include "host/inspect/contexts.h"
#include "host/trace/context_trace.h"

#include <gmock/gmock.h>

#include <memory>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

struct DmaWords : board::BusRecorder {
    void OnRead(uint32_t, uint32_t) override {}
    void OnWrite(uint32_t, uint32_t) override {}
    void OnFifoWord(uint32_t) override {}
    void OnDmaWord(uint32_t word) override { words.push_back(word); }
    std::vector<uint32_t> words;
};

class ContextsTest : public testing::Test {
  protected:
    void Start(bool dma) {
        host::PowerCycle();
        host::DisplayConfig config;
        config.deviceId = DevicePermedia;
        config.registry = {{"Direct3DHAL.NoDMA", dma ? "0" : "1"}};
        display = std::make_unique<host::Display>(config);
        ASSERT_TRUE(display->Start());
        directDraw = std::make_unique<host::DirectDraw>(*display);
        target = &directDraw->CreateTarget(64, 64);
    }
    std::unique_ptr<host::Device3D> NewDevice() {
        return std::make_unique<host::Device3D>(*directDraw, *target, nullptr, 77);
    }
    static void DrawTriangle(host::Device3D& device) {
        D3DTLVERTEX corners[3]{};
        const float places[3][2] = {{1, 1}, {20, 1}, {1, 20}};
        for (int i = 0; i < 3; ++i) {
            corners[i].sx = places[i][0];
            corners[i].sy = places[i][1];
            corners[i].rhw = 1;
            corners[i].color = 0xFFFFFFFF;
        }
        D3DTRIANGLE triangle{};
        triangle.v2 = 1;
        triangle.v3 = 2;
        EXPECT_EQ(device.Triangles(corners, {&triangle, 1}), DWORD{DD_OK});
    }

    std::unique_ptr<host::Display> display;
    std::unique_ptr<host::DirectDraw> directDraw;
    host::Surface* target = nullptr;
};

TEST_F(ContextsTest, LiveContextsComeAndGo) {
    Start(true);
    EXPECT_THAT(host::LiveContexts(display->Chip()), IsEmpty());
    auto first = NewDevice();
    const auto second = NewDevice();
    EXPECT_EQ(host::LiveContexts(display->Chip()).size(), 2u);
    const D3DContext* const record = host::ContextRecord(display->Chip(), second->Handle());
    ASSERT_NE(record, nullptr);
    EXPECT_EQ(record->ContextHandle, second->Handle());
    EXPECT_EQ(record->Magic, kContextMagic);
    const uint32_t gone = first->Handle();
    first.reset();
    EXPECT_THAT(host::LiveContexts(display->Chip()), ElementsAre(record));
    EXPECT_EQ(host::ContextRecord(display->Chip(), gone), nullptr);
}

TEST_F(ContextsTest, UnsentWordsAreThoseThatAreSentNext) {
    Start(true);
    const auto device = NewDevice();
    ASSERT_EQ(device->BeginScene(), DWORD{DD_OK});
    DrawTriangle(*device);
    const host::UnsentByContext unsent = host::UnsentWords(display->Chip());
    ASSERT_EQ(unsent.size(), 1u);
    ASSERT_EQ(unsent.begin()->first, device->Handle());
    ASSERT_FALSE(unsent.begin()->second.empty());
    DmaWords sent;
    display->Board().SetRecorder(&sent);
    device->Finish();
    display->Board().SetRecorder(nullptr);
    const std::vector<uint32_t>& expected = unsent.begin()->second;
    ASSERT_GE(sent.words.size(), expected.size());
    sent.words.resize(expected.size());
    EXPECT_EQ(sent.words, expected);
    EXPECT_NE(host::UnsentWords(display->Chip()), unsent);
}

TEST_F(ContextsTest, WithoutDmaNothingIsUnsentAndNothingTraced) {
    Start(false);
    EXPECT_FALSE(host::TraceContexts());
    const auto device = NewDevice();
    ASSERT_EQ(device->BeginScene(), DWORD{DD_OK});
    DrawTriangle(*device);
    EXPECT_THAT(host::UnsentWords(display->Chip()), IsEmpty());
    EXPECT_FALSE(host::TraceContexts());
    EXPECT_EQ(ContextSlots[device->Handle()]->TraceEnabled, 0u);
}

TEST_F(ContextsTest, ATraceIsTurnedOnInEveryContextThatSendsByDma) {
    Start(true);
    EXPECT_FALSE(host::TraceContexts());
    const auto first = NewDevice(), second = NewDevice();
    EXPECT_TRUE(host::TraceContexts());
    for (const auto* device : {first.get(), second.get()}) {
        const D3DContext* const record = host::ContextRecord(display->Chip(), device->Handle());
        EXPECT_EQ(record->TraceEnabled, 1u);
        EXPECT_EQ(record->Stream.StartDMA, StartDMA_Trace);
    }
    EXPECT_FALSE(host::TraceIsOpen());
}

TEST_F(ContextsTest, ASubBufferOfTheContextInForceNamesIt) {
    Start(true);
    const auto first = NewDevice(), second = NewDevice();
    ASSERT_EQ(second->BeginScene(), DWORD{DD_OK});
    DrawTriangle(*second);
    const D3DContext* const other = host::ContextRecord(display->Chip(), first->Handle());
    const D3DContext* const current = host::ContextRecord(display->Chip(), second->Handle());
    const uint32_t place = current->Stream.SubBuffers[1].Physical;
    ASSERT_EQ(display->Chip()->CurrentContext, current->Stream.HardwareContext);
    ASSERT_NE(other->Stream.HardwareContext, current->Stream.HardwareContext);
    EXPECT_EQ(host::TracedContextAt(place), 0u) << "no trace yet";
    ASSERT_TRUE(host::TraceContexts());
    EXPECT_EQ(host::TracedContextAt(place), current->Stream.HardwareContext);
    EXPECT_EQ(host::TracedContextAt(place + 4), 0u);
}

} // namespace
