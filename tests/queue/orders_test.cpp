// The DMA queue under every order of accesses: the driver's compiled code against the host's
// handler, and against handlers and drivers with a fault put in.
#include "driver/core/dma.h"
#include "driver/platform/processor.h"
#include "driver/services/context.h"
#include "host/display/context_table.h"
#include "tests/queue/explorer.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <string>

// One namespace a variant; see variants.cmake.
namespace handler_as_it_is {
#include "handler_as_it_is.inc"
}
namespace no_last_look {
#include "no_last_look.inc"
}
namespace no_barrier {
#include "no_barrier.inc"
}
namespace chip_not_looked_at {
#include "chip_not_looked_at.inc"
}
namespace running_never_cleared {
#include "running_never_cleared.inc"
}
namespace tail_before_start {
#include "tail_before_start.inc"
}
namespace tail_never_wraps {
#include "tail_never_wraps.inc"
}
namespace flags_cleared_last {
#include "flags_cleared_last.inc"
}
namespace switch_not_looked_at {
#include "switch_not_looked_at.inc"
}
namespace one_entry_a_call {
#include "one_entry_a_call.inc"
}
namespace head_before_entry {
#include "head_before_entry.inc"
}
namespace head_before_count {
#include "head_before_count.inc"
}
namespace running_before_head {
#include "running_before_head.inc"
}
namespace no_kick {
#include "no_kick.inc"
}
namespace full_queue_unseen {
#include "full_queue_unseen.inc"
}
namespace no_wrap {
#include "no_wrap.inc"
}
namespace tail_not_waited_for {
#include "tail_not_waited_for.inc"
}
namespace count_not_waited_for {
#include "count_not_waited_for.inc"
}
namespace idle_stays_set {
#include "idle_stays_set.inc"
}
namespace direct_without_wait {
#include "direct_without_wait.inc"
}

namespace queue {
namespace {

constexpr uint32_t kFirst = 6, kSecond = 7; // contexts
constexpr uint32_t kWords[] = {0x11, 0x7, 0x25, 0x9};
constexpr uint32_t kPhysical[] = {0x100000, 0x200000, 0x300000, 0x400000};
constexpr Transfer kPending = {3, 0x500000};

// One context table, two clients.
struct Table {
    alignas(4) uint8_t bytes[1024];
    ContextBlock* Block() { return reinterpret_cast<ContextBlock*>(bytes); }
};
Table table;
D3DContext pending; // of kFirst, in the scenario that has words pending
uint32_t pendingWords[4];
DriverData driver;

struct Driver {
    decltype(&StartDMA) start = StartDMA;
    decltype(&WaitDMAIdle) wait = WaitDMAIdle;
};
#define KORV_FAULTY_DRIVER(name)                                                                   \
    Driver {                                                                                       \
        name::FaultyStartDMA, name::FaultyWaitDMAIdle                                              \
    }

using HandlerCode = void (*)();
template <class AnyHandler>
void Interrupt() {
    AnyHandler handler(Machine::SharedPage(), Machine::Aperture());
    handler.Interrupt();
}
#define KORV_HANDLER(name) Interrupt<name::host::DmaQueueHandler>

// What the driver does: transfers under one context, the rest under another.
struct Plan {
    uint32_t transfers; // under kFirst
    uint32_t entries;   // of its queue; 0: none
    uint32_t more = 0;  // under kSecond
    uint32_t moreEntries = 0;
    bool wordsPending = false; // kFirst is a Direct3D context that is left with words unsent
};

Scenario Make(const Plan& plan, const Driver& code, HandlerCode handler) {
    Scenario scenario;
    scenario.memory = {{&table, sizeof(table)}, {&pending.Stream, sizeof(pending.Stream)}};
    scenario.start = [plan](ChipInfo& chip) {
        std::memset(static_cast<void*>(&table), 0, sizeof(table));
        std::memset(static_cast<void*>(&pending), 0, sizeof(pending));
        std::memset(static_cast<void*>(&driver), 0, sizeof(driver));
        ContextBlock* block = table.Block();
        block->NextFree = static_cast<uint16_t>((sizeof(ContextBlock) + 3) & ~3u);
        block->FreeBytes = static_cast<uint16_t>(sizeof(table) - block->NextFree);
        const std::vector<uint16_t> list = {static_cast<uint16_t>(MappedOffset(tag::FBReadMode)),
                                            static_cast<uint16_t>(MappedOffset(tag::FBWriteMode))};
        for (int i = 0; i < 4; ++i) {
            ::host::AddRegisterList(block, list);
        }
        for (uint32_t id = 4; id <= kSecond; ++id) {
            ::host::AddContext(block, ::host::ListScreen, list, [](uint16_t) { return 0u; });
        }
        block->EndIndex[kFirst] = static_cast<uint16_t>(plan.entries);
        block->EndIndex[kSecond] = static_cast<uint16_t>(plan.moreEntries);
        if (plan.wordsPending) {
            block->Handle[kFirst] = 1;
            block->Owner[kFirst] = reinterpret_cast<uint32_t>(&pending);
            pending.Driver = &driver;
            CommandStream& stream = pending.Stream;
            stream.CommandMode = kCommandModeDMA;
            stream.SubBufferCount = 1;
            stream.SubBuffers[0] = {kPending.physical, pendingWords, pendingWords + 3};
            stream.WritePointer = pendingWords + kPending.words;
        }
        chip.ContextBlocks = block;
        chip.CurrentContext = kContext2D;
        chip.PrimaryDisplay = 1;
        chip.DeviceId = DevicePermedia2;
        chip.DMAState = DMAIdle;
        driver.ChipInfo = Machine::SharedPage();
        driver.Registers = Machine::Aperture();
    };
    scenario.driver = [plan, code] {
        for (uint32_t i = 0; i < plan.transfers + plan.more; ++i) {
            if (i == plan.transfers && plan.wordsPending) {
                HandingOver(kPending);
            }
            HandingOver({kWords[i], kPhysical[i]});
            code.start(&driver, i < plan.transfers ? kFirst : kSecond, kWords[i], kPhysical[i],
                       nullptr, 0);
            HandedOver();
        }
        code.wait(&driver);
        ExpectAllDone("WaitDMAIdle returned");
    };
    scenario.handler = handler;
    return scenario;
}

constexpr Options kSameLevel = {Handler::OnSameProcessor, Line::Level};
constexpr Options kSameEdge = {Handler::OnSameProcessor, Line::Edge};
constexpr Options kOtherLevel = {Handler::OnOtherProcessor, Line::Level};
constexpr Options kOtherEdge = {Handler::OnOtherProcessor, Line::Edge};
constexpr Options kEverywhere[] = {kSameLevel, kSameEdge, kOtherLevel, kOtherEdge};
constexpr uint32_t kSame = 0b0011, kOther = 0b1100, kLevel = 0b0101, kAll = 0b1111;

std::string Told(const Plan& plan, const Options& options, const Report& report) {
    std::string text = std::to_string(plan.transfers) + " transfers in a queue of " +
                       std::to_string(plan.entries) + ", " + std::to_string(plan.more) +
                       " in one of " + std::to_string(plan.moreEntries) + ", handler on the " +
                       (options.handler == Handler::OnSameProcessor ? "same" : "other") +
                       " processor, line by " + (options.line == Line::Level ? "level" : "edge") +
                       ", " + std::to_string(report.states) + " states: " + report.wrong + "\n";
    for (const std::string& step : report.steps) {
        text += "  " + step + "\n";
    }
    return text;
}

class QueueOrders : public testing::Test {
  protected:
    void SetUp() override {
#ifdef __SANITIZE_ADDRESS__
        GTEST_SKIP() << "stacks are put back behind the sanitizer's back";
#endif
    }

    void ExpectSound(const Plan& plan, const Options& options,
                     HandlerCode handler = KORV_HANDLER(handler_as_it_is)) {
        const Report report = Explore(Make(plan, {}, handler), options);
        EXPECT_EQ(report.wrong, "") << Told(plan, options, report);
        // Fewer would mean that processors no longer stop.
        EXPECT_GT(report.states, 10 * plan.transfers);
        states_ += report.states;
    }
    void ExpectSound(const Plan& plan) {
        for (const Options& options : kEverywhere) {
            ExpectSound(plan, options);
        }
    }
    // The board that the host plays with has its line by edge.
    void ExpectSoundAsPlayed(const Plan& plan) {
        for (const Options& options : {kSameLevel, kSameEdge, kOtherEdge}) {
            ExpectSound(plan, options);
        }
    }
    ~QueueOrders() override {
        RecordProperty("states", std::to_string(states_));
    }

    uint64_t states_ = 0;
};

TEST_F(QueueOrders, AreAllSoundInAQueueOfTwo) {
    for (uint32_t transfers = 1; transfers <= 3; ++transfers) {
        ExpectSound({transfers, 2});
    }
}

TEST_F(QueueOrders, AreAllSoundInAQueueOfThree) {
    for (uint32_t transfers = 1; transfers <= 3; ++transfers) {
        ExpectSound({transfers, 3});
    }
}

TEST_F(QueueOrders, AreAllSoundForFourTransfers) {
    ExpectSoundAsPlayed({4, 2});
    ExpectSoundAsPlayed({4, 3});
}

TEST_F(QueueOrders, AreAllSoundWithoutAQueue) {
    ExpectSound({4, 0});
}

TEST_F(QueueOrders, AreAllSoundAcrossAChangeOfContext) {
    for (const Plan& plan :
         {Plan{1, 2, 1, 2}, {1, 3, 1, 3}, {2, 2, 1, 3}, {2, 3, 1, 2}, {2, 2, 1, 0}, {1, 0, 2, 2}}) {
        ExpectSoundAsPlayed(plan);
    }
}

TEST_F(QueueOrders, AreAllSoundWhereTheOutgoingContextHasWordsLeft) {
    ExpectSoundAsPlayed({1, 2, 1, 0, true});
    ExpectSoundAsPlayed({2, 3, 1, 2, true});
}

// Not what the host does, and no worse.
TEST_F(QueueOrders, AreSoundForAHandlerThatClearsRunningBehindEachStart) {
    for (const Options& options : kEverywhere) {
        ExpectSound({3, 2}, options, KORV_HANDLER(one_entry_a_call));
    }
}

struct Fault {
    const char* name;
    Driver driver;
    HandlerCode handler;
    uint32_t foundIn; // bit i: in kEverywhere[i]
    Plan plan = {3, 2};
};
constexpr HandlerCode kGood = KORV_HANDLER(handler_as_it_is);
#define KORV_FAULT_OF_DRIVER(name, ...)                                                            \
    { #name, KORV_FAULTY_DRIVER(name), kGood, __VA_ARGS__ }
#define KORV_FAULT_OF_HANDLER(name, ...)                                                           \
    { #name, {}, KORV_HANDLER(name), __VA_ARGS__ }
const Fault kFaults[] = {
    KORV_FAULT_OF_DRIVER(head_before_entry, kAll),
    KORV_FAULT_OF_DRIVER(head_before_count, kAll),
    KORV_FAULT_OF_DRIVER(running_before_head, kAll),
    KORV_FAULT_OF_DRIVER(no_kick, kAll),
    KORV_FAULT_OF_DRIVER(full_queue_unseen, kAll),
    KORV_FAULT_OF_DRIVER(no_wrap, kAll),
    KORV_FAULT_OF_DRIVER(tail_not_waited_for, kAll),
    KORV_FAULT_OF_DRIVER(count_not_waited_for, kAll),
    KORV_FAULT_OF_DRIVER(idle_stays_set, kAll),
    KORV_FAULT_OF_DRIVER(direct_without_wait, kAll, {2, 0}),
    KORV_FAULT_OF_HANDLER(chip_not_looked_at, kAll),
    KORV_FAULT_OF_HANDLER(running_never_cleared, kAll),
    KORV_FAULT_OF_HANDLER(tail_never_wraps, kAll),
    // While the driver stands still nothing is in between.
    KORV_FAULT_OF_HANDLER(no_last_look, kOther),
    KORV_FAULT_OF_HANDLER(no_barrier, kOther),
    KORV_FAULT_OF_HANDLER(tail_before_start, kOther),
    // An edge is not lost with the flag.
    KORV_FAULT_OF_HANDLER(flags_cleared_last, kLevel),
    KORV_FAULT_OF_HANDLER(switch_not_looked_at, kAll, {1, 2, 1, 2}),
};
void PrintTo(const Fault& fault, std::ostream* out) {
    *out << fault.name;
}

class QueueFaults : public testing::TestWithParam<Fault> {};

TEST_P(QueueFaults, AreFound) {
#ifdef __SANITIZE_ADDRESS__
    GTEST_SKIP() << "stacks are put back behind the sanitizer's back";
#endif
    const Fault& fault = GetParam();
    for (uint32_t i = 0; i < 4; ++i) {
        const Report report =
            Explore(Make(fault.plan, fault.driver, fault.handler), kEverywhere[i]);
        EXPECT_EQ(!report.wrong.empty(), (fault.foundIn >> i & 1) != 0)
            << Told(fault.plan, kEverywhere[i], report);
    }
}

INSTANTIATE_TEST_SUITE_P(All, QueueFaults, testing::ValuesIn(kFaults),
                         [](const auto& test) { return std::string(test.param.name); });

} // namespace
} // namespace queue
