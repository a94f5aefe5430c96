#pragma once
// The mini VDD: the device that hands out displays and memory, and the interrupt handler that
// drains the DMA queue in ChipInfo.
#include "driver/core/driverdata.h"
#include "driver/platform/minivdd.h"
#include "driver/services/context.h"
#include "host/vdd/dma_queue.h"
#include "host/win32/device.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <vector>

namespace host {

class MiniVdd : public Device {
  public:
    // Makes a display known under the number that DriverInit is called with, and the device by its
    // name. The result is the display's interrupt handler; it lives until Detach.
    DmaQueueHandler& Attach(uint32_t number, DriverData* driver);
    void Detach(DriverData* driver);
    size_t Displays() const { return displays_.size(); }

    // A context block of kContextBlockBytes, not yet in any chain. It lives until the display goes.
    ContextBlock* NewContextBlock(ChipInfo* chip);
    static constexpr uint32_t kContextBlockBytes = 0x8000;

    // What the handler of a display has done so far.
    DmaQueueCounters QueueCounters(DriverData* driver) const;

    // Blocks of the memory service that are out, and their bytes.
    size_t LiveBlocks() const { return blocks_.size(); }
    size_t LiveBytes() const;
    // Frees that named no block.
    uint32_t BadFrees() const { return badFrees_; }
    // The next `count` allocations of memory, or of context blocks, are refused after `skip`.
    void RefuseMemory(uint32_t count = 1, uint32_t skip = 0);
    void RefuseContextBlocks(uint32_t count = 1);
    // Context blocks that were asked for by control code.
    uint32_t ContextBlockRequests() const { return contextBlockRequests_; }

    bool Control(uint32_t code, const void* in, uint32_t inBytes, void* out, uint32_t outBytes,
                 uint32_t* returned) override;

    // Until the next Reset() a block has the address that was freed last of one of its size, if
    // there is any, as with host::heap::ReuseInOrder.
    void ReuseInOrder() { reusesInOrder_ = true; }

    // Gives all memory back and forgets refusals and counts. Displays stay attached.
    void Reset();

  private:
    struct Block {
        std::unique_ptr<uint8_t[]> memory;
        uint32_t bytes;
    };
    struct AttachedDisplay {
        uint32_t number;
        DriverData* driver;
        std::unique_ptr<DmaQueueHandler> queue;
        std::vector<std::unique_ptr<uint32_t[]>> contextBlocks;
    };

    AttachedDisplay* Find(const ChipInfo* chip);
    const AttachedDisplay* Find(const DriverData* driver) const;
    bool AddContextBlock(ChipInfo* chip);
    void ServeMemory(MemoryServiceRequest& request);

    std::vector<std::unique_ptr<AttachedDisplay>> displays_;
    std::map<uint32_t, Block> blocks_; // by handle
    bool reusesInOrder_ = false;
    std::map<uint32_t, std::vector<std::unique_ptr<uint8_t[]>>> freed_; // by bytes, the latest last
    uint32_t nextHandle_ = 0xC0000010;
    uint32_t badFrees_ = 0;
    uint32_t refuseSkip_ = 0, refuseCount_ = 0, refuseContextBlocks_ = 0;
    uint32_t contextBlockRequests_ = 0;
};

// The machine's one mini VDD.
MiniVdd& TheMiniVdd();

} // namespace host
