// What hangs on a surface: other surfaces, a palette, a colour key.
#include "host/ddraw/ddraw.h"
#include "host/ddraw/palette.h"
#include "host/ddraw/runtime.h"

#include <stdexcept>

namespace host {

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

} // namespace host
