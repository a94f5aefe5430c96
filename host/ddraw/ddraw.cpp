#include "host/ddraw/ddraw.h"

#include "host/driver_module.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>

namespace host {

namespace {

constexpr uint32_t kProcessId = 1;
constexpr uint32_t kAgpBusAddress = 0x80000000;
// Where the image base register counts in steps of 8192 bytes.
constexpr uint32_t kGlintFlipAlignment = 8192;
// Of one surface in system memory.
constexpr uint64_t kMaxSystemBytes = 256u << 20;

template <class Object>
uint32_t AddressOf(Object* object) {
    return reinterpret_cast<uintptr_t>(object);
}

bool Has(uint32_t caps, uint32_t bits) {
    return (caps & bits) == bits;
}

RECT WholeOf(const Surface& surface) {
    return {0, 0, static_cast<LONG>(surface.Width()), static_cast<LONG>(surface.Height())};
}

uint32_t LinearPitch(uint32_t width, uint32_t bits) {
    return ((width * bits + 7) / 8 + 3) & ~3u;
}

} // namespace

struct DirectDraw::PaletteObject {
    DDRAWI_DDRAWPALETTE_INT interface {};
    DDRAWI_DDRAWPALETTE_LCL local{};
    DDRAWI_DDRAWPALETTE_GBL global{};
    std::vector<PALETTEENTRY> entries;
};

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

bool DirectDraw::EnableAgp(uint32_t bytes) {
    DDHAL_DDMISCELLANEOUSCALLBACKS misc{};
    uint32_t actual = 0;
    GetDriverInfo(GUID_MiscellaneousCallbacks, &misc, sizeof(misc), &actual);
    if ((misc.dwFlags & DDHAL_MISCCB32_UPDATENONLOCALHEAP) == 0) {
        return false;
    }
    agpMemory_.assign(bytes, 0);
    agp_.Reset(AddressOf(agpMemory_.data()), bytes);
    display_.Board().MapMemory(kAgpBusAddress, agpMemory_.data(), bytes);
    DDHAL_UPDATENONLOCALHEAPDATA data{};
    data.lpDD = &global_;
    data.fpGARTLin = agp_.Start();
    data.fpGARTDev = kAgpBusAddress;
    data.ulPolicyMaxBytes = bytes;
    return CallDriver(misc.UpdateNonLocalHeap, &data) == DDHAL_DRIVER_HANDLED &&
           data.ddRVal == DD_OK;
}

// --- creating ---

bool DirectDraw::IsDisplayFormat(const DDPIXELFORMAT& format) const {
    return std::memcmp(&format, &global_.vmiData.ddpfDisplay, sizeof(format)) == 0;
}

std::unique_ptr<Surface> DirectDraw::NewSurface(const SurfaceRequest& request, uint32_t level) {
    std::unique_ptr<Surface> surface(new Surface());
    DDRAWI_DDRAWSURFACE_GBL& global = surface->block_.global;
    DDRAWI_DDRAWSURFACE_LCL& local = surface->local_;
    surface->more_.lpDD_lcl = &local_;
    surface->more_.lpDD_int = &interface_;
    surface->more_.dwMipMapCount = request.levels > 1 ? request.levels - level : 0;
    local.dwProcessId = kProcessId;
    local.ddsCaps.dwCaps = request.caps;
    local.dwBackBufferCount = request.backBuffers;
    global.lpDD = &global_;
    global.wWidth = static_cast<WORD>(std::max(request.width >> level, 1u));
    global.wHeight = static_cast<WORD>(std::max(request.height >> level, 1u));
    if (request.format && !IsDisplayFormat(*request.format)) {
        local.dwFlags |= DDRAWISURF_HASPIXELFORMAT;
        global.ddpfSurface = *request.format;
    }
    const bool linear = (request.caps & (DDSCAPS_TEXTURE | DDSCAPS_SYSTEMMEMORY)) != 0;
    global.lPitch = linear ? static_cast<LONG>(LinearPitch(surface->Width(), surface->Bits()))
                           : global_.vmiData.lDisplayPitch;
    return surface;
}

std::vector<std::unique_ptr<Surface>> DirectDraw::NewList(const SurfaceRequest& request) {
    std::vector<std::unique_ptr<Surface>> list;
    SurfaceRequest one = request;
    if (request.backBuffers != 0) {
        one.caps |= DDSCAPS_FLIP | DDSCAPS_COMPLEX | DDSCAPS_FRONTBUFFER;
    }
    for (uint32_t level = 0; level < request.levels; ++level) {
        list.push_back(NewSurface(one, level));
    }
    for (uint32_t i = 0; i < request.backBuffers; ++i) {
        one.caps &= ~(DDSCAPS_PRIMARYSURFACE | DDSCAPS_FRONTBUFFER | DDSCAPS_VISIBLE);
        one.caps |= i == 0 ? DDSCAPS_BACKBUFFER : 0;
        one.backBuffers = 0;
        list.push_back(NewSurface(one, 0));
        one.caps &= ~DDSCAPS_BACKBUFFER;
    }
    return list;
}

HRESULT DirectDraw::CreateSurface(const SurfaceRequest& wanted, Surface** out) {
    *out = nullptr;
    SurfaceRequest request = wanted;
    const bool primary = Has(request.caps, DDSCAPS_PRIMARYSURFACE);
    if (primary) {
        request.width = global_.vmiData.dwDisplayWidth;
        request.height = global_.vmiData.dwDisplayHeight;
        request.format.reset();
        request.caps |= DDSCAPS_VISIBLE;
    }
    if (request.width == 0 || request.height == 0 || request.width > 0xFFFF ||
        request.height > 0xFFFF || request.levels == 0 ||
        (request.levels > 1 && request.backBuffers != 0)) {
        return DDERR_INVALIDPARAMS;
    }
    if (request.levels > 1 && !Has(request.caps, DDSCAPS_TEXTURE | DDSCAPS_MIPMAP)) {
        return DDERR_INVALIDCAPS;
    }
    if (Has(request.caps, DDSCAPS_ZBUFFER) && !request.format) {
        request.format = DepthFormat(display_.IsGlint() ? 32 : 16);
    }
    const bool system = Has(request.caps, DDSCAPS_SYSTEMMEMORY);
    if (!system) {
        request.caps |= DDSCAPS_VIDEOMEMORY;
        if (!Has(request.caps, DDSCAPS_NONLOCALVIDMEM)) {
            request.caps |= DDSCAPS_LOCALVIDMEM;
        }
    }

    std::vector<std::unique_ptr<Surface>> list = NewList(request);
    if (uint64_t{static_cast<uint32_t>(list.front()->Pitch())} * request.height > kMaxSystemBytes &&
        (system || request.allowSystemMemory)) {
        return DDERR_OUTOFMEMORY;
    }
    HRESULT result = system ? HRESULT{DD_OK} : CreateInDriver(request, list);
    if (result == DDERR_OUTOFVIDEOMEMORY && request.allowSystemMemory && !primary) {
        request.caps &= ~(DDSCAPS_VIDEOMEMORY | DDSCAPS_LOCALVIDMEM | DDSCAPS_NONLOCALVIDMEM);
        request.caps |= DDSCAPS_SYSTEMMEMORY;
        list = NewList(request);
        result = DD_OK;
    }
    if (result != DD_OK) {
        return result;
    }
    if (Has(request.caps, DDSCAPS_SYSTEMMEMORY)) {
        GiveSystemMemory(list);
    }
    Surface& root = *list.front();
    for (size_t i = 1; i < list.size(); ++i) {
        Attach(*list[i - 1], *list[i]);
        list[i - 1]->attached_.back()->dwFlags = DDRAWISURF_IMPLICITCREATE;
        list[i]->local_.dwFlags |= DDRAWISURF_IMPLICITCREATE;
        list[i]->chainRoot_ = &root;
        root.chain_.push_back(list[i].get());
    }
    if (primary) {
        local_.lpPrimary = root.Interface();
    }
    *out = &root;
    for (auto& surface : list) {
        surfaces_.push_back(std::move(surface));
    }
    return DD_OK;
}

HRESULT DirectDraw::CreateInDriver(const SurfaceRequest& request,
                                   std::vector<std::unique_ptr<Surface>>& list) {
    const DDHAL_DDCALLBACKS& callbacks = display_.Driver()->DDCallbacks;
    const bool depth = Has(request.caps, DDSCAPS_ZBUFFER);

    DDSURFACEDESC desc{};
    desc.dwSize = sizeof(desc);
    desc.dwFlags = DDSD_CAPS | DDSD_WIDTH | DDSD_HEIGHT;
    desc.dwWidth = request.width;
    desc.dwHeight = request.height;
    desc.ddsCaps.dwCaps = request.caps;
    desc.ddpfPixelFormat = list.front()->Format();
    if (request.backBuffers != 0) {
        desc.dwFlags |= DDSD_BACKBUFFERCOUNT;
        desc.dwBackBufferCount = request.backBuffers;
    }
    if (depth) {
        desc.dwFlags |= DDSD_ZBUFFERBITDEPTH;
        desc.dwZBufferBitDepth = request.format->dwZBufferBitDepth;
    } else if (request.levels > 1) {
        desc.dwFlags |= DDSD_MIPMAPCOUNT;
        desc.dwMipMapCount = request.levels;
    }
    // A depth is asked for by bit count and not as a pixel format.
    const bool differs = request.format && !depth && !IsDisplayFormat(*request.format);
    if (differs) {
        desc.dwFlags |= DDSD_PIXELFORMAT;
    }

    if (callbacks.CanCreateSurface != nullptr) {
        DDHAL_CANCREATESURFACEDATA can{};
        can.lpDD = &global_;
        can.lpDDSurfaceDesc = &desc;
        can.bIsDifferentPixelFormat = differs ? 1 : 0;
        can.CanCreateSurface = callbacks.CanCreateSurface;
        if (CallDriver(callbacks.CanCreateSurface, &can) == DDHAL_DRIVER_HANDLED &&
            can.ddRVal != DD_OK) {
            return can.ddRVal;
        }
        if (differs) {
            // The driver may have settled the format's open fields.
            for (const auto& surface : list) {
                surface->block_.global.ddpfSurface = desc.ddpfPixelFormat;
            }
        }
    }

    std::vector<DDRAWI_DDRAWSURFACE_LCL*> locals;
    for (const auto& surface : list) {
        locals.push_back(surface->Local());
    }
    bool handled = false;
    HRESULT result = DD_OK;
    if (callbacks.CreateSurface != nullptr) {
        DDHAL_CREATESURFACEDATA create{};
        create.lpDD = &global_;
        create.lpDDSurfaceDesc = &desc;
        create.lplpSList = locals.data();
        create.dwSCnt = static_cast<DWORD>(locals.size());
        create.CreateSurface = callbacks.CreateSurface;
        handled = CallDriver(callbacks.CreateSurface, &create) == DDHAL_DRIVER_HANDLED;
        result = handled ? create.ddRVal : HRESULT{DD_OK};
    }
    for (size_t i = 0; result == DD_OK && i < list.size(); ++i) {
        result = GiveMemory(*list[i], handled);
    }
    if (result != DD_OK) {
        for (const auto& surface : list) {
            DestroyInDriver(*surface);
        }
    }
    return result;
}

uint32_t DirectDraw::FlipAlignment() const {
    return display_.IsGlint() ? kGlintFlipAlignment : 8;
}

// Memory for a surface that the driver has seen, unless the driver gave it some.
HRESULT DirectDraw::GiveMemory(Surface& surface, bool handled) {
    DDRAWI_DDRAWSURFACE_GBL& global = surface.block_.global;
    const uint32_t caps = surface.Caps();
    if (Has(caps, DDSCAPS_PRIMARYSURFACE)) {
        surface.memory_ = Surface::Memory::Primary;
        global.fpVidMem = global_.vmiData.fpPrimary;
        global.lPitch = global_.vmiData.lDisplayPitch;
        return DD_OK;
    }
    const bool byBlock = handled && global.fpVidMem == DDHAL_PLEASEALLOC_BLOCKSIZE;
    if (handled && !byBlock && global.fpVidMem != 0) {
        surface.memory_ = Surface::Memory::Driver;
        return DD_OK;
    }
    const uint32_t blockBytes = byBlock ? global.dwBlockSizeX * global.dwBlockSizeY
                                        : static_cast<uint32_t>(global.lPitch) * global.wHeight;
    if (Has(caps, DDSCAPS_NONLOCALVIDMEM)) {
        surface.memory_ = Surface::Memory::Agp;
        global.fpVidMem = agp_.Allocate(blockBytes);
        surface.globalMore_.fpPhysicalVidMem = kAgpBusAddress + global.fpVidMem - agp_.Start();
    } else if (display_.IsGlint() && (caps & (DDSCAPS_ZBUFFER | DDSCAPS_TEXTURE)) != 0) {
        surface.memory_ = Surface::Memory::LocalBuffer;
        global.fpVidMem = localBuffer_.Allocate(blockBytes);
    } else if (byBlock) {
        surface.memory_ = Surface::Memory::FrameBuffer;
        global.fpVidMem = frameBuffer_.AllocateBytes(blockBytes);
    } else {
        const bool flips = (caps & (DDSCAPS_FLIP | DDSCAPS_BACKBUFFER)) != 0;
        surface.memory_ = Surface::Memory::FrameBuffer;
        global.lPitch = global_.vmiData.lDisplayPitch;
        global.fpVidMem = frameBuffer_.Allocate((global.wWidth * surface.Bits() + 7) / 8,
                                                global.wHeight, flips ? FlipAlignment() : 1);
    }
    return global.fpVidMem != 0 ? HRESULT{DD_OK} : DDERR_OUTOFVIDEOMEMORY;
}

void DirectDraw::GiveSystemMemory(std::vector<std::unique_ptr<Surface>>& list) {
    for (const auto& surface : list) {
        DDRAWI_DDRAWSURFACE_GBL& global = surface->block_.global;
        surface->memory_ = Surface::Memory::System;
        // A driver reads whole words, and so a little past the last line's end.
        constexpr size_t kSlack = 16; // bytes
        surface->systemMemory_.assign(static_cast<size_t>(global.lPitch) * global.wHeight + kSlack,
                                      0);
        global.fpVidMem = AddressOf(surface->systemMemory_.data());
    }
}

Surface& DirectDraw::CreatePrimary(uint32_t backBuffers) {
    SurfaceRequest request;
    request.caps = DDSCAPS_PRIMARYSURFACE | DDSCAPS_3DDEVICE;
    request.backBuffers = backBuffers;
    Surface* surface;
    Check("primary surface", CreateSurface(request, &surface));
    return *surface;
}

Surface& DirectDraw::CreateOffscreen(uint32_t width, uint32_t height,
                                     std::optional<DDPIXELFORMAT> format) {
    SurfaceRequest request;
    request.width = width;
    request.height = height;
    request.format = format;
    Surface* surface;
    Check("offscreen surface", CreateSurface(request, &surface));
    return *surface;
}

Surface& DirectDraw::CreateTarget(uint32_t width, uint32_t height) {
    SurfaceRequest request;
    request.caps = DDSCAPS_OFFSCREENPLAIN | DDSCAPS_3DDEVICE;
    request.width = width;
    request.height = height;
    Surface* surface;
    Check("render target", CreateSurface(request, &surface));
    return *surface;
}

Surface& DirectDraw::CreateZBuffer(uint32_t width, uint32_t height, uint32_t bits) {
    SurfaceRequest request;
    request.caps = DDSCAPS_ZBUFFER;
    request.width = width;
    request.height = height;
    if (bits != 0) {
        request.format = DepthFormat(bits);
    }
    Surface* surface;
    Check("Z buffer", CreateSurface(request, &surface));
    return *surface;
}

Surface& DirectDraw::CreateTexture(uint32_t width, uint32_t height, const DDPIXELFORMAT& format,
                                   uint32_t levels) {
    SurfaceRequest request;
    request.caps = DDSCAPS_TEXTURE | (levels > 1 ? DDSCAPS_MIPMAP | DDSCAPS_COMPLEX : 0);
    request.width = width;
    request.height = height;
    request.format = format;
    request.levels = levels;
    Surface* surface;
    Check("texture", CreateSurface(request, &surface));
    return *surface;
}

Surface& DirectDraw::CreateSystem(uint32_t width, uint32_t height,
                                  std::optional<DDPIXELFORMAT> format, uint32_t caps,
                                  uint32_t levels) {
    SurfaceRequest request;
    request.caps = caps | DDSCAPS_SYSTEMMEMORY;
    if (levels > 1) {
        request.caps |= DDSCAPS_TEXTURE | DDSCAPS_MIPMAP | DDSCAPS_COMPLEX;
    }
    request.width = width;
    request.height = height;
    request.format = format;
    request.levels = levels;
    Surface* surface;
    Check("system memory surface", CreateSurface(request, &surface));
    return *surface;
}

// --- destroying ---

void DirectDraw::FreeMemory(Surface& surface) {
    const uint32_t address = surface.block_.global.fpVidMem;
    switch (surface.memory_) {
    case Surface::Memory::FrameBuffer:
        frameBuffer_.Free(address);
        break;
    case Surface::Memory::LocalBuffer:
        localBuffer_.Free(address);
        break;
    case Surface::Memory::Agp:
        agp_.Free(address);
        break;
    case Surface::Memory::Driver:
    case Surface::Memory::System:
    case Surface::Memory::Primary:
        break;
    }
}

// The driver's part of the end of a surface, and the memory that is not its own.
void DirectDraw::DestroyInDriver(Surface& surface) {
    const DDHAL_DDSURFACECALLBACKS& callbacks = display_.Driver()->SurfaceCallbacks;
    bool handled = false;
    if (surface.block_.global.dwReserved1 != 0 && callbacks.DestroySurface != nullptr) {
        DDHAL_DESTROYSURFACEDATA data{};
        data.lpDD = &global_;
        data.lpDDSurface = surface.Local();
        data.DestroySurface = callbacks.DestroySurface;
        handled = CallDriver(callbacks.DestroySurface, &data) == DDHAL_DRIVER_HANDLED;
    }
    if (!handled) {
        FreeMemory(surface);
    }
}

void DirectDraw::Destroy(Surface& surface) {
    Surface& root = surface.chainRoot_ != nullptr ? *surface.chainRoot_ : surface;
    std::vector<Surface*> going = {&root};
    going.insert(going.end(), root.chain_.begin(), root.chain_.end());
    const auto isGoing = [&](const Surface* s) {
        return std::find(going.begin(), going.end(), s) != going.end();
    };
    for (Surface* one : going) {
        if (!one->Lost()) {
            DestroyInDriver(*one);
        }
    }
    if (local_.lpPrimary == root.Interface()) {
        local_.lpPrimary = nullptr;
    }
    for (const auto& other : surfaces_) {
        if (!isGoing(other.get())) {
            for (Surface* one : going) {
                Detach(*other, *one);
            }
        }
    }
    std::erase_if(surfaces_, [&](const auto& s) { return isGoing(s.get()); });
}

void DirectDraw::Attach(Surface& surface, Surface& attached) {
    auto node = std::make_unique<ATTACHLIST>();
    node->lpAttached = attached.Local();
    node->lpIAttached = attached.Interface();
    surface.attached_.push_back(std::move(node));
    auto back = std::make_unique<ATTACHLIST>();
    back->lpAttached = surface.Local();
    back->lpIAttached = surface.Interface();
    attached.attachedFrom_.push_back(std::move(back));
    surface.LinkAttachments();
    attached.LinkAttachments();
}

void DirectDraw::Detach(Surface& surface, Surface& attached) {
    const auto names = [](Surface& s) {
        return [local = s.Local()](const auto& node) { return node->lpAttached == local; };
    };
    std::erase_if(surface.attached_, names(attached));
    std::erase_if(attached.attachedFrom_, names(surface));
    std::erase_if(surface.attachedFrom_, names(attached));
    std::erase_if(attached.attached_, names(surface));
    surface.LinkAttachments();
    attached.LinkAttachments();
}

void DirectDraw::SetPalette(Surface& surface, const std::vector<PALETTEENTRY>& entries) {
    if (entries.size() != 16 && entries.size() != 256) {
        throw std::invalid_argument("a palette has 16 or 256 entries");
    }
    auto palette = std::make_unique<PaletteObject>();
    palette->entries = entries;
    palette->interface.lpLcl = &palette->local;
    palette->interface.dwIntRefCnt = 1;
    palette->local.lpGbl = &palette->global;
    palette->local.lpDD_lcl = &local_;
    palette->local.dwLocalRefCnt = 1;
    palette->global.dwRefCnt = 1;
    palette->global.dwFlags = entries.size() == 256 ? DDRAWIPAL_256 : DDRAWIPAL_16;
    palette->global.lpDD_lcl = &local_;
    palette->global.dwProcessId = kProcessId;
    palette->global.lpColorTable = palette->entries.data();
    surface.local_.lpDDPalette = &palette->interface;
    palettes_.push_back(std::move(palette));
}

void DirectDraw::SetSourceKey(Surface& surface, DDCOLORKEY key) {
    surface.local_.ddckCKSrcBlt = key;
    surface.local_.dwFlags |= DDRAWISURF_HASCKEYSRCBLT;
}

// --- calls of the driver ---

HalAnswer DirectDraw::CallBlt(DDHAL_BLTDATA& data) {
    const LPDDHALSURFCB_BLT blt = display_.Driver()->SurfaceCallbacks.Blt;
    data.lpDD = &global_;
    data.bltFX.dwSize = sizeof(data.bltFX);
    data.rOrigDest = data.rDest;
    data.rOrigSrc = data.rSrc;
    data.Blt = blt;
    if (blt == nullptr) {
        return {false, DDERR_UNSUPPORTED};
    }
    const bool handled = CallDriver(blt, &data) == DDHAL_DRIVER_HANDLED;
    return {handled, data.ddRVal};
}

HalAnswer DirectDraw::Blt(Surface& dest, const RECT& destRect, Surface& source,
                          const RECT& sourceRect, const BltOptions& options) {
    DDHAL_BLTDATA data{};
    data.lpDDDestSurface = dest.Local();
    data.rDest = destRect;
    data.lpDDSrcSurface = source.Local();
    data.rSrc = sourceRect;
    data.dwFlags = DDBLT_ROP;
    data.bltFX.dwROP = SRCCOPY;
    data.dwROPFlags = 0;
    if (options.sourceKey) {
        data.dwFlags |= DDBLT_KEYSRCOVERRIDE;
        data.bltFX.ddckSrcColorkey = *options.sourceKey;
    }
    if (options.mirrorLeftRight || options.mirrorUpDown) {
        data.dwFlags |= DDBLT_DDFX;
        data.bltFX.dwDDFX = (options.mirrorLeftRight ? DDBLTFX_MIRRORLEFTRIGHT : 0) |
                            (options.mirrorUpDown ? DDBLTFX_MIRRORUPDOWN : 0);
    }
    if (options.async) {
        data.dwFlags |= DDBLT_ASYNC;
    }
    return CallBlt(data);
}

HalAnswer DirectDraw::Fill(Surface& dest, const RECT& rect, uint32_t flags, const DDBLTFX& fx) {
    DDHAL_BLTDATA data{};
    data.lpDDDestSurface = dest.Local();
    data.rDest = rect;
    data.dwFlags = flags;
    data.bltFX = fx;
    return CallBlt(data);
}

HalAnswer DirectDraw::ColorFill(Surface& dest, const RECT& rect, uint32_t color) {
    DDBLTFX fx{};
    fx.dwFillColor = color;
    return Fill(dest, rect, DDBLT_COLORFILL, fx);
}

HalAnswer DirectDraw::DepthFill(Surface& dest, const RECT& rect, uint32_t depth) {
    DDBLTFX fx{};
    fx.dwFillDepth = depth;
    return Fill(dest, rect, DDBLT_DEPTHFILL, fx);
}

HalAnswer DirectDraw::RopFill(Surface& dest, const RECT& rect, uint32_t rop) {
    DDBLTFX fx{};
    fx.dwROP = rop;
    return Fill(dest, rect, DDBLT_ROP, fx);
}

HalAnswer DirectDraw::Flip(Surface& current, Surface& target) {
    const LPDDHALSURFCB_FLIP flip = display_.Driver()->SurfaceCallbacks.Flip;
    if (flip == nullptr) {
        return {false, DDERR_UNSUPPORTED};
    }
    DDHAL_FLIPDATA data{};
    data.lpDD = &global_;
    data.lpSurfCurr = current.Local();
    data.lpSurfTarg = target.Local();
    data.Flip = flip;
    const bool handled = CallDriver(flip, &data) == DDHAL_DRIVER_HANDLED;
    if (handled && data.ddRVal == DD_OK) {
        std::swap(current.block_.global.fpVidMem, target.block_.global.fpVidMem);
        std::swap(current.memory_, target.memory_);
    }
    return {handled, data.ddRVal};
}

HalAnswer DirectDraw::Lock(Surface& surface, void** bytes, const RECT* rect, uint32_t flags) {
    const LPDDHALSURFCB_LOCK lock = display_.Driver()->SurfaceCallbacks.Lock;
    if (lock == nullptr) {
        return {false, DDERR_UNSUPPORTED};
    }
    DDHAL_LOCKDATA data{};
    data.lpDD = &global_;
    data.lpDDSurface = surface.Local();
    data.bHasRect = rect != nullptr ? 1 : 0;
    data.rArea = rect != nullptr ? *rect : RECT{};
    data.dwFlags = flags;
    data.Lock = lock;
    const bool handled = CallDriver(lock, &data) == DDHAL_DRIVER_HANDLED;
    if (bytes != nullptr) {
        *bytes = handled && data.ddRVal == DD_OK ? data.lpSurfData : nullptr;
    }
    return {handled, data.ddRVal};
}

HalAnswer DirectDraw::GetBltStatus(Surface& surface, uint32_t flags) {
    const LPDDHALSURFCB_GETBLTSTATUS status = display_.Driver()->SurfaceCallbacks.GetBltStatus;
    DDHAL_GETBLTSTATUSDATA data{};
    data.lpDD = &global_;
    data.lpDDSurface = surface.Local();
    data.dwFlags = flags;
    data.GetBltStatus = status;
    const bool handled = CallDriver(status, &data) == DDHAL_DRIVER_HANDLED;
    return {handled, data.ddRVal};
}

HalAnswer DirectDraw::GetFlipStatus(Surface& surface, uint32_t flags) {
    const LPDDHALSURFCB_GETFLIPSTATUS status = display_.Driver()->SurfaceCallbacks.GetFlipStatus;
    DDHAL_GETFLIPSTATUSDATA data{};
    data.lpDD = &global_;
    data.lpDDSurface = surface.Local();
    data.dwFlags = flags;
    data.GetFlipStatus = status;
    const bool handled = CallDriver(status, &data) == DDHAL_DRIVER_HANDLED;
    return {handled, data.ddRVal};
}

HalAnswer DirectDraw::WaitForVerticalBlank(uint32_t flags, bool* inBlank) {
    const LPDDHAL_WAITFORVERTICALBLANK wait = display_.Driver()->DDCallbacks.WaitForVerticalBlank;
    DDHAL_WAITFORVERTICALBLANKDATA data{};
    data.lpDD = &global_;
    data.dwFlags = flags;
    data.WaitForVerticalBlank = wait;
    const bool handled = CallDriver(wait, &data) == DDHAL_DRIVER_HANDLED;
    if (inBlank != nullptr) {
        *inBlank = data.bIsInVB != 0;
    }
    return {handled, data.ddRVal};
}

HalAnswer DirectDraw::GetScanLine(uint32_t* line) {
    const LPDDHAL_GETSCANLINE get = display_.Driver()->DDCallbacks.GetScanLine;
    DDHAL_GETSCANLINEDATA data{};
    data.lpDD = &global_;
    data.GetScanLine = get;
    const bool handled = CallDriver(get, &data) == DDHAL_DRIVER_HANDLED;
    *line = data.dwScanLine;
    return {handled, data.ddRVal};
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
    const bool handled = CallDriver(info.GetDriverInfo, &data) == DDHAL_DRIVER_HANDLED;
    if (actual != nullptr) {
        *actual = data.dwActualSize;
    }
    return {handled, data.ddRVal};
}

// --- doing things ---

void DirectDraw::LoadTexture(Surface& texture, Surface& source) {
    const size_t levels = std::min(texture.chain_.size(), source.chain_.size()) + 1;
    for (size_t level = 0; level < levels; ++level) {
        Surface& to = level == 0 ? texture : *texture.chain_[level - 1];
        Surface& from = level == 0 ? source : *source.chain_[level - 1];
        const HalAnswer answer =
            Patiently([&] { return Blt(to, WholeOf(to), from, WholeOf(from)); });
        Check("loading a texture", answer.handled ? answer.result : DDERR_UNSUPPORTED);
    }
}

void DirectDraw::Finish(Surface& surface) {
    const HalAnswer answer = Patiently([&] { return Lock(surface, nullptr); });
    Check("locking a surface", answer.handled ? answer.result : DDERR_UNSUPPORTED);
    display_.Board().Drain();
}

void DirectDraw::ChangeMode(uint32_t width, uint32_t height, uint32_t bits) {
    for (const auto& surface : surfaces_) {
        if (surface->HasVideoMemory() && surface->memory_ != Surface::Memory::Primary) {
            DestroyInDriver(*surface);
            surface->block_.global.fpVidMem = 0;
            surface->local_.dwFlags |= DDRAWISURF_INVALID;
        }
    }
    display_.ChangeMode(width, height, bits);
    FillMode();
    for (const auto& surface : surfaces_) {
        if (surface->memory_ == Surface::Memory::Primary) {
            DDRAWI_DDRAWSURFACE_GBL& global = surface->block_.global;
            global.fpVidMem = global_.vmiData.fpPrimary;
            global.lPitch = global_.vmiData.lDisplayPitch;
            global.wWidth = static_cast<WORD>(width);
            global.wHeight = static_cast<WORD>(height);
        }
    }
}

} // namespace host
