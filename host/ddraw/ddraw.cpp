#include "host/ddraw/ddraw.h"

#include "host/ddraw/palette.h"
#include "host/ddraw/runtime.h"
#include "host/observe/observer.h"
#include "host/observe/watched_memory.h"

namespace host {

DirectDraw::DirectDraw(Display& display) : display_(display) {
    DriverData* driver = display.Driver();
    interface_.lpLcl = &local_;
    interface_.dwIntRefCnt = 1;
    local_.lpGbl = &global_;
    local_.dwLocalRefCnt = 1;
    local_.dwProcessId = kProcessId;
    global_.dwRefCnt = 1;
    global_.dwReserved1 = AddressOf(driver);
    global_.dwReserved3 = AddressOf(driver);
    global_.ddCaps = driver->HALInfo.ddCaps;
    global_.lpD3DGlobalDriverData = AddressOf(driver->D3DGlobalData);
    global_.lpD3DHALCallbacks = AddressOf(driver->D3DCallbacks);
    FillMode();
}

DirectDraw::~DirectDraw() {
    while (!surfaces_.empty()) {
        Destroy(*surfaces_.back());
    }
}

const DDHALINFO& DirectDraw::HalInfo() const {
    return display_.Driver()->HALInfo;
}

void DirectDraw::FillMode() {
    const DisplayConfig& config = display_.Config();
    const uint32_t pitch = display_.Pitch();
    const uint32_t screen = AddressOf(display_.FrameBuffer());
    const uint32_t behind = screen + display_.ScreenBytes();

    VIDMEMINFO& mode = global_.vmiData;
    mode.fpPrimary = screen;
    mode.dwDisplayWidth = config.width;
    mode.dwDisplayHeight = config.height;
    mode.lDisplayPitch = static_cast<LONG>(pitch);
    mode.ddpfDisplay = DisplayFormat(config.bits);
    mode.dwOffscreenAlign = mode.dwTextureAlign = mode.dwZBufferAlign = 4;
    global_.fpPrimaryOrig = screen;
    global_.dwMonitorFrequency = config.refreshRate;

    frameBuffer_.Reset(screen, behind, pitch, display_.OffscreenBytes() / pitch);
    heaps_.clear();
    if (!display_.HasLinearHeap()) {
        VIDMEM heap{};
        heap.dwFlags = VIDMEM_ISRECTANGULAR;
        heap.fpStart = behind;
        heap.dwWidth = pitch;
        heap.dwHeight = display_.OffscreenBytes() / pitch;
        heap.ddsCaps.dwCaps = display_.IsGlint() ? DDSCAPS_TEXTURE | DDSCAPS_ZBUFFER : 0;
        heaps_.push_back(heap);
    }
    if (display_.IsGlint()) {
        const uint32_t bytes = config.localBufferBytes;
        localBuffer_.Reset(AddressOf(display_.LocalBuffer()), bytes);
        VIDMEM heap{};
        heap.dwFlags = VIDMEM_ISLINEAR;
        heap.fpStart = localBuffer_.Start();
        heap.fpEnd = localBuffer_.Start() + bytes - 1;
        heap.ddsCaps.dwCaps = DDSCAPS_OFFSCREENPLAIN | DDSCAPS_FLIP;
        heaps_.push_back(heap);
    }
    mode.dwNumHeaps = static_cast<DWORD>(heaps_.size());
    mode.pvmList = heaps_.data();
}

void DirectDraw::ChangeMode(uint32_t width, uint32_t height, uint32_t bits) {
    const bool otherPixels = bits != display_.Config().bits;
    // Memory of the host stays, but has another size than pixels of the new mode would need.
    const auto misfits = [otherPixels](const Surface& surface) {
        return otherPixels && (surface.local_.dwFlags & DDRAWISURF_HASPIXELFORMAT) == 0;
    };
    for (const auto& surface : surfaces_) {
        // The driver keeps a record of what lies in AGP memory too.
        if ((surface->HasVideoMemory() && surface->memory_ != Surface::Memory::Primary) ||
            (surface->memory_ == Surface::Memory::Agp && !surface->Lost() && misfits(*surface))) {
            DestroyInDriver(*surface);
            Tell(&Observer::OnSurfaceGone, display_, *surface);
            surface->block_.global.fpVidMem = 0;
            surface->local_.dwFlags |= DDRAWISURF_INVALID;
        }
    }
    display_.ChangeMode(width, height, bits);
    FillMode();
    for (const auto& surface : surfaces_) {
        if (surface->memory_ == Surface::Memory::System && misfits(*surface)) {
            surface->local_.dwFlags |= DDRAWISURF_INVALID;
        }
    }
    for (const auto& surface : surfaces_) {
        if (surface->memory_ == Surface::Memory::Primary) {
            DDRAWI_DDRAWSURFACE_GBL& global = surface->block_.global;
            global.fpVidMem = global_.vmiData.fpPrimary;
            global.lPitch = global_.vmiData.lDisplayPitch;
            global.wWidth = static_cast<WORD>(width);
            global.wHeight = static_cast<WORD>(height);
            Tell(&Observer::OnSurface, display_, *surface);
        }
    }
}

std::span<const uint8_t> DirectDraw::AgpMemory() const {
    return {reinterpret_cast<const uint8_t*>(agp_.Start()), agp_.Bytes()};
}

bool DirectDraw::EnableAgp(uint32_t bytes) {
    DDHAL_DDMISCELLANEOUSCALLBACKS misc{};
    uint32_t actual = 0;
    GetDriverInfo(GUID_MiscellaneousCallbacks, &misc, sizeof(misc), &actual);
    if ((misc.dwFlags & DDHAL_MISCCB32_UPDATENONLOCALHEAP) == 0) {
        return false;
    }
    if (MemoriesWatched()) {
        WatchedMemory& memory = display_.NewWatchedMemory(bytes);
        agp_.Reset(AddressOf(memory.ProcessorView()), bytes);
        display_.Board().MapMemory(kAgpBusAddress, memory.BoardView().data(), bytes);
        Tell(&Observer::OnAgpMemory, display_, kAgpBusAddress, memory);
    } else {
        const uint8_t* const memory = display_.NewBusMemory(bytes);
        agp_.Reset(AddressOf(memory), bytes);
        display_.Board().MapMemory(kAgpBusAddress, memory, bytes);
    }
    DDHAL_UPDATENONLOCALHEAPDATA data{};
    data.lpDD = &global_;
    data.fpGARTLin = agp_.Start();
    data.fpGARTDev = kAgpBusAddress;
    data.ulPolicyMaxBytes = bytes;
    return CallHal(misc.UpdateNonLocalHeap, data).Done();
}

HalAnswer DirectDraw::GetDriverInfo(const GUID& guid, void* bytes, uint32_t size,
                                    uint32_t* actual) {
    const DDHALINFO& info = HalInfo();
    if ((info.dwFlags & DDHALINFO_GETDRIVERINFOSET) == 0) {
        return {false, DDERR_UNSUPPORTED};
    }
    DDHAL_GETDRIVERINFODATA data{};
    data.dwSize = sizeof(data);
    data.guidInfo = guid;
    data.dwExpectedSize = size;
    data.lpvData = bytes;
    data.dwContext = global_.dwReserved3;
    const HalAnswer answer = CallHal(info.GetDriverInfo, data);
    if (actual != nullptr) {
        *actual = data.dwActualSize;
    }
    return answer;
}

} // namespace host
