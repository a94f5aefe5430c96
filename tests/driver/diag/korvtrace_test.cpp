#include "driver/core/dma.h"
#include "driver/diag/debug.h"
#include "driver/diag/korvtrace.h"
#include "host/win32/sync.h"
#include "tests/support/rig.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

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

using Names = std::vector<std::string>;

TEST_F(DMATrace, OpensAllThreeObjects) {
    OfferAll(0);
    EXPECT_EQ(InitTrace(), 1u);
    EXPECT_EQ(host::OpenSyncHandles(), 3u);
    EXPECT_EQ(host::MappedViews(), 1u);
    EXPECT_EQ(host::SemaphoreCount("GTraceSemC"), 0);
}

TEST_F(DMATrace, AsksForSemaphoresAltogetherAndForTheRecordToWriteAllForChildrenToo) {
    OfferAll(0);
    InitTrace();
    EXPECT_EQ(host::SyncRequests(), (std::vector<host::SyncRequest>{{"GTraceSemP", 0x1F0003, 1},
                                                                    {"GTraceSemC", 0x1F0003, 1},
                                                                    {"GTraceShm", 2, 1},
                                                                    {"GTraceShm", 2, 0}}));
}

TEST_F(DMATrace, EndsByClosingMappingThenReportThenLeave) {
    OfferAll(0);
    InitTrace();
    size_t openAtTheRelease = 0;
    host::SetSemaphoreHooks({.release = [&](const std::string& name) {
        EXPECT_EQ(name, "GTraceSemC");
        openAtTheRelease = host::OpenSyncHandles() + host::MappedViews();
    }});
    TermTrace();
    EXPECT_EQ(openAtTheRelease, 4u);
    EXPECT_EQ(host::ClosedSyncHandles(), (Names{"GTraceShm", "GTraceSemC", "GTraceSemP"}));
    EXPECT_EQ(host::OpenSyncHandles(), 0u);
    EXPECT_EQ(host::MappedViews(), 0u);
}

TEST_F(DMATrace, WithoutTheLeaveNothingIsOpened) {
    EXPECT_EQ(InitTrace(), 0u);
    EXPECT_EQ(host::ClosedSyncHandles(), Names{});
}

TEST_F(DMATrace, WithoutTheReportTheLeaveIsClosed) {
    host::CreateNamedSemaphore("GTraceSemP", 0);
    EXPECT_EQ(InitTrace(), 0u);
    EXPECT_EQ(host::ClosedSyncHandles(), Names{"GTraceSemP"});
    EXPECT_EQ(host::OpenSyncHandles(), 0u);
}

TEST_F(DMATrace, WithoutTheRecordBothSemaphoresAreClosedTheReportFirst) {
    host::CreateNamedSemaphore("GTraceSemP", 0);
    host::CreateNamedSemaphore("GTraceSemC", 0);
    EXPECT_EQ(InitTrace(), 0u);
    EXPECT_EQ(host::ClosedSyncHandles(), (Names{"GTraceSemC", "GTraceSemP"}));
    EXPECT_EQ(host::OpenSyncHandles(), 0u);
    EXPECT_EQ(host::SemaphoreCount("GTraceSemC"), 0);
}

TEST_F(DMATrace, ARecordOfLessThan16BytesClosesMappingThenReportThenLeave) {
    host::CreateNamedSemaphore("GTraceSemP", 0);
    host::CreateNamedSemaphore("GTraceSemC", 0);
    host::CreateNamedMapping("GTraceShm", 15);
    EXPECT_EQ(InitTrace(), 0u);
    EXPECT_EQ(host::ClosedSyncHandles(), (Names{"GTraceShm", "GTraceSemC", "GTraceSemP"}));
    EXPECT_EQ(host::OpenSyncHandles(), 0u);
    // All is forgotten: what comes next is a trace of its own.
    TermTrace();
    EXPECT_EQ(host::SemaphoreCount("GTraceSemC"), 0);
    host::CreateNamedMapping("GTraceShm", 16);
    EXPECT_EQ(InitTrace(), 1u);
}

TEST_F(DMATrace, EndsByWakingAToolThatWaits) {
    OfferAll(0);
    InitTrace();
    TermTrace();
    EXPECT_EQ(host::SemaphoreCount("GTraceSemC"), 1);
}

TEST_F(DMATrace, TermTraceWithNoOpenTraceDoesNothing) {
    OfferAll(0);
    TermTrace();
    EXPECT_EQ(host::SemaphoreCount("GTraceSemC"), 0);
    EXPECT_EQ(host::ClosedSyncHandles(), Names{});
}

TEST_F(DMATrace, EndsOnlyOnce) {
    OfferAll(0);
    InitTrace();
    TermTrace();
    TermTrace();
    EXPECT_EQ(host::SemaphoreCount("GTraceSemC"), 1);
    EXPECT_EQ(host::ClosedSyncHandles().size(), 3u);
}

TEST_F(DMATrace, CanBeOpenedAgain) {
    DMATraceRecord* shared = OfferAll(1);
    InitTrace();
    TermTrace();
    ASSERT_EQ(InitTrace(), 1u);
    shared->Active = 1;
    EXPECT_EQ(Start(), 0);
    EXPECT_EQ(host::SemaphoreCount("GTraceSemP"), 0);
    EXPECT_EQ(host::SemaphoreCount("GTraceSemC"), 2); // the end and the report
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
    host::SetSemaphoreHooks({.idle = [&](const std::string& name) {
        EXPECT_EQ(name, "GTraceSemP");
        sentAtLeave = rig.bus->transfers.size();
        host::SignalSemaphore(name);
    }});
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

TEST_F(DMATrace, ActiveClearedBetweenLeaveAndReportMakesNoReportAndReleasesNothing) {
    DMATraceRecord* shared = OfferAll(1);
    shared->Active = 1;
    ASSERT_EQ(InitTrace(), 1u);
    rig.bus->readDMACount = [&] {
        shared->Active = 0;
        return 0u;
    };
    host::SetSemaphoreHooks({.release = [](const std::string& name) { ADD_FAILURE() << name; }});
    EXPECT_EQ(Start(), 0);
    EXPECT_EQ(host::SemaphoreCount("GTraceSemP"), 0); // the leave was taken
    EXPECT_EQ(host::SemaphoreCount("GTraceSemC"), 0);
    EXPECT_EQ(shared->TraceFirst, 0u);
    EXPECT_EQ(shared->TraceLast, 0u);
    host::SetSemaphoreHooks({});
}

TEST_F(DMATrace, ActiveSetDuringABatchMakesAReport) {
    DMATraceRecord* shared = OfferAll(0);
    ASSERT_EQ(InitTrace(), 1u);
    rig.bus->readDMACount = [&] {
        shared->Active = 1;
        return 0u;
    };
    EXPECT_EQ(Start(), 0);
    EXPECT_EQ(host::SemaphoreCount("GTraceSemC"), 1);
    EXPECT_EQ(shared->TraceFirst, 1000u);
}

TEST_F(DMATrace, WithActive0ItStillWaitsForTheChipAfterEveryBatch) {
    OfferAll(0);
    ASSERT_EQ(InitTrace(), 1u);
    for (int batch = 0; batch < 2; ++batch) {
        uint32_t left = 3;
        bool begun = false; // before it the register tells of the batch before
        rig.bus->readDMACount = [&] {
            begun = rig.bus->transfers.size() > static_cast<size_t>(batch);
            return !begun || left == 0 ? 0 : --left;
        };
        EXPECT_EQ(Start(), 0);
        EXPECT_EQ(left, 0u);
        EXPECT_NE(rig.chip->DMAState & DMAIdle, 0u);
    }
    EXPECT_EQ(host::SemaphoreCount("GTraceSemC"), 0);
}

TEST_F(DMATrace, GivesTheResultOfTheStart) {
    EXPECT_EQ(Start(), 0);
    EXPECT_EQ(StartDMA_Trace(rig.driver, 5, 0, 0, words, 0), -1);
}

TEST_F(DMATrace, ABatchOfNoWordsIsReportedToo) {
    DMATraceRecord* shared = OfferAll(1);
    shared->Active = 1;
    ASSERT_EQ(InitTrace(), 1u);
    EXPECT_EQ(StartDMA_Trace(rig.driver, 5, 0, 0, words, 0), -1);
    EXPECT_EQ(host::SemaphoreCount("GTraceSemP"), 0);
    EXPECT_EQ(host::SemaphoreCount("GTraceSemC"), 1);
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
