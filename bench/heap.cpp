// Allocating and freeing in a heap of 1,000 live blocks.
#include "bench/session.h"
#include "driver/core/driverdata.h"
#include "driver/heap/linalloc.h"
#include "driver/platform/minivdd.h"
#include "host/win32/device.h"
#include "host/win32/win32.h"

#include <cstring>
#include <memory>
#include <random>
#include <vector>

namespace bench {

namespace {

constexpr uint32_t kLiveBlocks = 1000;
constexpr uint32_t kPairs = 1000;
constexpr uint32_t kFrameBuffer = 0xC0000000;
constexpr uint32_t kFrameBufferBytes = 64u << 20;

// The memory service of the mini VDD, for node groups.
class MemoryService : public host::Device {
  public:
    bool Control(uint32_t, const void* in, uint32_t, void* out, uint32_t, uint32_t*) override {
        MemoryServiceRequest request;
        std::memcpy(&request, in, sizeof(request));
        if (request.Command == MemoryServiceAllocate) {
            blocks_.push_back(std::make_unique<uint8_t[]>(request.Bytes));
            request.Handle = request.Linear = reinterpret_cast<uint32_t>(blocks_.back().get());
        }
        std::memcpy(out, &request, sizeof(request));
        return true;
    }

  private:
    std::vector<std::unique_ptr<uint8_t[]>> blocks_;
};

struct Policy {
    const char* name;
    uint32_t flags;
};

void Measure(Session& session, const Policy& policy) {
    Work work;
    work.name = std::string("heap/") + policy.name;
    if (!session.Wants(work.name)) {
        return;
    }
    auto driver = std::make_unique<DriverData>();
    std::memset(static_cast<void*>(driver.get()), 0, sizeof(DriverData));
    driver->FrameBufferBase = reinterpret_cast<uint8_t*>(kFrameBuffer);
    driver->Heap.HeapStart = kFrameBuffer;
    driver->Heap.HeapEnd = kFrameBuffer + kFrameBufferBytes - 1;
    InitialiseHeapManager(driver.get());

    std::mt19937 random(1);
    const auto allocate = [&] {
        HeapRequest request{sizeof(HeapRequest), policy.flags, 4, 1024 + random() % 32768, 0};
        AllocateVideoMemory(driver.get(), &request);
        return request.Address;
    };
    // Twice the blocks and every second one freed: a heap as a running program leaves it.
    std::vector<uint32_t> live;
    for (uint32_t i = 0; i < 2 * kLiveBlocks; ++i) {
        live.push_back(allocate());
    }
    for (uint32_t i = 0; i < kLiveBlocks; ++i) {
        FreeVideoMemory(driver.get(), live[i]);
        live[i] = live[2 * kLiveBlocks - 1 - i];
        live.pop_back();
    }
    work.unit = "pair";
    work.units = kPairs;
    work.run = [&] {
        for (uint32_t i = 0; i < kPairs; ++i) {
            uint32_t& block = live[random() % live.size()];
            FreeVideoMemory(driver.get(), block);
            block = allocate();
        }
    };
    session.Measure(work);
}

} // namespace

void MeasureHeap(Session& session) {
    if (!session.Wants("heap")) {
        return;
    }
    MemoryService service;
    host::ResetWin32();
    host::RegisterDevice(kMiniVDDName, &service);
    for (const Policy& policy :
         {Policy{"bottom, first fit (surfaces)", AllocateFromBottom | FirstFit},
          Policy{"top, first fit (textures)", AllocateFromTop | FirstFit},
          Policy{"bottom, best fit", AllocateFromBottom}, Policy{"top, best fit", 0}}) {
        Measure(session, policy);
    }
}

} // namespace bench
