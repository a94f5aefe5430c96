#include "host/observe/watched_memory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <random>

namespace host {
namespace {

using testing::ElementsAre;

// "OFFSET+COUNT" of each run, or the memory as the runs make it.
std::vector<std::string> Runs(WatchedMemory& memory) {
    std::vector<std::string> runs;
    memory.Collect([&](uint32_t offset, std::span<const uint8_t> bytes) {
        runs.push_back(std::to_string(offset) + "+" + std::to_string(bytes.size()));
    });
    return runs;
}

TEST(WatchedMemoryTest, TellsWhatTheProcessorStoredAndNotTheBoard) {
    WatchedMemory memory(3 * 4096 + 100);
    uint8_t* const processor = memory.ProcessorView();
    EXPECT_THAT(Runs(memory), ElementsAre());
    processor[5] = 1;
    processor[6] = 2;
    processor[100] = 3;
    EXPECT_EQ(memory.BoardView()[6], 2);
    EXPECT_THAT(Runs(memory), ElementsAre("5+2", "100+1"));
    memory.BoardView()[50] = 9;
    EXPECT_EQ(processor[50], 9);
    EXPECT_THAT(Runs(memory), ElementsAre());
    // The same value is no change; the board's own stores before the page was opened are none.
    processor[5] = 1;
    processor[7] = 7;
    EXPECT_THAT(Runs(memory), ElementsAre("7+1"));
    // Across pages, and the last short one.
    std::memset(processor + 4090, 4, 20);
    processor[3 * 4096 + 99] = 1;
    EXPECT_THAT(Runs(memory), ElementsAre("4090+20", "12387+1"));
}

TEST(WatchedMemoryTest, ItsRunsMakeTheMemory) {
    WatchedMemory memory(64 << 10), other(64 << 10);
    std::vector<uint8_t> copy(64 << 10);
    std::mt19937 dice(3);
    for (int round = 0; round < 200; ++round) {
        for (uint32_t i = dice() % 20; i != 0; --i) {
            const uint32_t place = dice() % (64 << 10);
            const uint32_t count = std::min<uint32_t>(dice() % 300, (64 << 10) - place);
            std::memset(memory.ProcessorView() + place, static_cast<int>(dice()), count);
            other.ProcessorView()[place] ^= 1; // two displays
        }
        memory.Collect([&](uint32_t offset, std::span<const uint8_t> bytes) {
            std::ranges::copy(bytes, copy.begin() + offset);
        });
        ASSERT_EQ(std::memcmp(copy.data(), memory.BoardView().data(), copy.size()), 0);
        other.Collect([](uint32_t, std::span<const uint8_t>) {});
    }
}

// The same where all is compared instead; what the board has stored has to be said.
TEST(WatchedMemoryTest, ComparesWhereItCannotWatch) {
    WatchedMemory::CompareAll(true);
    WatchedMemory memory(3 * 4096 + 100);
    WatchedMemory::CompareAll(false);
    EXPECT_EQ(memory.ProcessorView(), memory.BoardView().data());
    uint8_t* const processor = memory.ProcessorView();
    processor[5] = 1;
    processor[6] = 2;
    processor[100] = 3;
    std::memset(processor + 4090, 4, 20);
    EXPECT_THAT(Runs(memory), ElementsAre("5+2", "100+1", "4090+20"));
    memory.BoardView()[50] = 9;
    memory.BoardHasStored();
    processor[5] = 1;
    processor[3 * 4096 + 99] = 1;
    EXPECT_THAT(Runs(memory), ElementsAre("12387+1"));
    EXPECT_THAT(Runs(memory), ElementsAre());
}

// What nobody watches ends the program as before.
TEST(WatchedMemoryDeathTest, OtherFaultsAreNotItsOwn) {
    EXPECT_DEATH(
        {
            WatchedMemory memory(4096);
            *reinterpret_cast<volatile char*>(16) = 1;
        },
        "");
}

} // namespace
} // namespace host
