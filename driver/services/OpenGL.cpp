#include "driver/services/OpenGL.h"

#include "driver/blit/primitives.h"
#include "driver/core/dma.h"
#include "driver/core/registry.h"

namespace {

constexpr int32_t kFailed = -1;
constexpr int32_t kInterfaceVersion = 0x10000;
constexpr uint32_t kDeepestIndexedDisplay = 8; // bits per pixel

// Sizes of ServiceInfo above which its later fields are there.
constexpr uint32_t kInfoSize = offsetof(ServiceInfo, ClientWord);
constexpr uint32_t kInfoSizeWithWord = offsetof(ServiceInfo, RegistryName);

constexpr uint32_t kFewestSubBuffers = 2;
constexpr uint32_t kMostSubBuffers = 32;

// What the client is told to cut its buffer into.
uint32_t ClientSubBuffers(const ChipInfo* chip) {
    if ((chip->Flags & TwoSubBuffers) != 0) {
        return kFewestSubBuffers;
    }
    uint32_t count;
    bGlintQueryRegistryValueUlong("OpenGL.NumberOfSubBuffers", &count);
    if (count > kMostSubBuffers) {
        return kMostSubBuffers;
    }
    return count < kFewestSubBuffers ? kFewestSubBuffers : count;
}

uint32_t AddressOf(const uint8_t* memory) {
    return static_cast<uint32_t>(reinterpret_cast<uintptr_t>(memory));
}

} // namespace

int32_t KORV_STDCALL KORV_Initialize(DriverData* driver) {
    driver = ServiceDriver(driver);
    if (driver == nullptr || driver->ChipInfo == nullptr ||
        driver->PixelDepthBits <= kDeepestIndexedDisplay) {
        return kFailed;
    }
    return kInterfaceVersion;
}

ServiceInfo* KORV_STDCALL KORV_GetInfo(DriverData* driver, ServiceInfo* info) {
    driver = ServiceDriver(driver);
    if (info->Size < kInfoSize) {
        info->Size = 0;
        return info;
    }
    const ChipInfo* chip = driver->ChipInfo;
    const bool isPermedia = chip->Family == FamilyPermedia;
    info->Registers = driver->Registers;
    info->FrameBuffer = driver->FrameBufferBase;
    info->LocalBuffer = driver->LocalBufferBase;
    info->Flags = static_cast<uint16_t>(chip->Flags);
    info->MemoryA = isPermedia ? chip->FrameBufferSize : chip->LocalBufferSize;
    info->MemoryB = chip->FrameBufferSize;
    info->BusBits = isPermedia ? 16 : 32;
    info->ClientByte = chip->ClientByte;
    info->DeviceId = chip->DeviceId;
    info->Revision = chip->Revision == kRevisionOne ? 1 : chip->Revision;
    for (uint32_t word = 0; word < 4; ++word) {
        info->ClientWords[word] = chip->ClientWords[word];
    }
    if (info->Size > kInfoSize) {
        info->ClientWord = chip->ClientWord;
    }
    if (info->Size > kInfoSizeWithWord) {
        lstrcpyA(info->RegistryName, chip->RegistryName);
    }
    return info;
}

int32_t KORV_STDCALL KORV_GetDMABuffer(DriverData* driver, ServiceDMABuffer* out) {
    driver = ServiceDriver(driver);
    DMABufferRecord buffer;
    const int32_t index = GetDMABuffer(driver, &buffer);
    if (index == -1) {
        return kFailed;
    }
    *out = {buffer.Size, buffer.Physical, buffer.Linear, ClientSubBuffers(driver->ChipInfo)};
    return index;
}

int32_t KORV_STDCALL KORV_FreeDMABuffer(DriverData* driver, int32_t index) {
    return FreeDMABuffer(ServiceDriver(driver), index);
}

int32_t KORV_STDCALL KORV_StartDMA(DriverData* driver, uint32_t context, uint32_t words,
                                   uint32_t physical, uint32_t* linear, uint32_t reserved) {
    return StartDMA(ServiceDriver(driver), context, words, physical, linear, reserved);
}

int32_t KORV_STDCALL KORV_WaitForDMA(DriverData* driver) {
    WaitDMAIdle(ServiceDriver(driver));
    return 0;
}

int32_t KORV_STDCALL KORV_AllocateVideoMemory(DriverData* driver, HeapRequest* request) {
    driver = ServiceDriver(driver);
    if (driver == nullptr) {
        return kFailed; // no display is up yet
    }
    if ((request->Flags & WholeFrameBuffer) != 0) {
        request->Address = AddressOf(driver->FrameBufferBase);
        return 0;
    }
    return static_cast<int32_t>(AllocateVideoMemory(driver, request));
}

int32_t KORV_STDCALL KORV_FreeVideoMemory(DriverData* driver, uint32_t address) {
    driver = ServiceDriver(driver);
    // All of video memory was never taken from the heap.
    if (driver == nullptr || address == AddressOf(driver->FrameBufferBase)) {
        return 0;
    }
    return static_cast<int32_t>(FreeVideoMemory(driver, address));
}

int32_t KORV_STDCALL KORV_CopyBlt(DriverData* driver, RECTL* rect, uint32_t destOffset,
                                  uint32_t srcRelative) {
    driver = ServiceDriver(driver);
    if (driver == nullptr) {
        return 0;
    }
    TakeChipFor2D(driver);
    constexpr uint32_t kLogicOpCopy = 3;
    CHIPRender.ScreenCopyBlt(driver, rect, rect, static_cast<int32_t>(driver->ScreenWidth),
                             destOffset, static_cast<int32_t>(srcRelative), kLogicOpCopy);
    return 0;
}

int32_t KORV_STDCALL KORV_StartSoftwareCursor(DriverData* driver) {
    ClearFlag(ServiceDriver(driver)->ChipInfo, CursorExclude);
    return 0;
}

int32_t KORV_STDCALL KORV_StopSoftwareCursor(DriverData* driver) {
    SetFlag(ServiceDriver(driver)->ChipInfo, CursorExclude);
    return 0;
}
