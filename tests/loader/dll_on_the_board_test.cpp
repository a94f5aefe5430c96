// KORV32.dll and the linked driver are the same program: on equal boards they do the same, access
// by access and word by word.
#include "host/driver_module.h"
#include "tests/loader/machine.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>

namespace {

using namespace test;

std::string DeviceName(uint32_t deviceId) {
    switch (deviceId) {
    case DeviceSX:
        return "SX";
    case DeviceTX:
        return "TX";
    case DeviceMX:
        return "MX";
    case DevicePermedia:
        return "Permedia";
    case DevicePermediaSecond:
        return "PermediaSecond";
    case DevicePermedia2:
        return "Permedia2";
    default:
        return "Permedia2Second";
    }
}

void ExpectSame(const Outcome& library, const Outcome& dll) {
    EXPECT_EQ(Difference(library.events, dll.events), "");
    EXPECT_TRUE(library.picture == dll.picture);
    EXPECT_TRUE(library.depth == dll.depth);
    EXPECT_EQ(dll.faults, library.faults);
}

size_t CountOf(const Outcome& outcome, char kind) {
    return static_cast<size_t>(
        std::count_if(outcome.events.begin(), outcome.events.end(),
                      [kind](const BusEvent& event) { return event.kind == kind; }));
}

// --- bring-up ---

class BringUpTest : public testing::TestWithParam<uint32_t> {};

TEST_P(BringUpTest, TheDllAndTheLibraryBringADisplayUpByTheSameAccesses) {
    for (const uint32_t bits : {16u, 32u}) {
        host::DisplayConfig config = SmallScreen(GetParam());
        config.bits = bits;
        const Outcome library = Play(Driver::Library, config);
        EXPECT_GT(CountOf(library, 'f'), 20u);
        ExpectSame(library, Play(Driver::Dll, config));
    }
}

TEST_P(BringUpTest, ASwitchOffAndOnGivesAFreshModule) {
    Choose(Driver::Dll);
    std::vector<BusEvent> first;
    for (int round = 0; round < 2; ++round) {
        BusEvents recording;
        StartedDisplay(SmallScreen(GetParam()), &recording).display.Board().SetRecorder(nullptr);
        if (round == 0) {
            first = recording.events;
        }
        EXPECT_EQ(Difference(first, recording.events), "");
    }
}

INSTANTIATE_TEST_SUITE_P(Devices, BringUpTest, testing::ValuesIn(kAllDevices),
                         [](const auto& info) { return DeviceName(info.param); });

// --- drawing ---

struct Carrier {
    const char* name;
    bool dma;
    const char* subBuffers;
};

class DrawingTest : public testing::TestWithParam<std::tuple<uint32_t, Carrier>> {
  protected:
    DrawingTest() : config(SmallScreen(std::get<0>(GetParam()))) {
        const Carrier& carrier = std::get<1>(GetParam());
        config.registry = {{"Direct3DHAL.NoDMA", carrier.dma ? "0" : "1"},
                           {"Direct3DHAL.SubBuffers", carrier.subBuffers}};
    }
    host::DisplayConfig config;
};

TEST_P(DrawingTest, TheDllAndTheLibraryDrawByTheSameWords) {
    const Outcome library = Play(Driver::Library, config, 400, 7);
    const bool dma = std::get<1>(GetParam()).dma;
    EXPECT_GT(CountOf(library, dma ? 'd' : 'f'), 5000u);
    EXPECT_NE(std::count(library.picture.begin(), library.picture.end(), 0),
              static_cast<ptrdiff_t>(library.picture.size()));
    EXPECT_EQ(library.faults, "");
    ExpectSame(library, Play(Driver::Dll, config, 400, 7));
}

INSTANTIATE_TEST_SUITE_P(Chips, DrawingTest,
                         testing::Combine(testing::ValuesIn(kDrawingDevices),
                                          testing::Values(Carrier{"Dma2", true, "2"},
                                                          Carrier{"Dma8", true, "8"},
                                                          Carrier{"Fifo", false, "8"})),
                         [](const auto& info) {
                             return DeviceName(std::get<0>(info.param)) +
                                    std::get<1>(info.param).name;
                         });

class NumbersTest : public testing::TestWithParam<uint32_t> {};

TEST_P(NumbersTest, ManyTrianglesGiveTheSameWordsUnderTheRuntimesPrecision) {
    for (const uint32_t seed : {11u, 12u, 13u}) {
        const Outcome library = Play(Driver::Library, SmallScreen(GetParam()), 10000, seed);
        ExpectSame(library, Play(Driver::Dll, SmallScreen(GetParam()), 10000, seed));
    }
}

TEST_P(NumbersTest, TheEndsOfTheRangeOfSinglesGiveTheSameWords) {
    for (const uint32_t seed : {21u, 22u, 23u, 24u}) {
        const host::DisplayConfig config = SmallScreen(GetParam());
        const Outcome library = Play(Driver::Library, config, 1000, seed, Numbers::Extreme);
        ExpectSame(library, Play(Driver::Dll, config, 1000, seed, Numbers::Extreme));
    }
}

TEST_P(NumbersTest, ADmaThreadDrawsTheSamePicture) {
    host::DisplayConfig config = SmallScreen(GetParam());
    const Outcome library = Play(Driver::Library, config, 400, 5);
    config.dmaThread = true;
    for (int round = 0; round < 3; ++round) {
        const Outcome dll = Play(Driver::Dll, config, 400, 5);
        EXPECT_TRUE(library.picture == dll.picture);
        EXPECT_TRUE(library.depth == dll.depth);
        EXPECT_EQ(dll.faults, "");
    }
}

INSTANTIATE_TEST_SUITE_P(Chips, NumbersTest, testing::ValuesIn(kDrawingDevices),
                         [](const auto& info) { return DeviceName(info.param); });

// --- two displays ---

TEST(TwoDisplays, EachApertureReachesItsOwnBoard) {
    const auto bringUp = [](Driver driver) {
        PowerOn(driver);
        std::vector<BusEvent> events[2];
        host::DisplayConfig first = SmallScreen(DeviceMX), second = SmallScreen(DevicePermedia2);
        second.number = 1;
        second.primary = false;
        second.registryName = "Display\\Second";
        host::Display left(first), right(second);
        BusEvents leftEvents, rightEvents;
        left.Board().SetRecorder(&leftEvents);
        right.Board().SetRecorder(&rightEvents);
        EXPECT_TRUE(left.Start());
        EXPECT_TRUE(right.Start());
        left.Board().SetRecorder(nullptr);
        right.Board().SetRecorder(nullptr);
        return std::pair(leftEvents.events, rightEvents.events);
    };
    const auto library = bringUp(Driver::Library), dll = bringUp(Driver::Dll);
    EXPECT_FALSE(library.first.empty());
    EXPECT_FALSE(library.second.empty());
    EXPECT_EQ(Difference(library.first, dll.first), "");
    EXPECT_EQ(Difference(library.second, dll.second), "");
}

// --- the board's pace ---

TEST(Pace, ABoardForWhichTheDllWouldWaitForEverIsRefused) {
    PowerOn(Driver::Dll);
    for (const board::Timing& timing :
         {board::Timing{.fifoDrainPerTick = 1}, board::Timing{.dmaWordsPerTick = 1},
          board::Timing{.interruptLatency = 1}}) {
        host::DisplayConfig config = SmallScreen(DeviceTX);
        config.timing = timing;
        EXPECT_THROW(host::Display{config}, std::invalid_argument);
        config.dmaThread = true;
        EXPECT_NO_THROW(host::Display{config});
    }
    PowerOn(Driver::Library);
    host::DisplayConfig config = SmallScreen(DeviceTX);
    config.timing.dmaWordsPerTick = 1;
    EXPECT_NO_THROW(host::Display{config});
}

} // namespace
