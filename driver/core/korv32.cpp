// Being loaded, and bringing a display up. From here every room is seen: the callbacks of all are
// handed out.
#include "driver/core/korv32.h"

#include "driver/blit/pmdirecx.h"
#include "driver/blit/txdirecx.h"
#include "driver/core/dma.h"
#include "driver/core/glintutl.h"
#include "driver/core/korv32_flip.h"
#include "driver/core/registry.h"
#include "driver/d3d/direct3d.h"
#include "driver/heap/surface.h"
#include "driver/platform/minivdd.h"
#include "driver/platform/processor.h"
#include "driver/services/context.h"

DXGlobalsRecord DXGlobals;
DriverData* pDriverData;
uint32_t D3DInitialised;
uint32_t bHALInitialisedOnce;

void* LoadLibrary16;
void* GetProcAddress16;
void* FreeLibrary16;
void* VxDCall;
void* GetpWin16Lock;

namespace {

constexpr DWORD kSharedHeap = 0x04000000;
constexpr DWORD kHeapInitialBytes = 2500;
constexpr int32_t kDMABuffers = 10;
constexpr uint32_t kPlainTrapezoid = field::Render_Primitive.Put(0, 1);

// cpuid function 1.
constexpr uint32_t kSignatureMask = 0x600; // both bits: a family that passes the test
constexpr uint32_t kFeatureMMX = 1u << 23;

// Notes whether the processor has MMX; true if it is a single one of a kind that passes.
bool TestProcessor() {
    SYSTEM_INFO info;
    GetSystemInfo(&info);
    if (info.dwProcessorType != PROCESSOR_INTEL_PENTIUM) {
        DXGlobals.MMXPresent = 0;
        return false;
    }
    const processor::Identity identity = processor::Identify();
    DXGlobals.MMXPresent = (identity.features & kFeatureMMX) != 0;
    return (identity.signature & kSignatureMask) == kSignatureMask &&
           info.dwNumberOfProcessors <= 1;
}

// A key that arrives with Initialised at 0 is marked as started, and DMA is switched on in it if
// the processor passed.
void StoreFirstStart(bool processorPassed) {
    uint32_t initialised;
    if (bGlintQueryRegistryValueUlong("Direct3DHAL.Initialised", &initialised) == 0 ||
        initialised != 0) {
        return;
    }
    bGlintSetRegistryValueString("Direct3DHAL.Initialised", 1);
    if (processorPassed) {
        bGlintSetRegistryValueString("Direct3DHAL.NoDMA", 0);
    }
}

void StartOnce(DriverData* driver) {
    StoreFirstStart(TestProcessor());
    if (DXGlobals.Heap == nullptr) {
        DXGlobals.Heap = HeapCreate(kSharedHeap, kHeapInitialBytes, 0);
    }
    for (int32_t i = 0; i < kDMABuffers; ++i) {
        FreeDMABuffer(driver, i);
    }
    bHALInitialisedOnce = 1;
}

void SetupDriverStream(DriverData* driver) {
    // The value is read and has no effect: this stream has one entry.
    uint32_t subBuffers;
    bGlintQueryRegistryValueUlong("Direct3DHAL.SubBuffers", &subBuffers);
    SetupFIFOStream(driver->Stream, driver->Registers);
    SetEndIndex(driver->ChipInfo, kContext2D, 0);
    driver->SubBuffersReady = 1;
}

void FillCallbacks(DriverData* driver) {
    const bool glint = driver->ChipInfo->Family == FamilyGlint;

    DDHAL_DDCALLBACKS& dd = driver->DDCallbacks;
    dd = {};
    dd.dwSize = sizeof(dd);
    dd.dwFlags = DDHAL_CB32_CREATESURFACE | DDHAL_CB32_WAITFORVERTICALBLANK |
                 DDHAL_CB32_CANCREATESURFACE | DDHAL_CB32_GETSCANLINE;
    dd.WaitForVerticalBlank = WaitForVerticalBlank32;
    dd.CanCreateSurface = CanCreateSurface32;
    dd.GetScanLine = GetScanLine32;
    dd.CreateSurface = glint ? GlintCreateSurface32 : PermediaCreateSurface32;

    DDHAL_DDSURFACECALLBACKS& surface = driver->SurfaceCallbacks;
    surface = {};
    surface.dwSize = sizeof(surface);
    surface.dwFlags = DDHAL_SURFCB32_DESTROYSURFACE | DDHAL_SURFCB32_FLIP | DDHAL_SURFCB32_LOCK |
                      DDHAL_SURFCB32_BLT | DDHAL_SURFCB32_GETBLTSTATUS |
                      DDHAL_SURFCB32_GETFLIPSTATUS;
    surface.DestroySurface = DestroySurface32;
    surface.Flip = Flip32;
    surface.Lock = Lock32;
    surface.GetBltStatus = GetBltStatus32;
    surface.GetFlipStatus = GetFlipStatus32;
    surface.Blt = glint ? GlintBlt32 : PermediaBlt32;
}

void SetDMAControlOnAGP(DriverData* driver) {
    SyncChip(driver);
    uint32_t control;
    if (bGlintQueryRegistryValueUlong("Direct3DHAL.DMAControl", &control) != 0) {
        WriteChip(driver->Registers, reg::DMAControl, control);
    }
}

} // namespace

BOOL KORV_STDCALL DllMain(HINSTANCE instance, DWORD reason, void* /*reserved*/) {
    DXGlobals.Instance = instance;
    if (reason == DLL_PROCESS_ATTACH) {
        DisableThreadLibraryCalls(instance);
    }
    return 1;
}

DriverData* KORV_STDCALL DriverInit(uint32_t display) {
    DriverData* driver = nullptr;
    if (DoIOCTL(MiniVDDGetDriverData, &display, sizeof(display), &driver, sizeof(driver),
                nullptr) == 0 ||
        driver == nullptr) {
        return nullptr;
    }
    if (driver->ChipInfo->PrimaryDisplay == 1) {
        pDriverData = driver;
    }
    return InitDDHAL32Bit(driver) != 0 ? driver : nullptr;
}

uint32_t InitDDHAL32Bit(DriverData* driver) {
    driver->Win16Lock = 0;
    driver->DriverLockKind = 0;
    driver->Heap.ClientMemoryLost = 0;
    driver->TargetLost = 1;
    driver->FlipLimitOn = 0;
    driver->VideoPortActive = 0;
    driver->NonLocalHeapLinear = 0;
    driver->NonLocalHeapPhysical = 0;
    driver->Registers = driver->RegisterBase;
    SyncChip(driver);
    vGlintInitializeRegistryKey(driver);
    SetupGlobalData(driver);
    flipRecord.DurationStale = 1;
    driver->FBWriteMode = 1;
    driver->RenderCopy = kPlainTrapezoid;
    driver->RenderSpare = kPlainTrapezoid;
    driver->RenderSolid = kPlainTrapezoid;
    driver->RenderClear = kPlainTrapezoid;
    if (bHALInitialisedOnce != 1) {
        StartOnce(driver);
    }
    if (driver->SubBuffersReady != 1) {
        SetupDriverStream(driver);
    }
    ChangeContext(driver, driver->ChipInfo, kContext2D);
    DisableAllUnits(driver);
    ChangeDDHAL32Mode(driver);
    FillCallbacks(driver);
    driver->Instance = DXGlobals.Instance;
    if (IsPermedia2(driver->ChipInfo) && (driver->BoardFlags & BoardOnAGP) != 0) {
        SetDMAControlOnAGP(driver);
    }
    GetDDHALInfo(driver, &driver->HALInfo);
    D3DHALCreateDriver(driver, &driver->D3DGlobalData, &driver->D3DCallbacks,
                       &driver->D3DTextureFormats);
    return DXGlobals.Heap != nullptr ? 1 : 0;
}
