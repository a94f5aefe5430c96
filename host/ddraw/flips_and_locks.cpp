#include "host/ddraw/ddraw.h"
#include "host/ddraw/runtime.h"
#include "host/observe/observer.h"

#include <utility>

namespace host {

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
    const HalAnswer answer = CallHal(flip, data);
    if (answer.Done()) {
        std::swap(current.block_.global.fpVidMem, target.block_.global.fpVidMem);
        std::swap(current.memory_, target.memory_);
        Tell(&Observer::OnFlip, display_, current, target);
        Tell(&Observer::OnFrame, display_);
    }
    return answer;
}

HalAnswer DirectDraw::GetFlipStatus(Surface& surface, uint32_t flags) {
    const LPDDHALSURFCB_GETFLIPSTATUS status = display_.Driver()->SurfaceCallbacks.GetFlipStatus;
    DDHAL_GETFLIPSTATUSDATA data{};
    data.lpDD = &global_;
    data.lpDDSurface = surface.Local();
    data.dwFlags = flags;
    data.GetFlipStatus = status;
    return CallHal(status, data);
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
    const HalAnswer answer = CallHal(lock, data);
    if (bytes != nullptr) {
        *bytes = answer.Done() ? data.lpSurfData : nullptr;
    }
    return answer;
}

HalAnswer DirectDraw::GetBltStatus(Surface& surface, uint32_t flags) {
    const LPDDHALSURFCB_GETBLTSTATUS status = display_.Driver()->SurfaceCallbacks.GetBltStatus;
    DDHAL_GETBLTSTATUSDATA data{};
    data.lpDD = &global_;
    data.lpDDSurface = surface.Local();
    data.dwFlags = flags;
    data.GetBltStatus = status;
    return CallHal(status, data);
}

void DirectDraw::Finish(Surface& surface) {
    const HalAnswer answer = Patiently([&] { return Lock(surface, nullptr); });
    Check("locking a surface", answer.handled ? answer.result : DDERR_UNSUPPORTED);
    display_.Board().Drain();
}

HalAnswer DirectDraw::WaitForVerticalBlank(uint32_t flags, bool* inBlank) {
    const LPDDHAL_WAITFORVERTICALBLANK wait = display_.Driver()->DDCallbacks.WaitForVerticalBlank;
    DDHAL_WAITFORVERTICALBLANKDATA data{};
    data.lpDD = &global_;
    data.dwFlags = flags;
    data.WaitForVerticalBlank = wait;
    const HalAnswer answer = CallHal(wait, data);
    if (inBlank != nullptr) {
        *inBlank = data.bIsInVB != 0;
    }
    return answer;
}

HalAnswer DirectDraw::GetScanLine(uint32_t* line) {
    const LPDDHAL_GETSCANLINE get = display_.Driver()->DDCallbacks.GetScanLine;
    DDHAL_GETSCANLINEDATA data{};
    data.lpDD = &global_;
    data.GetScanLine = get;
    const HalAnswer answer = CallHal(get, data);
    *line = data.dwScanLine;
    return answer;
}

} // namespace host
