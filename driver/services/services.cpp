#include "driver/services/services.h"

#include "driver/core/chipbus.h"
#include "driver/core/registers.h"
#include "driver/d3d/dcontext.h"
#include "driver/services/context.h"
#include "driver/services/driver_lock.h"

namespace {

constexpr int32_t kFailed = -1;
constexpr uint32_t kRegisterBytes = 8; // from one register to the next
// The 16-bit display driver's context.
constexpr uint32_t kContextDisplay = 4;
constexpr uint32_t kStatesPerHalf = 128;

// Where DebugHelpMemory reads.
enum MemoryRegion : uint32_t {
    RegionFrameBuffer = 0,
    RegionFrameBufferUpper = 1,
    RegionLocalBuffer = 2,
    RegionLocalBufferUpper = 3,
    RegionWholeLocalBuffer = 4,
};
constexpr uint32_t kUpperHalf = 0x400000; // bytes

void ReadNumbered(DriverData* driver, uint32_t offset, uint32_t count, NumberedWord* out) {
    for (uint32_t i = 0; i < count; ++i) {
        out[i] = {i, ReadChip(driver->Registers, offset + i * kRegisterBytes)};
    }
}

uint32_t ReadUnderContext(DriverData* driver, uint32_t block, const ServiceRequest* request,
                          NumberedWord* out) {
    ChipInfo* chip = driver->ChipInfo;
    const uint32_t before = chip->CurrentContext;
    ChangeContext(driver, chip, request->Context);
    ReadNumbered(driver, block + request->FirstRegister * kRegisterBytes, request->RegisterCount,
                 out);
    // A present context of 0 is not gone back to.
    if (before != 0) {
        ChangeContext(driver, chip, before);
    }
    return 1;
}

bool IsLiveSlot(const ContextBlock* block, uint32_t slot) {
    return block->Type[slot] <= 0xFFFE && block->Size[slot] > 0;
}

uint32_t KindOf(const ContextBlock* block, uint32_t slot) {
    if (slot == kContextDisplay) {
        return KindDisplay;
    }
    if (slot == kContext2D) {
        return KindTwoDimensional;
    }
    return block->Owner[slot] != 0 ? KindDirect3D : KindClient;
}

// Video memory is read word by word: nothing may widen or repeat the accesses.
void ReadMemory(const uint8_t* from, uint32_t* out, uint32_t words) {
    const auto* word = reinterpret_cast<const volatile uint32_t*>(from);
    for (uint32_t i = 0; i < words; ++i) {
        out[i] = word[i];
    }
}

void ReadRegion(DriverData* driver, DebugHelpRequest* request) {
    uint32_t* out = request->Out;
    uint32_t words = request->Count;
    switch (request->ContextOrRegion) {
    case RegionFrameBuffer:
        return ReadMemory(driver->FrameBufferBase, out, words);
    case RegionFrameBufferUpper:
        return ReadMemory(driver->FrameBufferBase + kUpperHalf, out, words);
    case RegionLocalBuffer:
        return ReadMemory(driver->LocalBufferBase, out, words);
    case RegionLocalBufferUpper:
        return ReadMemory(driver->LocalBufferBase + kUpperHalf, out, words);
    case RegionWholeLocalBuffer:
        words = driver->ChipInfo->LocalBufferSize / 4;
        request->Rest = 0;
        return ReadMemory(driver->LocalBufferBase, out, words);
    default: // a word offset into the local buffer
        return ReadMemory(driver->LocalBufferBase + request->ContextOrRegion * 4, out, words);
    }
}

int32_t ResultOf(uint32_t done) {
    return done != 0 ? 0 : kFailed;
}

int32_t Serve(DriverData* driver, uint32_t code, const ServiceRequest* request, uint32_t* buffer) {
    switch (code) {
    case ServiceCoreRegisters:
        return ResultOf(CoreRegisterRead(driver, request, reinterpret_cast<NumberedWord*>(buffer)));
    case ServiceVMIRegisters:
        return ResultOf(VMIRegisterRead(driver, request, reinterpret_cast<NumberedWord*>(buffer)));
    case ServiceContextNum:
        *buffer = GetContextNum(driver);
        return 0;
    case ServiceContexts:
        return ResultOf(
            GetContexts(driver, reinterpret_cast<ContextEntry*>(buffer), request->CountOrHandle));
    case ServiceD3DContextNum:
        *buffer = GetD3DContextNum(driver);
        return 0;
    // These two never say that they succeeded.
    case ServiceD3DContexts:
        GetD3DContexts(driver, reinterpret_cast<D3DContextEntry*>(buffer), request->CountOrHandle);
        return kFailed;
    case ServiceD3DContextState:
        GetD3DContextState(driver, buffer, request->CountOrHandle, request->Half);
        return kFailed;
    default:
        return 0;
    }
}

} // namespace

uint32_t CoreRegisterRead(DriverData* driver, const ServiceRequest* request, NumberedWord* out) {
    return ReadUnderContext(driver, reg::MappedRegisters, request, out);
}

uint32_t VMIRegisterRead(DriverData* driver, const ServiceRequest* request, NumberedWord* out) {
    return ReadUnderContext(driver, reg::VideoRegisters, request, out);
}

uint32_t GetContextNum(DriverData* driver) {
    const ContextBlock* block = driver->ChipInfo->ContextBlocks;
    uint32_t count = 0;
    for (uint32_t slot = 0; slot < kContextsPerBlock; ++slot) {
        if (IsLiveSlot(block, slot)) {
            ++count;
        }
    }
    return count;
}

uint32_t GetContexts(DriverData* driver, ContextEntry* out, uint32_t count) {
    if (GetContextNum(driver) != count) {
        return 0;
    }
    const ContextBlock* block = driver->ChipInfo->ContextBlocks;
    for (uint32_t slot = 0; slot < kContextsPerBlock; ++slot) {
        if (IsLiveSlot(block, slot)) {
            out->Kind = KindOf(block, slot);
            out->Id = slot;
            ++out;
        }
    }
    return 1;
}

uint32_t GetD3DContextNum(DriverData* /*driver*/) {
    uint32_t count = 0;
    for (const D3DContextNode* node = lpD3DContextList; node != nullptr; node = node->Next) {
        ++count;
    }
    return count;
}

uint32_t GetD3DContexts(DriverData* driver, D3DContextEntry* out, uint32_t count) {
    if (GetD3DContextNum(driver) != count) {
        return 0;
    }
    for (const D3DContextNode* node = lpD3DContextList; node != nullptr; node = node->Next) {
        if (LiveContext(node->Handle) != nullptr) {
            out->Handle = node->Handle;
            ++out;
        }
    }
    return 1;
}

uint32_t GetD3DContextState(DriverData* /*driver*/, uint32_t* out, uint32_t handle, uint32_t half) {
    const D3DContext* ctx = LiveContext(handle);
    if (ctx == nullptr) {
        return 0;
    }
    const uint32_t* states = ctx->RenderStates + (half == 0 ? 0 : kStatesPerHalf);
    for (uint32_t state = 0; state < kStatesPerHalf; ++state) {
        out[state] = states[state];
    }
    return 1;
}

int32_t KORV_STDCALL KORV_Service(uint32_t code, uint32_t* request, uint32_t* buffer) {
    DriverData* driver = pDriverData;
    if (driver == nullptr || !EnterWin16Lock(driver)) {
        return kFailed;
    }
    const int32_t result =
        Serve(driver, code, reinterpret_cast<const ServiceRequest*>(request), buffer);
    LeaveWin16Lock(driver);
    return result;
}

int32_t KORV_STDCALL KORV_DebugHelp(uint32_t* words) {
    // Nothing reads or writes it; it holds its place in the shared data.
    [[gnu::used]] static uint32_t CurrentLine;
    DriverData* driver = pDriverData;
    if (driver == nullptr || !EnterWin16Lock(driver)) {
        return kFailed;
    }
    auto* request = reinterpret_cast<DebugHelpRequest*>(words);
    if (request->Kind == DebugHelpRegisters) {
        // The context stays: what is read next is of the same one.
        ChangeContext(driver, driver->ChipInfo, request->ContextOrRegion);
        ReadNumbered(driver, reg::MappedRegisters, request->Count,
                     reinterpret_cast<NumberedWord*>(request->Out));
    } else if (request->Kind == DebugHelpMemory) {
        ReadRegion(driver, request);
    }
    LeaveWin16Lock(driver);
    return 0;
}
