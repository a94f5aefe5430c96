// A new surface and its chain: records, the driver's consent, memory.
#include "host/ddraw/ddraw.h"
#include "host/ddraw/runtime.h"
#include "host/driver_module.h"
#include "host/observe/observer.h"

#include <algorithm>
#include <cstring>

namespace host {

namespace {

uint32_t LinearPitch(uint32_t width, uint32_t bits) {
    return ((width * bits + 7) / 8 + 3) & ~3u;
}

// Of one surface in system memory.
constexpr uint64_t kMaxSystemBytes = 256u << 20;

} // namespace

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
        Tell(&Observer::OnSurface, display_, *surface);
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

} // namespace host
