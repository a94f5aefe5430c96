#include "driver/video/video.h"
#include "tests/support/rig.h"

#include <gtest/gtest.h>

namespace {

using test::Rig;

struct WatchdogRig : Rig {
    WatchdogRig() {
        Ready();
        driver->VideoPortActive = 1;
        bus->registers[t::FreeRunningTimer] = 1000;
        bus->registers[t::VSCurrentLine] = 7;
        bus->registers[t::VSCurrentBuffer] = 2;
    }
    uint32_t Check(uint32_t sampleNow = 0) { return CheckVideoPortStatus(driver, sampleNow); }
    void Pass(uint32_t ticks) { bus->registers[t::FreeRunningTimer] += ticks; }
};

TEST(VideoWatchdog, SaysNothingOfAPortThatIsOff) {
    WatchdogRig rig;
    rig.driver->VideoPortActive = 0;
    EXPECT_EQ(rig.Check(1), 0u);
    EXPECT_EQ(rig.driver->VideoLastTime, 0u);
    EXPECT_TRUE(rig.bus->events.empty());
}

TEST(VideoWatchdog, TakesASampleWhenAskedTo) {
    WatchdogRig rig;
    EXPECT_EQ(rig.Check(1), 1u);
    EXPECT_EQ(rig.driver->VideoLastTime, 1000u);
    EXPECT_EQ(rig.driver->VideoLastLine, 7u);
    EXPECT_EQ(rig.driver->VideoLastBuffer, 2u);
    EXPECT_EQ(rig.driver->VideoNeedSample, 0u);
}

TEST(VideoWatchdog, ASampleIsJudgedOnlyWhenItIsOldEnough) {
    WatchdogRig rig;
    rig.Check(1);
    rig.Pass(470000);
    EXPECT_EQ(rig.Check(), 1u);
    EXPECT_EQ(rig.driver->VideoNeedSample, 0u);
    EXPECT_EQ(rig.driver->VideoFailures, 0u);
    rig.Pass(1);
    EXPECT_EQ(rig.Check(), 1u);
    EXPECT_EQ(rig.driver->VideoNeedSample, 1u);
    EXPECT_EQ(rig.driver->VideoFailures, 1u);
}

TEST(VideoWatchdog, ALineOrABufferThatMovedForgivesAllFailures) {
    for (const uint32_t moved : {t::VSCurrentLine, t::VSCurrentBuffer}) {
        WatchdogRig rig;
        rig.Check(1);
        rig.driver->VideoFailures = 50;
        rig.Pass(470001);
        rig.bus->registers[moved] += 1;
        EXPECT_EQ(rig.Check(), 1u);
        EXPECT_EQ(rig.driver->VideoFailures, 0u);
        EXPECT_EQ(rig.driver->VideoNeedSample, 1u);
        EXPECT_EQ(rig.driver->VideoPortActive, 1u);
    }
}

TEST(VideoWatchdog, The51stSampleWithoutProgressStopsThePort) {
    WatchdogRig rig;
    for (int i = 1; i <= 51; ++i) {
        EXPECT_EQ(rig.Check(1), 1u) << i;
        rig.Pass(470001);
        EXPECT_EQ(rig.Check(), i == 51 ? 0u : 1u) << i;
    }
    EXPECT_EQ(rig.driver->VideoPortActive, 0u);
    EXPECT_EQ(rig.Check(1), 0u);
}

TEST(VideoWatchdog, TheAgeLimitWrapsWithTheTimer) {
    WatchdogRig rig;
    rig.bus->registers[t::FreeRunningTimer] = 0xFFFFFFF0;
    rig.Check(1);
    rig.Pass(1); // 0xFFFFFFF1 is above the wrapped limit
    EXPECT_EQ(rig.Check(), 1u);
    EXPECT_EQ(rig.driver->VideoFailures, 1u);
}

} // namespace
