// DirectDraw's surface callbacks.
#include "driver/heap/surface.h"

#include "driver/core/dma.h"
#include "driver/core/driverdata.h"
#include "driver/core/korv32_mode.h"
#include "driver/heap/linalloc.h"
#include "driver/heap/surface_format.h"
#include "driver/heap/surface_pitch.h"

namespace {

constexpr uint32_t kMaxFlipSurfaces = 2;
constexpr uint32_t kColourTableBytes = 1024;    // of an 8-bit indexed texture
constexpr uint32_t kFullTileHeight = 32;        // lines
constexpr uint32_t kWidestFreeYUY2Screen = 640; // pixels
constexpr uint32_t kFlipTargetAlignment = 8192; // bytes
constexpr uint32_t kHeapsWithAlignment = 3;

bool CountsAsFlipSurface(const DriverData* driver, const DDRAWI_DDRAWSURFACE_LCL* surface) {
    return driver->FlipLimitOn != 0 && HasCaps(surface, DDSCAPS_BACKBUFFER | DDSCAPS_FLIP);
}

bool IsTexture(const DDRAWI_DDRAWSURFACE_LCL* surface) {
    return HasCaps(surface, DDSCAPS_TEXTURE);
}

// Textures go to AGP memory when the switch says so.
bool ForcedToAGP(const DDRAWI_DDRAWSURFACE_LCL* surface) {
    return DXGlobals.ForceAGPTextures != 0 && IsTexture(surface);
}

void SetMemoryCaps(DDRAWI_DDRAWSURFACE_LCL* surface, bool nonLocal) {
    DWORD& caps = surface->ddsCaps.dwCaps;
    caps &= ~(DDSCAPS_LOCALVIDMEM | DDSCAPS_NONLOCALVIDMEM);
    caps |= nonLocal ? DDSCAPS_NONLOCALVIDMEM : DDSCAPS_LOCALVIDMEM;
}

// Asks DirectDraw for `width` by `height` bytes; height 1 asks for one linear block.
void AskForBlock(DDRAWI_DDRAWSURFACE_GBL* global, uint32_t width, uint32_t height) {
    global->fpVidMem = DDHAL_PLEASEALLOC_BLOCKSIZE;
    global->dwBlockSizeX = width;
    global->dwBlockSizeY = height;
}

// The surface's record, cleared and set up: the one it has, or a new one. Null without memory.
PrivateSurfaceData* RenewRecord(DriverData* driver, DDRAWI_DDRAWSURFACE_LCL* surface) {
    PrivateSurfaceData* record = PrivateOf(surface);
    if (record != nullptr) {
        *record = {};
    } else {
        record = static_cast<PrivateSurfaceData*>(
            HeapAlloc(DXGlobals.Heap, HEAP_ZERO_MEMORY, sizeof(PrivateSurfaceData)));
        if (record == nullptr) {
            return nullptr;
        }
    }
    surface->lpGbl->dwReserved1 = reinterpret_cast<ULONG_PTR>(record);
    record->MagicNo = kSurfaceMagic;
    record->Surface = surface;
    SetupPrivateSurfaceData(driver, record, surface);
    return record;
}

bool WantsColourTable(const PrivateSurfaceData* record, const DDRAWI_DDRAWSURFACE_LCL* surface) {
    return IsTexture(surface) && record->Format == kTexelFormatIndexed8;
}

// Whole lines behind the texels, for the colour table.
void AddColourTableRoom(DDRAWI_DDRAWSURFACE_GBL* global) {
    const auto pitch = static_cast<uint32_t>(global->lPitch);
    if (pitch == 0) {
        global->dwBlockSizeX += kColourTableBytes;
        return;
    }
    const uint32_t lines = (kColourTableBytes + pitch - 1) / pitch;
    global->dwBlockSizeX += lines * pitch;
}

// Products of a texture's pitch as DirectDraw chose it.
void StorePitchProducts(DriverData* driver, PrivateSurfaceData* record,
                        const DDRAWI_DDRAWSURFACE_GBL* global) {
    const auto bytes = static_cast<uint32_t>(global->lPitch);
    // The shift by the code holds for the 4-bit code 3 as well.
    uint32_t pixels = record->PixelSize == PixelSize24 ? bytes / 3 : bytes >> record->PixelSize;
    if (pixels < kSmallestPitch) {
        pixels = kSmallestPitch;
    }
    StoreProducts(record, FindProducts(ProductLimitsOf(driver), pixels));
}

// How one surface of a list went.
enum class CreateResult {
    Done,     // DirectDraw allocates by its own rules
    DoneByUs, // size or memory come from the driver
    NoRecord, // no memory for the private record
    NoVideoMemory,
};

// Runs `createOne` over the list and answers. Surfaces done before a failure stay; DirectDraw
// destroys them.
template <class CreateOne>
DWORD CreateList(DDHAL_CREATESURFACEDATA* data, CreateOne createOne) {
    DriverData* driver = SurfaceDriverOf(data->lpDD);
    FollowModeChange(driver);
    DWORD handled = DDHAL_DRIVER_NOTHANDLED;
    for (DWORD i = 0; i < data->dwSCnt; ++i) {
        DDRAWI_DDRAWSURFACE_LCL* surface = data->lplpSList[i];
        switch (createOne(driver, surface)) {
        case CreateResult::Done:
            break;
        case CreateResult::DoneByUs:
            handled = DDHAL_DRIVER_HANDLED;
            break;
        case CreateResult::NoRecord:
            data->ddRVal = DDERR_OUTOFMEMORY;
            return DDHAL_DRIVER_HANDLED;
        case CreateResult::NoVideoMemory:
            surface->lpGbl->fpVidMem = 0;
            data->ddRVal = DDERR_OUTOFVIDEOMEMORY;
            return DDHAL_DRIVER_HANDLED;
        }
    }
    if (handled != DDHAL_DRIVER_NOTHANDLED) {
        data->ddRVal = DD_OK;
    }
    return handled;
}

// A Z buffer of Glint: always 32 bits an element, whatever its format says.
bool SizeGlintZBuffer(DriverData* driver, PrivateSurfaceData* record,
                      DDRAWI_DDRAWSURFACE_GBL* global) {
    if (global->ddpfSurface.dwZBufferBitDepth != 32) {
        record->Flags |= SURFACE_SHORT_Z;
    }
    PitchChoice pitch;
    if (!SearchPitch(ProductLimitsOf(driver), global->wWidth, &pitch)) {
        return false;
    }
    global->lPitch = static_cast<LONG>(pitch.Width * 4);
    AskForBlock(global, global->wHeight * pitch.Width * 4, 1);
    record->Flags |= SURFACE_READY;
    StoreProducts(record, pitch.Products);
    return true;
}

CreateResult CreateGlintSurface(DriverData* driver, DDRAWI_DDRAWSURFACE_LCL* surface) {
    DDRAWI_DDRAWSURFACE_GBL* global = surface->lpGbl;
    if (CountsAsFlipSurface(driver, surface)) {
        if (driver->FlipSurfaceCount >= kMaxFlipSurfaces) {
            return CreateResult::NoVideoMemory;
        }
        ++driver->FlipSurfaceCount;
    }
    PrivateSurfaceData* record = RenewRecord(driver, surface);
    if (record == nullptr) {
        return CreateResult::NoRecord;
    }
    bool sized = false;
    if (OwnFormatHas(surface, DDPF_ZBUFFER)) {
        if (!SizeGlintZBuffer(driver, record, global)) {
            return CreateResult::NoVideoMemory;
        }
        sized = true;
    }
    if (IsMX(driver->ChipInfo) && WantsColourTable(record, surface)) {
        if (!sized) {
            AskForBlock(global, global->wHeight * static_cast<uint32_t>(global->lPitch), 1);
        }
        AddColourTableRoom(global);
        sized = true;
    }
    if ((record->Flags & SURFACE_READY) == 0) {
        if (IsTexture(surface)) {
            StorePitchProducts(driver, record, global);
        } else {
            StoreScreenProducts(driver, record);
        }
        record->Flags |= SURFACE_READY;
    }
    return sized ? CreateResult::DoneByUs : CreateResult::Done;
}

// Sets the bit count of a YUV surface that the chip knows. False for all other surfaces.
bool SetupFourCC(DDRAWI_DDRAWSURFACE_LCL* surface) {
    if (!OwnFormatHas(surface, DDPF_FOURCC)) {
        return false;
    }
    DDPIXELFORMAT& format = surface->lpGbl->ddpfSurface;
    if (format.dwFourCC == kFourCCY411) {
        format.dwYUVBitCount = 32;
        return true;
    }
    if (format.dwFourCC == kFourCCYUY2) {
        format.dwYUVBitCount = 16;
        return true;
    }
    return false;
}

uint32_t PermediaPitchBytes(const PrivateSurfaceData* record, uint32_t bits, uint32_t width) {
    if (record->PixelSize == PixelSize4) {
        return width; // the width was halved
    }
    return bits == 24 ? width * 3 : width << bits / 16;
}

// The screen's width counted in elements of a YUV surface.
uint32_t ScreenWidthInElements(const DriverData* driver, bool y411) {
    switch (driver->PixelSize) {
    case PixelSize8:
        return y411 ? driver->ScreenWidth : driver->ScreenWidth / 2;
    case PixelSize16:
        return y411 ? driver->ScreenWidth * 2 : driver->ScreenWidth;
    case PixelSize32:
        return driver->ScreenWidth * (y411 ? 4 : 2);
    default:
        return driver->ScreenWidth;
    }
}

// Chooses the pitch of a Permedia surface and asks for its block.
bool SizePermediaSurface(DriverData* driver, PrivateSurfaceData* record,
                         DDRAWI_DDRAWSURFACE_LCL* surface, bool fourcc) {
    DDRAWI_DDRAWSURFACE_GBL* global = surface->lpGbl;
    const uint32_t height = global->wHeight;
    uint32_t width = global->wWidth;
    if (record->PixelSize == PixelSize4) {
        width /= 2;
    }
    PitchChoice choice;
    if (!SearchPitch(ProductLimitsOf(driver), width, &choice)) {
        return false;
    }
    const uint32_t pitch =
        PermediaPitchBytes(record, PixelFormatOf(surface)->dwRGBBitCount, choice.Width);
    record->Flags |= SURFACE_READY;
    if (fourcc && driver->RectAlloc != 0 && !IsTexture(surface)) {
        // Lies in a rectangle of the screen, so the screen's stride is its pitch.
        AskForBlock(global, pitch, height);
        const uint32_t screen = driver->ScreenWidth;
        global->lPitch = static_cast<LONG>(
            driver->PixelSize == PixelSize24 ? screen * 3 : screen << driver->PixelSize);
        const bool y411 = global->ddpfSurface.dwFourCC == kFourCCY411;
        StoreProducts(record,
                      FindProducts(ProductLimitsOf(driver), ScreenWidthInElements(driver, y411)));
        return true;
    }
    // A small surface still owns a full tile height, but for YUV.
    const uint32_t lines = !fourcc && height < kFullTileHeight ? kFullTileHeight : height;
    AskForBlock(global, pitch * lines, 1);
    global->lPitch = static_cast<LONG>(pitch);
    StoreProducts(record, choice.Products);
    return true;
}

bool UsesLinearHeap(const DriverData* driver, const DDRAWI_DDRAWSURFACE_LCL* surface) {
    return driver->RectAlloc == 0 && driver->ChipInfo->Family == FamilyPermedia &&
           !HasCaps(surface, DDSCAPS_NONLOCALVIDMEM | DDSCAPS_PRIMARYSURFACE);
}

// Takes the block asked for from the linear heap. A texture that finds no room goes to AGP memory
// if there is any, where DirectDraw allocates it. False when there is no memory at all.
bool TakeFromLinearHeap(DriverData* driver, const PrivateSurfaceData* record,
                        DDRAWI_DDRAWSURFACE_LCL* surface) {
    DDRAWI_DDRAWSURFACE_GBL* global = surface->lpGbl;
    // Textures grow down from the top, other surfaces up from the bottom.
    HeapRequest request = {
        .Size = sizeof request,
        .Flags = IsTexture(surface) ? AllocateFromTop | FirstFit : AllocateFromBottom | FirstFit,
        .Alignment = record->PixelSize == PixelSize24 ? 12u : 4u,
        .Bytes = global->dwBlockSizeX * global->dwBlockSizeY,
        .Address = 0,
    };
    if (AllocateVideoMemory(driver, &request) == HeapDone) {
        global->fpVidMem = request.Address;
        return true;
    }
    if (driver->NonLocalHeapPhysical != 0 && IsTexture(surface)) {
        SetMemoryCaps(surface, true);
        return true;
    }
    return false;
}

CreateResult CreatePermediaSurface(DriverData* driver, DDRAWI_DDRAWSURFACE_LCL* surface) {
    DDRAWI_DDRAWSURFACE_GBL* global = surface->lpGbl;
    global->fpVidMem = 0;
    PrivateSurfaceData* record = RenewRecord(driver, surface);
    if (record == nullptr) {
        return CreateResult::NoRecord;
    }
    const bool fourcc = SetupFourCC(surface);
    const bool needsPitch = driver->RectAlloc == 0 || fourcc || IsTexture(surface) ||
                            OwnFormatHas(surface, DDPF_ZBUFFER);
    if (needsPitch) {
        if (!SizePermediaSurface(driver, record, surface, fourcc)) {
            return CreateResult::NoVideoMemory;
        }
        if (IsPermedia2(driver->ChipInfo) && WantsColourTable(record, surface)) {
            AddColourTableRoom(global);
        }
    } else {
        // In rectangles of the screen the pitch is the screen's.
        StoreScreenProducts(driver, record);
        record->Flags |= SURFACE_READY;
    }
    // Without rectangles every surface has been sized by here.
    if (UsesLinearHeap(driver, surface) && !ForcedToAGP(surface) &&
        !TakeFromLinearHeap(driver, record, surface)) {
        return CreateResult::NoVideoMemory;
    }
    SetMemoryCaps(surface, HasCaps(surface, DDSCAPS_NONLOCALVIDMEM) || ForcedToAGP(surface));
    return needsPitch ? CreateResult::DoneByUs : CreateResult::Done;
}

HRESULT CanCreateFourCC(const DriverData* driver, DDPIXELFORMAT& format) {
    // 8-bit modes show no YUV.
    if (driver->PixelSize == PixelSize8) {
        return DDERR_INVALIDPIXELFORMAT;
    }
    switch (format.dwFourCC) {
    case kFourCCY411:
        // Not offered, though the rest of the driver knows it. The bit count is written all the
        // same.
        format.dwYUVBitCount = 32;
        return DDERR_INVALIDPIXELFORMAT;
    case kFourCCYUY2:
        if (driver->RectAlloc != 0 && driver->PixelSize >= PixelSize32 &&
            driver->ScreenWidth > kWidestFreeYUY2Screen) {
            return DDERR_INVALIDPIXELFORMAT;
        }
        format.dwYUVBitCount = 16;
        return DD_OK;
    default:
        return DDERR_INVALIDPIXELFORMAT;
    }
}

HRESULT CanCreate(const DriverData* driver, DDSURFACEDESC* desc, bool differentFormat) {
    constexpr DWORD kVideoZBuffer = DDSCAPS_ZBUFFER | DDSCAPS_VIDEOMEMORY;
    const bool permedia = driver->ChipInfo->Family == FamilyPermedia;
    if (permedia && (desc->ddsCaps.dwCaps & kVideoZBuffer) == kVideoZBuffer &&
        desc->dwZBufferBitDepth != 16) {
        return DDERR_INVALIDPIXELFORMAT;
    }
    if (!differentFormat) {
        return DD_OK;
    }
    DDPIXELFORMAT& format = desc->ddpfPixelFormat;
    if (permedia && (format.dwFlags & DDPF_FOURCC) != 0) {
        return CanCreateFourCC(driver, format);
    }
    return (format.dwFlags & DDPF_RGB) != 0 ? DD_OK : DDERR_INVALIDPIXELFORMAT;
}

} // namespace

DWORD KORV_STDCALL CanCreateSurface32(DDHAL_CANCREATESURFACEDATA* data) {
    DriverData* driver = SurfaceDriverOf(data->lpDD);
    FollowModeChange(driver);
    data->ddRVal = CanCreate(driver, data->lpDDSurfaceDesc, data->bIsDifferentPixelFormat != 0);
    return DDHAL_DRIVER_HANDLED;
}

DWORD KORV_STDCALL GlintCreateSurface32(DDHAL_CREATESURFACEDATA* data) {
    return CreateList(data, CreateGlintSurface);
}

DWORD KORV_STDCALL PermediaCreateSurface32(DDHAL_CREATESURFACEDATA* data) {
    return CreateList(data, CreatePermediaSurface);
}

DWORD KORV_STDCALL DestroySurface32(DDHAL_DESTROYSURFACEDATA* data) {
    DriverData* driver = SurfaceDriverOf(data->lpDD);
    DDRAWI_DDRAWSURFACE_LCL* surface = data->lpDDSurface;
    DDRAWI_DDRAWSURFACE_GBL* global = surface->lpGbl;
    if (CountsAsFlipSurface(driver, surface)) {
        --driver->FlipSurfaceCount;
    }
    PrivateSurfaceData* record = PrivateOf(surface);
    if (record == nullptr) {
        data->ddRVal = DDERR_GENERIC;
        return DDHAL_DRIVER_NOTHANDLED;
    }
    HeapFree(DXGlobals.Heap, 0, record);
    global->dwReserved1 = 0;
    data->ddRVal = DD_OK;
    if (!UsesLinearHeap(driver, surface)) {
        return DDHAL_DRIVER_NOTHANDLED; // DirectDraw frees what it allocated
    }
    FreeVideoMemory(driver, global->fpVidMem);
    global->fpVidMem = 0;
    return DDHAL_DRIVER_HANDLED;
}

DWORD KORV_STDCALL SetColorKey32(DDHAL_SETCOLORKEYDATA* data) {
    data->ddRVal = DD_OK;
    return DDHAL_DRIVER_HANDLED;
}

DWORD KORV_STDCALL UpdateNonLocalHeap32(DDHAL_UPDATENONLOCALHEAPDATA* data) {
    DriverData* driver = SurfaceDriverOf(data->lpDD);
    driver->NonLocalHeapLinear = data->fpGARTLin;
    driver->NonLocalHeapPhysical = data->fpGARTDev;
    PollFIFOSpace(driver->Registers, 2);
    WriteChip(driver->Registers, reg::AGPTextureBase, data->fpGARTDev);
    data->ddRVal = DD_OK;
    return DDHAL_DRIVER_HANDLED;
}

DWORD KORV_STDCALL GetHeapAlignment32(DDHAL_GETHEAPALIGNMENTDATA* data) {
    const DriverData* driver = ServiceDriver(reinterpret_cast<DriverData*>(data->dwInstance));
    data->ddRVal = DD_OK;
    if (!IsGlintWithTextures(driver->ChipInfo)) {
        return DDHAL_DRIVER_HANDLED;
    }
    if (data->dwHeap >= kHeapsWithAlignment) {
        data->ddRVal = DDERR_INVALIDPARAMS;
        return DDHAL_DRIVER_NOTHANDLED;
    }
    data->Alignment.ddsCaps.dwCaps = DDSCAPS_FLIP;
    data->Alignment.FlipTarget.Linear.dwStartAlignment = kFlipTargetAlignment;
    data->Alignment.FlipTarget.Linear.dwPitchAlignment = 0;
    return DDHAL_DRIVER_HANDLED;
}

DWORD KORV_STDCALL GetAvailDriverMemory32(DDHAL_GETAVAILDRIVERMEMORYDATA* data) {
    DriverData* driver = SurfaceDriverOf(data->lpDD);
    data->ddRVal = DD_OK;
    if ((data->DDSCaps.dwCaps & DDSCAPS_NONLOCALVIDMEM) != 0) {
        return DDHAL_DRIVER_NOTHANDLED;
    }
    data->dwTotal = driver->Heap.HeapEnd - driver->Heap.HeapStart + 1;
    data->dwFree = GetFreeMemInHeap(driver);
    return DDHAL_DRIVER_HANDLED;
}
