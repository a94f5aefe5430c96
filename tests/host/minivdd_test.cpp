#include "driver/core/chipbus.h"
#include "driver/heap/linalloc.h"
#include "host/vdd/minivdd.h"
#include "host/win32/win32.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <functional>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

namespace {

using host::TheMiniVdd;

// A chip with a DMA engine that finishes when the test says so.
class FakeChip {
  public:
    explicit FakeChip(ChipRegisters* registers) : registers_(registers) {
        ChipBus bus;
        bus.self = this;
        bus.Read = [](void* self, uint32_t offset) {
            return static_cast<FakeChip*>(self)->Read(offset);
        };
        bus.Write = [](void* self, uint32_t offset, uint32_t value) {
            static_cast<FakeChip*>(self)->Write(offset, value);
        };
        bus.Words = [](void*, const uint32_t*, uint32_t) {};
        bus.Idle = [](void*, uint32_t) {};
        AttachChipBus(registers, bus);
    }
    ~FakeChip() { DetachChipBus(registers_); }

    uint32_t Read(uint32_t offset) {
        const std::lock_guard lock(mutex);
        return offset == reg::DMACount ? count : offset == reg::IntFlags ? flags : 0;
    }
    void Write(uint32_t offset, uint32_t value) {
        {
            const std::lock_guard lock(mutex);
            if (offset == reg::DMAAddress) {
                address = value;
            } else if (offset == reg::IntFlags) {
                flags &= ~value;
            } else if (offset == reg::DMACount) {
                restarts += count != 0 ? 1 : 0;
                count = value;
                transfers.emplace_back(address, value);
            }
        }
        if (offset == reg::DMACount && onStart) {
            onStart();
        }
    }
    // The transfer ends.
    void Complete() {
        const std::lock_guard lock(mutex);
        count = 0;
        flags |= 1;
    }

    std::mutex mutex;
    uint32_t address = 0, count = 0, flags = 0, restarts = 0;
    std::vector<std::pair<uint32_t, uint32_t>> transfers;
    std::function<void()> onStart;

  private:
    ChipRegisters* registers_;
};

class MiniVddTest : public ::testing::Test {
  protected:
    MiniVddTest() {
        host::ResetWin32();
        TheMiniVdd().Reset();
        std::memset(static_cast<void*>(&data), 0, sizeof(data));
        std::memset(static_cast<void*>(&chip), 0, sizeof(chip));
        data.ChipInfo = &chip;
        data.RegisterBase = &registers;
        queue = &TheMiniVdd().Attach(3, &data);
    }
    ~MiniVddTest() override {
        TheMiniVdd().Detach(&data);
        host::ResetWin32();
    }

    bool Ask(uint32_t code, void* in, uint32_t inBytes, void* out, uint32_t outBytes) {
        const HANDLE device = CreateFileA("\\\\.\\glintmvd", GENERIC_READ, 3, nullptr,
                                          OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
        DWORD returned = 0;
        const BOOL done =
            DeviceIoControl(device, code, in, inBytes, out, outBytes, &returned, nullptr);
        CloseHandle(device);
        return done != 0;
    }

    void Enqueue(uint32_t address, uint32_t count) {
        const uint32_t head = chip.QueueHead;
        chip.QueueAddress[head] = address;
        chip.QueueCount[head] = count;
        chip.QueueHead = head + 1 == chip.QueueEnd ? 0 : head + 1;
    }

    DriverData data;
    ChipInfo chip;
    ChipRegisters registers;
    FakeChip bus{&registers};
    host::DmaQueueHandler* queue;
};

TEST_F(MiniVddTest, ADisplayIsFoundByItsNumber) {
    uint32_t number = 3, address = 0;
    EXPECT_TRUE(Ask(MiniVDDGetDriverData, &number, 4, &address, 4));
    EXPECT_EQ(address, reinterpret_cast<uintptr_t>(&data));
    number = 4;
    EXPECT_TRUE(Ask(MiniVDDGetDriverData, &number, 4, &address, 4));
    EXPECT_EQ(address, 0u);
}

TEST_F(MiniVddTest, TheDeviceGoesWithItsLastDisplay) {
    TheMiniVdd().Detach(&data);
    uint32_t number = 3, address = 0;
    EXPECT_FALSE(Ask(MiniVDDGetDriverData, &number, 4, &address, 4));
}

TEST_F(MiniVddTest, ContextBlocksAreAddedAtTheEndOfTheChain) {
    uint32_t address = reinterpret_cast<uintptr_t>(&chip);
    EXPECT_TRUE(Ask(MiniVDDAddContextBlock, &address, 4, &address, 4));
    ContextBlock* first = chip.ContextBlocks;
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(first->SlotCount, 0);
    EXPECT_GE(first->NextFree, sizeof(ContextBlock));
    EXPECT_EQ(first->NextFree + first->FreeBytes, int{host::MiniVdd::kContextBlockBytes});
    EXPECT_TRUE(Ask(MiniVDDAddContextBlock, &address, 4, &address, 4));
    EXPECT_EQ(chip.ContextBlocks, first);
    ASSERT_NE(first->NextBlock, nullptr);
    EXPECT_EQ(first->NextBlock->NextBlock, nullptr);

    TheMiniVdd().RefuseContextBlocks();
    EXPECT_FALSE(Ask(MiniVDDAddContextBlock, &address, 4, &address, 4));
    EXPECT_EQ(first->NextBlock->NextBlock, nullptr);
    EXPECT_EQ(TheMiniVdd().ContextBlockRequests(), 3u);
    address += 4;
    EXPECT_FALSE(Ask(MiniVDDAddContextBlock, &address, 4, &address, 4));
}

TEST_F(MiniVddTest, MemoryIsGivenTakenBackAndRefused) {
    MemoryServiceRequest request{20, 1, 0x12E0, 0, 0};
    EXPECT_TRUE(Ask(MiniVDDMemoryService, &request, 20, &request, 20));
    EXPECT_NE(request.Handle, 0u);
    EXPECT_NE(request.Linear, 0u);
    EXPECT_NE(*reinterpret_cast<uint32_t*>(request.Linear), 0u) << "memory comes unclean";
    EXPECT_EQ(TheMiniVdd().LiveBlocks(), 1u);
    EXPECT_EQ(TheMiniVdd().LiveBytes(), 0x12E0u);

    TheMiniVdd().RefuseMemory();
    MemoryServiceRequest refused{20, 1, 16, 0, 0};
    EXPECT_TRUE(Ask(MiniVDDMemoryService, &refused, 20, &refused, 20));
    EXPECT_EQ(refused.Linear, 0u);

    MemoryServiceRequest wrong{20, 2, 0, request.Handle, request.Linear + 4};
    EXPECT_TRUE(Ask(MiniVDDMemoryService, &wrong, 20, &wrong, 20));
    EXPECT_EQ(TheMiniVdd().BadFrees(), 1u);
    MemoryServiceRequest free{20, 2, 0, request.Handle, request.Linear};
    EXPECT_TRUE(Ask(MiniVDDMemoryService, &free, 20, &free, 20));
    EXPECT_EQ(TheMiniVdd().LiveBlocks(), 0u);

    MemoryServiceRequest misfit{16, 1, 16, 0, 0};
    EXPECT_FALSE(Ask(MiniVDDMemoryService, &misfit, 20, &misfit, 20));
    EXPECT_FALSE(Ask(99, &misfit, 20, &misfit, 20));
}

TEST_F(MiniVddTest, FreedMemoryIsGivenAgainInOrder) {
    const auto ask = [this](uint32_t bytes) {
        MemoryServiceRequest request{20, 1, bytes, 0, 0};
        EXPECT_TRUE(Ask(MiniVDDMemoryService, &request, 20, &request, 20));
        return request;
    };
    const auto free = [this](const MemoryServiceRequest& block) {
        MemoryServiceRequest request{20, 2, 0, block.Handle, block.Linear};
        EXPECT_TRUE(Ask(MiniVDDMemoryService, &request, 20, &request, 20));
    };
    TheMiniVdd().ReuseInOrder();
    const MemoryServiceRequest first = ask(0x1200), second = ask(0x1200), other = ask(0x1300);
    free(second);
    free(other);
    free(first);
    EXPECT_EQ(ask(0x1200).Linear, first.Linear);
    EXPECT_EQ(ask(0x1200).Linear, second.Linear);
    const MemoryServiceRequest fresh = ask(0x1200);
    EXPECT_NE(fresh.Linear, first.Linear);
    EXPECT_NE(fresh.Linear, second.Linear);
    EXPECT_NE(fresh.Linear, other.Linear);
    EXPECT_EQ(ask(0x1300).Linear, other.Linear);
    EXPECT_EQ(TheMiniVdd().LiveBlocks(), 4u);
}

TEST_F(MiniVddTest, OneInterruptStartsOneTransferAndItsEndTheNext) {
    chip.DMAState = DMAQueueOn;
    chip.QueueEnd = 3;
    Enqueue(0x1000, 10);
    Enqueue(0x2000, 20);
    queue->Interrupt();
    ASSERT_EQ(bus.transfers.size(), 1u);
    EXPECT_EQ(bus.transfers[0], std::make_pair(0x1000u, 10u));
    EXPECT_EQ(chip.QueueTail, 1u);
    EXPECT_NE(chip.QueueRunning, 0u);

    queue->Interrupt(); // a kick while the transfer runs
    EXPECT_EQ(bus.transfers.size(), 1u);
    EXPECT_NE(chip.QueueRunning, 0u);

    bus.Complete();
    queue->Interrupt();
    ASSERT_EQ(bus.transfers.size(), 2u);
    EXPECT_EQ(bus.transfers[1], std::make_pair(0x2000u, 20u));
    EXPECT_EQ(chip.QueueTail, 2u);
    EXPECT_EQ(bus.flags & 1, 0u) << "the interrupt is acknowledged";

    bus.Complete();
    queue->Interrupt();
    EXPECT_EQ(bus.transfers.size(), 2u);
    EXPECT_EQ(chip.QueueRunning, 0u);
    EXPECT_EQ(bus.restarts, 0u);
}

TEST_F(MiniVddTest, TheTailWrapsAtTheQueuesEnd) {
    chip.DMAState = DMAQueueOn;
    chip.QueueEnd = 7;
    chip.QueueHead = 6;
    chip.QueueTail = 6;
    Enqueue(0x6000, 6);
    EXPECT_EQ(chip.QueueHead, 0u);
    queue->Interrupt();
    EXPECT_EQ(chip.QueueTail, 0u);
    EXPECT_EQ(bus.transfers.size(), 1u);
}

TEST_F(MiniVddTest, TheTailMovesOnlyAfterTheTransferHasStarted) {
    chip.DMAState = DMAQueueOn;
    chip.QueueEnd = 3;
    uint32_t tailAtStart = 99, runningAtStart = 0;
    bus.onStart = [&] {
        tailAtStart = chip.QueueTail;
        runningAtStart = chip.QueueRunning;
    };
    Enqueue(0x1000, 1);
    queue->Interrupt();
    EXPECT_EQ(tailAtStart, 0u);
    EXPECT_NE(runningAtStart, 0u);
}

TEST_F(MiniVddTest, AnInterruptFromInsideTheHandlerIsWorkedOffByIt) {
    chip.DMAState = DMAQueueOn;
    chip.QueueEnd = 7;
    // An engine that is done at once interrupts while its start is still being written.
    bus.onStart = [&] {
        bus.Complete();
        queue->Interrupt();
    };
    for (uint32_t i = 0; i < 5; ++i) {
        Enqueue(0x1000 * i, i + 1);
    }
    queue->Interrupt();
    ASSERT_EQ(bus.transfers.size(), 5u);
    for (uint32_t i = 0; i < 5; ++i) {
        EXPECT_EQ(bus.transfers[i], std::make_pair(0x1000u * i, i + 1));
    }
    EXPECT_EQ(chip.QueueTail, 5u);
    EXPECT_EQ(chip.QueueRunning, 0u);
    EXPECT_EQ(bus.restarts, 0u);
}

TEST_F(MiniVddTest, AQueueThatIsSwitchedOffIsLeftAlone) {
    chip.QueueEnd = 7;
    chip.QueueHead = 0;
    chip.QueueTail = 5; // as seen between the two stores of a change of context
    queue->Interrupt();
    EXPECT_TRUE(bus.transfers.empty());
    EXPECT_EQ(chip.QueueTail, 5u);
}

TEST_F(MiniVddTest, BlanksAreNotedOnlyWhenTrackedByInterrupt) {
    bus.flags = 0x10;
    queue->Interrupt();
    EXPECT_EQ(chip.Flags & VBlankSeen, 0u);
    EXPECT_EQ(bus.flags, 0x10u) << "the flag is the driver's to clear";
    chip.Flags = VBlankByInterrupt | DeltaPresent;
    queue->Interrupt();
    EXPECT_EQ(chip.Flags, uint32_t{VBlankByInterrupt | DeltaPresent | VBlankSeen});
    EXPECT_EQ(bus.flags, 0u);
    EXPECT_EQ(queue->Counters().blanks, 1u);
}

// The driver's side of the queue, against a handler on another thread: every entry must be sent
// once, in order, and no entry may be left behind.
TEST_F(MiniVddTest, NoEntryIsLostOrRepeatedWithTheHandlerOnAnotherThread) {
    constexpr uint32_t kTransfers = 20000, kContextChange = 500;
    std::atomic<uint32_t> raised = 0;
    std::atomic<bool> stop = false;
    bus.onStart = [&] { ++raised; };
    std::thread processor([&] {
        uint32_t handled = 0;
        while (!stop) {
            const uint32_t now = raised;
            if (now == handled) {
                std::this_thread::yield();
                continue;
            }
            handled = now;
            bus.Complete();
            queue->Interrupt();
        }
    });
    chip.QueueEnd = 3;
    chip.DMAState = DMAQueueOn;
    const auto drained = [&] {
        while (chip.QueueTail != chip.QueueHead || bus.Read(reg::DMACount) != 0) {
            std::this_thread::yield();
        }
    };
    for (uint32_t i = 0; i < kTransfers; ++i) {
        if (i % kContextChange == 0) {
            drained();
            chip.DMAState = 0;
            chip.QueueHead = 0;
            chip.QueueTail = 0;
            chip.DMAState = DMAQueueOn;
        }
        const uint32_t head = chip.QueueHead;
        const uint32_t next = head + 1 == chip.QueueEnd ? 0 : head + 1;
        while (next == chip.QueueTail) {
            std::this_thread::yield();
        }
        chip.QueueAddress[head] = i;
        chip.QueueCount[head] = i + 1;
        chip.QueueHead = next;
        if (chip.QueueRunning == 0) {
            queue->Interrupt();
        }
    }
    drained();
    stop = true;
    processor.join();
    ASSERT_EQ(bus.transfers.size(), kTransfers);
    for (uint32_t i = 0; i < kTransfers; ++i) {
        ASSERT_EQ(bus.transfers[i], std::make_pair(i, i + 1));
    }
    EXPECT_EQ(bus.restarts, 0u);
}

} // namespace
