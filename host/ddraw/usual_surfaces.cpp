#include "host/ddraw/ddraw.h"

namespace host {

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

} // namespace host
