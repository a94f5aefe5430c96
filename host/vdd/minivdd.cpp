#include "host/vdd/minivdd.h"

#include <algorithm>
#include <cstring>

namespace host {

namespace {

// What fresh memory of the service holds: nobody may count on zeros.
constexpr int kStaleByte = 0xA5;

} // namespace

DmaQueueHandler& MiniVdd::Attach(uint32_t number, DriverData* driver) {
    displays_.push_back(std::make_unique<AttachedDisplay>(
        AttachedDisplay{number,
                        driver,
                        std::make_unique<DmaQueueHandler>(driver->ChipInfo, driver->RegisterBase),
                        {}}));
    RegisterDevice(kMiniVDDName, this);
    return *displays_.back()->queue;
}

void MiniVdd::Detach(DriverData* driver) {
    std::erase_if(displays_, [&](const auto& display) { return display->driver == driver; });
    if (displays_.empty() && RegisteredDevice(kMiniVDDName) == this) {
        UnregisterDevice(kMiniVDDName);
    }
}

MiniVdd::AttachedDisplay* MiniVdd::Find(const ChipInfo* chip) {
    for (const auto& display : displays_) {
        if (display->driver->ChipInfo == chip) {
            return display.get();
        }
    }
    return nullptr;
}

const MiniVdd::AttachedDisplay* MiniVdd::Find(const DriverData* driver) const {
    for (const auto& display : displays_) {
        if (display->driver == driver) {
            return display.get();
        }
    }
    return nullptr;
}

ContextBlock* MiniVdd::NewContextBlock(ChipInfo* chip) {
    AttachedDisplay* display = Find(chip);
    auto memory = std::make_unique<uint32_t[]>(kContextBlockBytes / 4);
    auto* block = reinterpret_cast<ContextBlock*>(memory.get());
    block->NextFree = static_cast<uint16_t>((sizeof(ContextBlock) + 3) & ~3u);
    block->FreeBytes = static_cast<uint16_t>(kContextBlockBytes - block->NextFree);
    display->contextBlocks.push_back(std::move(memory));
    return block;
}

DmaQueueCounters MiniVdd::QueueCounters(DriverData* driver) const {
    const AttachedDisplay* display = Find(driver);
    return display != nullptr ? display->queue->Counters() : DmaQueueCounters{};
}

size_t MiniVdd::LiveBytes() const {
    size_t sum = 0;
    for (const auto& [handle, block] : blocks_) {
        sum += block.bytes;
    }
    return sum;
}

void MiniVdd::RefuseMemory(uint32_t count, uint32_t skip) {
    refuseCount_ = count;
    refuseSkip_ = skip;
}

void MiniVdd::RefuseContextBlocks(uint32_t count) {
    refuseContextBlocks_ = count;
}

bool MiniVdd::Control(uint32_t code, const void* in, uint32_t inBytes, void* out, uint32_t outBytes,
                      uint32_t* returned) {
    switch (code) {
    case MiniVDDGetDriverData: {
        uint32_t number, address = 0;
        if (inBytes < sizeof(number) || outBytes < sizeof(address)) {
            return false;
        }
        std::memcpy(&number, in, sizeof(number));
        for (const auto& display : displays_) {
            if (display->number == number) {
                address = reinterpret_cast<uintptr_t>(display->driver);
            }
        }
        std::memcpy(out, &address, sizeof(address));
        *returned = sizeof(address);
        return true;
    }
    case MiniVDDAddContextBlock: {
        uint32_t address;
        if (inBytes < sizeof(address) || outBytes < sizeof(address)) {
            return false;
        }
        std::memcpy(&address, in, sizeof(address));
        if (!AddContextBlock(reinterpret_cast<ChipInfo*>(address))) {
            return false;
        }
        std::memcpy(out, &address, sizeof(address));
        *returned = sizeof(address);
        return true;
    }
    case MiniVDDMemoryService: {
        MemoryServiceRequest request;
        if (inBytes < sizeof(request) || outBytes < sizeof(request)) {
            return false;
        }
        std::memcpy(&request, in, sizeof(request));
        if (request.Size != sizeof(request)) {
            return false;
        }
        ServeMemory(request);
        std::memcpy(out, &request, sizeof(request));
        *returned = sizeof(request);
        return true;
    }
    default:
        return false;
    }
}

bool MiniVdd::AddContextBlock(ChipInfo* chip) {
    ++contextBlockRequests_;
    if (Find(chip) == nullptr) {
        return false;
    }
    if (refuseContextBlocks_ != 0) {
        --refuseContextBlocks_;
        return false;
    }
    ContextBlock** end = &chip->ContextBlocks;
    while (*end != nullptr) {
        end = &(*end)->NextBlock;
    }
    *end = NewContextBlock(chip);
    return true;
}

void MiniVdd::ServeMemory(MemoryServiceRequest& request) {
    if (request.Command == MemoryServiceFree) {
        const auto it = blocks_.find(request.Handle);
        if (it != blocks_.end() &&
            reinterpret_cast<uintptr_t>(it->second.memory.get()) == request.Linear) {
            if (reusesInOrder_) {
                freed_[it->second.bytes].push_back(std::move(it->second.memory));
            }
            blocks_.erase(it);
        } else {
            ++badFrees_;
        }
        return;
    }
    request.Handle = 0;
    request.Linear = 0;
    if (request.Command != MemoryServiceAllocate || request.Bytes == 0) {
        return;
    }
    if (refuseSkip_ != 0) {
        --refuseSkip_;
    } else if (refuseCount_ != 0) {
        --refuseCount_;
        return;
    }
    std::unique_ptr<uint8_t[]> memory;
    if (const auto found = freed_.find(request.Bytes);
        found != freed_.end() && !found->second.empty()) {
        memory = std::move(found->second.back());
        found->second.pop_back();
    } else {
        memory.reset(new uint8_t[request.Bytes]);
    }
    std::memset(memory.get(), kStaleByte, request.Bytes);
    request.Handle = nextHandle_;
    request.Linear = reinterpret_cast<uintptr_t>(memory.get());
    blocks_[nextHandle_] = {std::move(memory), request.Bytes};
    nextHandle_ += 0x10;
}

void MiniVdd::Reset() {
    blocks_.clear();
    freed_.clear();
    reusesInOrder_ = false;
    badFrees_ = 0;
    refuseSkip_ = refuseCount_ = refuseContextBlocks_ = 0;
    contextBlockRequests_ = 0;
}

MiniVdd& TheMiniVdd() {
    static MiniVdd vdd;
    return vdd;
}

} // namespace host
