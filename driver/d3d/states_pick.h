#pragma once
// Triangle renderers for chips with no setup unit, by what they interpolate.
#include "driver/raster/renderer.h"

#include <cstdint>

// The untextured member for RF_ZENABLE, RF_GOURAUD and RF_FOG of `flags`.
Renderer PlainHostTriangle(uint32_t flags);
// The textured member for these and RF_PERSPECTIVE.
Renderer TexturedHostTriangle(uint32_t flags);
