#pragma once
// The render states of a texture, together.
#include "tools/korv/painting/painter.h"

namespace korv {

struct TextureState {
    TextureHandle texture = kNoTexture;
    DWORD filter = D3DFILTER_NEAREST; // D3DFILTER, for texels smaller than a pixel and larger
    DWORD address = D3DTADDRESS_WRAP; // D3DTADDRESS
    DWORD blend = D3DTBLEND_MODULATE; // D3DTBLEND
    bool perspective = true;          // by the vertices' rhw; else linear on the screen
};

// Binds the texture and sets all its states.
void SetTexture(Painter& painter, const TextureState& state);

// What follows is drawn without texture.
void ClearTexture(Painter& painter);

} // namespace korv
