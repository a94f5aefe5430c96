// Random calls of the C interface. KORV_FUZZ_CALLS in the environment sets how many are made,
// KORV_FUZZ_SEED where they start.
#include "tests/board/capi/any_calls.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <iostream>
#include <random>

namespace {

using namespace capi_rig;

uint64_t FromEnvironment(const char* name, uint64_t otherwise) {
    const char* text = std::getenv(name);
    return text != nullptr ? std::strtoull(text, nullptr, 10) : otherwise;
}

class Dice final : public Choices {
  public:
    explicit Dice(uint64_t seed) : random_(static_cast<uint32_t>(seed)) {}
    bool More() const override { return true; }
    uint32_t Word() override { return static_cast<uint32_t>(random_()); }
    uint32_t Below(uint32_t end) override { return Word() % end; }
    bool TakesItsTime() const override { return true; }

  private:
    std::mt19937 random_;
};

TEST(BoardFuzz, RandomCallsReturnAndFaultsAreCounted) {
    const uint64_t calls = FromEnvironment("KORV_FUZZ_CALLS", 5000);
    Dice dice(FromEnvironment("KORV_FUZZ_SEED", 1));
    AnyCalls fuzzer(dice);
    fuzzer.Run(calls);
    EXPECT_STREQ(fuzzer.broken, nullptr);
    std::cout << calls << " calls, " << fuzzer.boards << " boards, " << fuzzer.refusedConfigs
              << " configurations refused, " << fuzzer.callbacks << " callbacks, " << fuzzer.drawn
              << " bytes drawn; faults:";
    for (const uint64_t count : fuzzer.faults) {
        std::cout << " " << count;
    }
    std::cout << "; statuses:";
    for (const uint64_t count : fuzzer.statuses) {
        std::cout << " " << count;
    }
    std::cout << "\n";
    // It has been everywhere.
    for (int kind = 0; kind < KORV_BOARD_FAULT_KINDS; ++kind) {
        EXPECT_GT(fuzzer.faults[kind], 0u) << kind;
    }
    for (const int status : {KORV_BOARD_BAD_ARGUMENT, KORV_BOARD_BAD_CONFIG,
                             KORV_BOARD_BAD_SNAPSHOT, KORV_BOARD_UNKNOWN_NAME, KORV_BOARD_TOO_SMALL,
                             KORV_BOARD_STILL_BUSY, KORV_BOARD_REENTERED}) {
        EXPECT_GT(fuzzer.statuses[status], 0u) << status;
    }
    EXPECT_GT(fuzzer.drawn, calls / 2);
}

} // namespace
