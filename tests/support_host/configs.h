#pragma once
// Displays and vertices that tests of host and machine set up alike.
#include "driver/platform/d3dhal.h"
#include "host/display/display.h"

#include <cstdint>

namespace test {

inline constexpr HRESULT kStillDrawing = static_cast<HRESULT>(0x8876021C);

inline host::DisplayConfig ConfigFor(uint32_t deviceId) {
    host::DisplayConfig config;
    config.deviceId = deviceId;
    return config;
}

inline D3DTLVERTEX ScreenVertex(float x, float y, float z, D3DCOLOR color) {
    D3DTLVERTEX v{};
    v.sx = x;
    v.sy = y;
    v.sz = z;
    v.rhw = 1.0f;
    v.color = color;
    return v;
}

} // namespace test
