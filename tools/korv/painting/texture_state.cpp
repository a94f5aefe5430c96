#include "tools/korv/painting/texture_state.h"

namespace korv {

namespace {

// Larger texels have no smaller level to be taken from.
DWORD MagnifyFilter(DWORD filter) {
    const bool nearest = filter == D3DFILTER_NEAREST || filter == D3DFILTER_MIPNEAREST ||
                         filter == D3DFILTER_LINEARMIPNEAREST;
    return nearest ? D3DFILTER_NEAREST : D3DFILTER_LINEAR;
}

} // namespace

void SetTexture(Painter& painter, const TextureState& state) {
    painter.State(D3DRENDERSTATE_TEXTUREHANDLE, state.texture);
    painter.State(D3DRENDERSTATE_TEXTUREMAG, MagnifyFilter(state.filter));
    painter.State(D3DRENDERSTATE_TEXTUREMIN, state.filter);
    painter.State(D3DRENDERSTATE_TEXTUREADDRESS, state.address);
    painter.State(D3DRENDERSTATE_TEXTUREMAPBLEND, state.blend);
    painter.State(D3DRENDERSTATE_TEXTUREPERSPECTIVE, state.perspective);
}

void ClearTexture(Painter& painter) {
    painter.State(D3DRENDERSTATE_TEXTUREHANDLE, kNoTexture);
}

} // namespace korv
