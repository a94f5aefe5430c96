// Waits of the driver on boards that never answer, each in a process of its own.
#include "driver/core/dma.h"
#include "host/display/display.h"
#include "host/display/machine.h"
#include "host/driver_module.h"
#include "host/patience.h"
#include "tests/support_host/configs.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <unistd.h>

namespace host {

namespace {

constexpr uint64_t kTenthOfASecond = 100'000;

void GiveUp(const std::string& wait) {
    std::fprintf(stderr, "%s\n", wait.c_str());
    _exit(1);
}

} // namespace

class PatienceDeathTest : public testing::Test {
  protected:
    PatienceDeathTest() : display((PowerCycle(), test::ConfigFor(DevicePermedia))) {
        display.Start();
    }
    // Runs `wait` as one call of the driver.
    template <class Wait>
    void Call(const Wait& wait) {
        SetPatience(kTenthOfASecond, GiveUp);
        const DriverCall call("Wait");
        wait();
    }

    Display display;
};

TEST_F(PatienceDeathTest, AChipThatNeverTakesAnEntry) {
    display.Board().SetTiming({.fifoDepth = 0, .fifoDrainPerTick = 1});
    EXPECT_EXIT(
        Call([&] { PollFIFOSpace(display.Aperture(), 1); }), testing::ExitedWithCode(1),
        "Wait waits for FIFO space: more is expected than InFIFOSpace tells, 0, and nothing "
        "on the board will change that");
}

TEST_F(PatienceDeathTest, ATransferThatNeverEnds) {
    display.Board().SetTiming({.fifoDepth = 0, .fifoDrainPerTick = 1, .dmaWordsPerTick = 1});
    EXPECT_EXIT(Call([&] {
                    WriteChip(display.Aperture(), reg::DMAAddress, Display::DmaBusAddress(0));
                    WriteChip(display.Aperture(), reg::DMACount, 20);
                    WaitDMACountZero(display.Aperture());
                }),
                testing::ExitedWithCode(1),
                "Wait waits for the end of a transfer: DMACount is expected to be 0, and is "
                "[12][0-9]?, for 0\\.[0-9]+ s of the board's time");
}

TEST_F(PatienceDeathTest, AnAnswerThatNeverComes) {
    EXPECT_EXIT(Call([&] { ReadOutputFIFOPair(display.Driver(), 0x188); }),
                testing::ExitedWithCode(1),
                "Wait waits for the output FIFO: words are expected, and OutFIFOWords is 0, and "
                "nothing on the board will change that");
}

TEST_F(PatienceDeathTest, AQueueWithoutItsHandler) {
    display.Board().SetInterruptHandler({});
    ChipInfo* chip = display.Chip();
    chip->DMAState = DMAQueueOn;
    chip->QueueEnd = 7;
    chip->QueueHead = 3;
    EXPECT_EXIT(Call([&] { WaitDMAIdle(display.Driver()); }), testing::ExitedWithCode(1),
                "Wait waits for the DMA queue: its tail is expected to move from 0 on, the head is "
                "at 3 of 7, no transfer runs, for 0\\.[0-9]+ s of the board's time");
}

// With retraces by interrupt the handler writes to the chip again and again, which is no progress
// of the driver.
TEST_F(PatienceDeathTest, InterruptsMeanwhileDoNotCount) {
    display.Board().Write(reg::IntEnable, field::IntEnable_Retrace.Mask());
    display.Chip()->DMAState = DMAQueueOn;
    display.Chip()->QueueHead = 3;
    display.Board().SetInterruptHandler([this] {
        const patience::Suspended suspended;
        WriteChip(display.Aperture(), reg::IntFlags, field::IntFlags_Retrace.Mask());
    });
    EXPECT_EXIT(Call([&] { WaitDMAIdle(display.Driver()); }), testing::ExitedWithCode(1),
                "waits for the DMA queue");
}

TEST_F(PatienceDeathTest, ASlowBoardIsWaitedFor) {
    display.Board().SetTiming({.fifoDepth = 16, .fifoDrainPerTick = 1, .fifoReportLag = 70'000});
    EXPECT_EXIT(
        {
            Call([&] { PollFIFOSpace(display.Aperture(), 16); });
            _exit(0);
        },
        testing::ExitedWithCode(0), "");
}

} // namespace host
