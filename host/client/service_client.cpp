#include "host/client/service_client.h"

#include "driver/core/registers.h"
#include "driver/core/tags.h"
#include "host/driver_module.h"

#include <algorithm>
#include <stdexcept>
#include <string>
#include <utility>

namespace host {

namespace {

constexpr int32_t kInterfaceVersion = 0x10000;
constexpr uint32_t kFifoWords = 256;      // gathered before they go through the window
constexpr uint32_t kPermediaBusBits = 16; // the other family has 32

[[noreturn]] void Refused(const char* call) {
    throw std::runtime_error(std::string("service client: ") + call + " was refused");
}

} // namespace

ServiceClient::ServiceClient(DriverData* display, const ClientOptions& options)
    : exports_(ExportsInForce()), display_(display), surface_(options.surface) {
    const DriverCall call;
    if (exports_.KORV_Initialize(display_) != kInterfaceVersion) {
        Refused("KORV_Initialize");
    }
    info_.Size = sizeof info_;
    exports_.KORV_GetInfo(display_, &info_);
    if (!options.fifo) {
        TakeBuffer();
    }
    if (!ByDma()) {
        subBufferWords_ = kFifoWords;
        own_.resize(subBufferWords_);
    }
    const int32_t context = exports_.KORV_CreateContext(display_, subBuffers_);
    if (context < 0) {
        Refused("KORV_CreateContext");
    }
    context_ = static_cast<uint32_t>(context);
}

ServiceClient::~ServiceClient() {
    const DriverCall call;
    exports_.KORV_WaitForDMA(display_);
    if (locked_) {
        Unlock();
    }
    exports_.KORV_DeleteContext(display_, context_);
    if (ByDma()) {
        exports_.KORV_FreeDMABuffer(display_, *bufferIndex_);
    }
}

void ServiceClient::TakeBuffer() {
    const int32_t index = exports_.KORV_GetDMABuffer(display_, &buffer_);
    if (index < 0) {
        return; // all are taken: words go through the window
    }
    bufferIndex_ = index;
    subBuffers_ = buffer_.SubBuffers;
    subBufferWords_ = buffer_.Size / 4 / subBuffers_;
}

bool ServiceClient::IsPermedia() const {
    return info_.BusBits == kPermediaBusBits;
}

uint32_t* ServiceClient::Reserve(uint32_t words) {
    if (words > subBufferWords_) {
        throw std::length_error("service client: more words than a sub-buffer holds");
    }
    if (filled_ + words > subBufferWords_) {
        if (const LockAnswer answer = SendWords(); answer != LockAnswer::Taken) {
            dropped_ = answer;
        }
    }
    if (filled_ == 0 && underWay_ == subBuffers_) {
        const DriverCall call;
        exports_.KORV_WaitForDMA(display_);
        underWay_ = 0;
    }
    uint32_t* const base =
        ByDma() ? reinterpret_cast<uint32_t*>(buffer_.Linear) + subBuffer_ * subBufferWords_
                : own_.data();
    return base + filled_;
}

void ServiceClient::Commit(uint32_t words) {
    filled_ += words;
}

LockAnswer ServiceClient::Send() {
    const LockAnswer earlier = std::exchange(dropped_, LockAnswer::Taken);
    const LockAnswer answer = SendWords();
    return answer != LockAnswer::Taken ? answer : earlier;
}

LockAnswer ServiceClient::SendWords() {
    const uint32_t words = filled_;
    filled_ = 0;
    if (words == 0) {
        return LockAnswer::Taken;
    }
    const bool lockedBefore = locked_;
    if (!lockedBefore) {
        if (const LockAnswer answer = Lock(); answer != LockAnswer::Taken) {
            return answer;
        }
    }
    const DriverCall call;
    if (ByDma()) {
        StartDma(words);
    } else {
        WriteFifo(words);
    }
    if (!lockedBefore) {
        Unlock();
    }
    return LockAnswer::Taken;
}

void ServiceClient::StartDma(uint32_t words) {
    const uint32_t first = subBuffer_ * subBufferWords_ * 4; // bytes
    exports_.KORV_StartDMA(display_, context_, words, buffer_.Physical + first,
                           reinterpret_cast<uint32_t*>(buffer_.Linear + first), 0);
    subBuffer_ = (subBuffer_ + 1) % subBuffers_;
    ++underWay_;
}

void ServiceClient::WriteFifo(uint32_t words) {
    exports_.KORV_SwitchContext(display_, context_);
    uint32_t room = 0;
    for (uint32_t i = 0; i < words; ++i) {
        // No word becomes more than one entry.
        while (room == 0) {
            room = ReadChip(info_.Registers, reg::InFIFOSpace);
        }
        --room;
        WriteChip(info_.Registers, reg::FIFOWindow, own_[i]);
    }
}

LockAnswer ServiceClient::Finish() {
    constexpr uint32_t kWords = 6;
    uint32_t* at = Reserve(kWords);
    const uint32_t sync[kWords] = {
        tag::FilterMode, field::FilterMode_SyncTag.Mask(), tag::Sync, 0, tag::FilterMode, 0};
    std::copy(std::begin(sync), std::end(sync), at);
    Commit(kWords);
    if (const LockAnswer answer = Send(); answer != LockAnswer::Taken) {
        return answer;
    }
    const DriverCall call;
    exports_.KORV_WaitForDMA(display_);
    underWay_ = 0;
    do {
        while (ReadChip(info_.Registers, reg::OutFIFOWords) == 0) {
        }
    } while (ReadChip(info_.Registers, reg::OutFIFOWord) != tag::Sync);
    return LockAnswer::Taken;
}

std::optional<uint32_t> ServiceClient::Allocate(uint32_t bytes, bool wholeLines) {
    const DriverCall call;
    HeapRequest request{.Size = sizeof request,
                        .Flags = AllocateFromTop | ClientOwned |
                                 (wholeLines ? uint32_t{ScanlineAligned} : 0u),
                        .Alignment = 4,
                        .Bytes = bytes};
    if (exports_.KORV_AllocateVideoMemory(display_, &request) != 0) {
        return std::nullopt;
    }
    return request.Address - static_cast<uint32_t>(reinterpret_cast<uintptr_t>(FrameBuffer()));
}

void ServiceClient::Free(uint32_t offset) {
    const DriverCall call;
    exports_.KORV_FreeVideoMemory(
        display_, static_cast<uint32_t>(reinterpret_cast<uintptr_t>(FrameBuffer())) + offset);
}

void ServiceClient::Copy(const RECTL& rect, uint32_t destOffset, uint32_t sourceOffset) {
    const DriverCall call;
    RECTL scratch = rect;
    exports_.KORV_CopyBlt(display_, &scratch, destOffset, sourceOffset - destOffset);
}

LockAnswer ServiceClient::Lock(const RECT* rect) {
    const DriverCall call;
    const auto answer = static_cast<LockAnswer>(
        exports_.KORV_GetDriverLock(display_, surface_, surface_ != nullptr ? 1 : 0, rect));
    if (answer == LockAnswer::Taken) {
        locked_ = true;
    }
    return answer;
}

void ServiceClient::Unlock() {
    const DriverCall call;
    exports_.KORV_FreeDriverLock(display_, surface_);
    locked_ = false;
}

} // namespace host
