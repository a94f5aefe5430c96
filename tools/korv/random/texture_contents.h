#pragma once
// A texture in memory as the reference rasteriser wants it.
#include "host/ddraw/surface.h"
#include "tools/korv/reference/texture.h"

#include <memory>

namespace korv::random {

// Texels of all levels, palette and source key, as the chip `deviceId` sees them. Nothing waits for
// it; the surface is in linear layout.
std::shared_ptr<const reference::Texture> ReadTexture(const host::Surface& surface,
                                                      uint32_t deviceId);

} // namespace korv::random
