#pragma once
// Binding: makes TextureHandle the texture of the chip, or switches the texture unit off. No texels
// move; at most the palette of an 8-bit texture is loaded, once.
//
// The result is TextureValid: 0 while the texture in force lies in system memory. A handle that
// names nothing is no error, and the chip keeps what it had.
#include "driver/core/records/d3d_context.h"

void ChangeTexturePermedia(D3DContext* ctx);
void ChangeTextureTX(D3DContext* ctx);
void ChangeTextureMX(D3DContext* ctx);
