#include "driver/diag/korvtrace.h"

#include "driver/core/dma.h"
#include "driver/diag/debug.h"
#include "host/win32/sync.h"
#include "tests/support/rig.h"

#include <gtest/gtest.h>

namespace {

using test::Rig;

TEST(FunctionTrace, ListsARecordOnceAndCountsItsCalls) {
    functionList = nullptr;
    initializeTrace();
    TraceRecord first{}, second{};
    EXPECT_EQ(traceFunction(&first), 1u);
    EXPECT_EQ(traceFunction(&second), 1u);
    EXPECT_EQ(traceFunction(&first), 1u);
    printTraceReport();
    EXPECT_EQ(functionList, &second);
    EXPECT_EQ(second.Next, &first);
    EXPECT_EQ(first.Next, nullptr);
    EXPECT_EQ(first.Count, 2u);
    EXPECT_EQ(second.Count, 1u);
    functionList = nullptr;
}

// The outside tool on this machine.
class DMATrace : public testing::Test {
  protected:
    void SetUp() override {
        host::ResetSync();
        rig.Ready();
    }
    void TearDown() override {
        TermTrace();
        host::ResetSync();
    }
    DMATraceRecord* OfferAll(int32_t leave) {
        host::CreateNamedSemaphore("GTraceSemP", leave);
        host::CreateNamedSemaphore("GTraceSemC", 0);
        return static_cast<DMATraceRecord*>(host::CreateNamedMapping("GTraceShm", 16));
    }
    int32_t Start() {
        return StartDMA_Trace(rig.driver, 5, 3, rig.chip->DMABufferPhysical[0], words, 0);
    }

    Rig rig;
    uint32_t words[3] = {0x7, 0x40, 0x17};
};

TEST_F(DMATrace, OpensAllThreeObjects) {
    OfferAll(0);
    EXPECT_EQ(InitTrace(), 1u);
    EXPECT_EQ(host::OpenSyncHandles(), 3u);
    EXPECT_EQ(host::MappedViews(), 1u);
    TermTrace();
    EXPECT_EQ(host::OpenSyncHandles(), 0u);
    EXPECT_EQ(host::MappedViews(), 0u);
}

TEST_F(DMATrace, LeavesNothingOpenWhenAnObjectIsMissing) {
    EXPECT_EQ(InitTrace(), 0u);
    host::CreateNamedSemaphore("GTraceSemP", 0);
    EXPECT_EQ(InitTrace(), 0u);
    EXPECT_EQ(host::OpenSyncHandles(), 0u);
    host::CreateNamedSemaphore("GTraceSemC", 0);
    EXPECT_EQ(InitTrace(), 0u);
    EXPECT_EQ(host::OpenSyncHandles(), 0u);
    EXPECT_EQ(host::SemaphoreCount("GTraceSemC"), 0);
}

TEST_F(DMATrace, LeavesNothingOpenWhenTheRecordIsTooSmallToMap) {
    host::CreateNamedSemaphore("GTraceSemP", 0);
    host::CreateNamedSemaphore("GTraceSemC", 0);
    host::CreateNamedMapping("GTraceShm", 8);
    EXPECT_EQ(InitTrace(), 0u);
    EXPECT_EQ(host::OpenSyncHandles(), 0u);
}

TEST_F(DMATrace, EndsByWakingAToolThatWaits) {
    OfferAll(0);
    InitTrace();
    TermTrace();
    EXPECT_EQ(host::SemaphoreCount("GTraceSemC"), 1);
}

TEST_F(DMATrace, EndsOnlyOnce) {
    OfferAll(0);
    TermTrace();
    EXPECT_EQ(host::SemaphoreCount("GTraceSemC"), 0);
    InitTrace();
    TermTrace();
    TermTrace();
    EXPECT_EQ(host::SemaphoreCount("GTraceSemC"), 1);
}

TEST_F(DMATrace, ABatchGoesByTheToolsLeaveAndIsReported) {
    DMATraceRecord* shared = OfferAll(2);
    shared->Active = 1;
    shared->unknown_04 = 77;
    ASSERT_EQ(InitTrace(), 1u);
    EXPECT_EQ(Start(), 0);
    EXPECT_EQ(host::SemaphoreCount("GTraceSemP"), 1);
    EXPECT_EQ(host::SemaphoreCount("GTraceSemC"), 1);
    EXPECT_EQ(shared->TraceFirst, 1000u);
    EXPECT_EQ(shared->TraceLast, 1002u);
    EXPECT_EQ(shared->unknown_04, 77u);
    EXPECT_EQ(rig.bus->transfers.size(), 1u);
}

TEST_F(DMATrace, TheBatchIsSentOnlyWithTheToolsLeaveAndDoneBeforeTheReport) {
    DMATraceRecord* shared = OfferAll(0);
    shared->Active = 1;
    ASSERT_EQ(InitTrace(), 1u);
    size_t sentAtLeave = 99;
    host::SetSemaphoreIdle([&](const std::string& name) {
        EXPECT_EQ(name, "GTraceSemP");
        sentAtLeave = rig.bus->transfers.size();
        host::SignalSemaphore(name);
    });
    int32_t reportsWhileRunning = -1;
    uint32_t left = 4;
    rig.bus->readDMACount = [&] {
        reportsWhileRunning = host::SemaphoreCount("GTraceSemC");
        return left == 0 ? 0 : --left;
    };
    EXPECT_EQ(Start(), 0);
    EXPECT_EQ(sentAtLeave, 0u);
    EXPECT_EQ(reportsWhileRunning, 0);
    EXPECT_EQ(left, 0u);
    EXPECT_EQ(host::SemaphoreCount("GTraceSemC"), 1);
}

TEST_F(DMATrace, WhenTheToolLeavesDuringABatchNothingIsReported) {
    DMATraceRecord* shared = OfferAll(1);
    shared->Active = 1;
    ASSERT_EQ(InitTrace(), 1u);
    rig.bus->readDMACount = [&] {
        shared->Active = 0;
        return 0u;
    };
    EXPECT_EQ(Start(), 0);
    EXPECT_EQ(host::SemaphoreCount("GTraceSemC"), 0);
    EXPECT_EQ(shared->TraceFirst, 0u);
}

TEST_F(DMATrace, WithNoToolListeningItStillWaitsForTheChip) {
    OfferAll(0);
    ASSERT_EQ(InitTrace(), 1u);
    uint32_t left = 3;
    rig.bus->readDMACount = [&] { return left == 0 ? 0 : --left; };
    EXPECT_EQ(Start(), 0);
    EXPECT_EQ(left, 0u);
    EXPECT_EQ(host::SemaphoreCount("GTraceSemC"), 0);
}

TEST_F(DMATrace, GivesTheResultOfTheStart) {
    EXPECT_EQ(StartDMA_Trace(rig.driver, 5, 0, 0, words, 0), -1);
}

TEST(DebugStubs, TouchNothing) {
    Rig rig;
    DebugPrint(1, "%s %d", "text", 5);
    DumpSurface(1, nullptr);
    DecodeBlend(1, 2, 1);
    CheckFIFOEntries(rig.driver, 5);
    EXPECT_TRUE(rig.bus->events.empty());
}

} // namespace
