// Memory for surfaces that the driver leaves to the runtime.
#include "host/ddraw/ddraw.h"
#include "host/ddraw/runtime.h"

namespace host {

namespace {

// Where the image base register counts in steps of 8192 bytes.
constexpr uint32_t kGlintFlipAlignment = 8192;

} // namespace

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
        surface->systemMemory_.assign(
            static_cast<size_t>(global.lPitch) * global.wHeight + Surface::kSlack, 0);
        global.fpVidMem = AddressOf(surface->systemMemory_.data());
    }
}

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

} // namespace host
