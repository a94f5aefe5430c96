#include "host/ddraw/ddraw.h"
#include "host/driver_module.h"
#include "host/observe/observer.h"

#include <algorithm>

namespace host {

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
            Tell(&Observer::OnSurfaceGone, display_, *one);
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

} // namespace host
