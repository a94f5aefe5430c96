#include "host/ddraw/ddraw.h"
#include "host/ddraw/runtime.h"

#include <algorithm>

namespace host {

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
    return CallHal(blt, data);
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

void DirectDraw::LoadTexture(Surface& texture, Surface& source) {
    const size_t levels = std::min(texture.chain_.size(), source.chain_.size()) + 1;
    for (size_t level = 0; level < levels; ++level) {
        Surface& to = level == 0 ? texture : *texture.chain_[level - 1];
        Surface& from = level == 0 ? source : *source.chain_[level - 1];
        const HalAnswer answer = Patiently([&] { return Blt(to, to.Whole(), from, from.Whole()); });
        Check("loading a texture", answer.handled ? answer.result : DDERR_UNSUPPORTED);
    }
}

} // namespace host
