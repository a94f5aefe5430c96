#include "tools/korv/random/triangle_exceptions.h"

#include "chip/devices.h"

#include <algorithm>
#include <cmath>

namespace korv::random {

namespace {

using reference::ChipTraits;
using reference::Levels;
using reference::Triangle3;

bool HasLevels(const TriangleCase& drawn) {
    return drawn.state.texture != nullptr && !drawn.state.texture->smaller.empty();
}

bool IsKeyed(const TriangleCase& drawn) {
    return drawn.state.texture != nullptr && drawn.state.texture->sourceKey.has_value();
}

bool IsPermedia(const host::DisplayConfig& display) {
    return display.deviceId == DevicePermedia || display.deviceId == DevicePermedia2;
}

bool Adds(const reference::DrawState& state) {
    return state.blend && state.source == D3DBLEND_ONE && state.dest == D3DBLEND_ONE;
}

bool IsDecal(const reference::DrawState& state) {
    return state.textureBlend == D3DTBLEND_DECAL || state.textureBlend == D3DTBLEND_COPY;
}

// The driver sets triangles up itself.
bool SetsUp(const host::DisplayConfig& display) {
    return !display.delta && display.deviceId != DevicePermedia2;
}

// The determinant that the driver takes a level by is positive for these.
bool IsClockwise(const Triangle3& triangle) {
    const auto &a = triangle.a, &b = triangle.b, &c = triangle.c;
    return (b.x - a.x) * (c.y - a.y) > (b.y - a.y) * (c.x - a.x);
}

template <class Fails>
bool AnyTriangle(const TriangleCase& drawn, Fails fails) {
    return std::ranges::any_of(drawn.triangles, fails);
}

// Whether the short way round is another one by rounding.
bool IsHalfway(float a, float b, float c) {
    const auto far = [](float from, float to) { return std::abs(to - from) > 0.49f; };
    reference::TakeShortWay(a, b, c);
    return far(a, b) || far(a, c) || far(b, c);
}

constexpr TriangleException kTriangleExceptions[] = {
    {"without a setup unit the driver moves corners to rows, and what is on them along: half a row "
     "of fog or texture is more than the limits",
     [](const TriangleCase& drawn) {
         return SetsUp(drawn.display) && (drawn.state.fog || drawn.state.texture != nullptr) &&
                !AreOnRows(drawn.triangles);
     }},
    {"targets of 8 bits a pixel hold steps of 85 of 255, within which nearly all is right",
     [](const TriangleCase& drawn) { return drawn.bits == 8; }},
    {"no key of several values is claimed (DDCKEYCAPS)",
     [](const TriangleCase& drawn) { return drawn.state.texture != nullptr && drawn.keyRange; }},
    {"a key is what the nearest texel is; mixed with its neighbours it is the chip's own affair",
     [](const TriangleCase& drawn) {
         return IsKeyed(drawn) && drawn.state.filter != D3DFILTER_NEAREST;
     }},
    {"Permedias compare keys of 32-bit texels with alpha with red and blue exchanged "
     "(driver/texture/textures_key.cpp, ExpandColourKey)",
     [](const TriangleCase& drawn) {
         return IsKeyed(drawn) && IsPermedia(drawn.display) &&
                drawn.state.texture->format.dwRBitMask == 0xFF0000 &&
                drawn.state.texture->format.dwRGBAlphaBitMask != 0;
     }},
    {"a texture of the display's own format has no record of it, and Permedias take its key for "
     "one of 5:6:5 (driver/texture/textures_bind.cpp, PutColourKey)",
     [](const TriangleCase& drawn) {
         return IsKeyed(drawn) && IsPermedia(drawn.display) && drawn.bits == 16 &&
                drawn.state.texture->format.dwRBitMask == 0x7C00 &&
                (drawn.state.texture->keyBits & 0x8000) == 0;
     }},
    {"MX leaves keyed texels out by blending with an alpha of 0 and 255, which only stands in a "
     "decal that is not blended otherwise (driver/texture/textures_bind_glint.cpp, SendKeyOn)",
     [](const TriangleCase& drawn) {
         return IsKeyed(drawn) && drawn.display.deviceId == DeviceMX &&
                (!IsDecal(drawn.state) || drawn.state.blend);
     }},
    {"Permedias add by an alpha of 0, in the place of which a decal has its own "
     "(driver/d3d/statepm_flush.cpp, FlushBlend)",
     [](const TriangleCase& drawn) {
         return drawn.state.texture != nullptr && IsDecal(drawn.state) && Adds(drawn.state) &&
                IsPermedia(drawn.display);
     }},
    {"of texels much smaller than a pixel any may be hit",
     [](const TriangleCase& drawn) {
         return drawn.state.texture != nullptr &&
                AnyTriangle(drawn, [&](const Triangle3& triangle) {
                    const double last = drawn.traits.levels == Levels::Largest
                                            ? 0
                                            : double(drawn.state.texture->smaller.size());
                    return !(reference::DetailOf(triangle) < last + 0.5);
                });
     }},
    {"without a setup unit a flat colour's alpha stays what it is where they add "
     "(driver/raster/gl_groups.h)",
     [](const TriangleCase& drawn) {
         return IsPermedia(drawn.display) && SetsUp(drawn.display) && !drawn.state.gouraud &&
                Adds(drawn.state);
     }},
    {"which level a triangle takes at the border of two goes by rounding",
     [](const TriangleCase& drawn) {
         if (!HasLevels(drawn) || drawn.traits.levels == Levels::Largest) {
             return false;
         }
         return AnyTriangle(drawn, [&](const Triangle3& triangle) {
             const double detail = reference::DetailOf(triangle);
             const double border = drawn.traits.levels == Levels::Nearest ? std::floor(detail) + 0.5
                                                                          : std::nearbyint(detail);
             return !(std::abs(detail - border) > 0.1) && detail > 0.4;
         });
     }},
    {"MX takes a level for each pixel, by the axis along which it spans most texels: here only "
     "where all pixels and axes are alike",
     [](const TriangleCase& drawn) {
         return HasLevels(drawn) && drawn.traits.levels == Levels::Nearest &&
                (drawn.state.perspective ||
                 drawn.state.texture->width != drawn.state.texture->height);
     }},
    {"MX is told no pitch of a level and takes rows one behind the other; DirectDraw lets each "
     "begin with a word",
     [](const TriangleCase& drawn) {
         if (!HasLevels(drawn) || drawn.traits.levels != Levels::Nearest) {
             return false;
         }
         const reference::Texture& texture = *drawn.state.texture;
         return AnyTriangle(drawn, [&](const Triangle3& triangle) {
             const double level = std::clamp(std::nearbyint(reference::DetailOf(triangle)), 0.0,
                                             double(texture.smaller.size()));
             const uint32_t width = texture.width >> static_cast<uint32_t>(level);
             return width * texture.format.dwRGBBitCount < 32;
         });
     }},
    {"Delta's members with levels send triangles that face the other way to the first level or the "
     "last (driver/raster/del_textured.h, DeltaMipBatch)",
     [](const TriangleCase& drawn) {
         return HasLevels(drawn) && drawn.display.delta &&
                drawn.display.deviceId == DevicePermedia &&
                !std::ranges::all_of(drawn.triangles, IsClockwise);
     }},
    {"two corners half a texture apart go either way round",
     [](const TriangleCase& drawn) {
         return AnyTriangle(drawn, [&](const Triangle3& triangle) {
             const auto &a = triangle.a, &b = triangle.b, &c = triangle.c;
             return (drawn.state.wrapU && IsHalfway(a.u, b.u, c.u)) ||
                    (drawn.state.wrapV && IsHalfway(a.v, b.v, c.v));
         });
     }},
    {"wrapping is of repeated textures",
     [](const TriangleCase& drawn) {
         return drawn.state.texture != nullptr && (drawn.state.wrapU || drawn.state.wrapV) &&
                (drawn.state.address != D3DTADDRESS_WRAP || HasLevels(drawn));
     }},
    {"no DECALMASK, MODULATEMASK and ADD are claimed",
     [](const TriangleCase& drawn) {
         const uint32_t blend = drawn.state.textureBlend;
         return blend != D3DTBLEND_DECAL && blend != D3DTBLEND_MODULATE &&
                blend != D3DTBLEND_DECALALPHA && blend != D3DTBLEND_MODULATEALPHA &&
                blend != D3DTBLEND_COPY;
     }},
};

} // namespace

bool AreOnRows(const std::vector<Triangle3>& triangles) {
    return std::ranges::none_of(triangles, [](const Triangle3& triangle) {
        const auto between = [](float y) { return y != std::floor(y); };
        return between(triangle.a.y) || between(triangle.b.y) || between(triangle.c.y);
    });
}

std::span<const TriangleException> TriangleExceptions() {
    return kTriangleExceptions;
}

ChipTraits TraitsOf(const host::DisplayConfig& display) {
    if (display.deviceId == DevicePermedia2) {
        return {.levels = Levels::RoundedDown};
    }
    // But for Permedia 2, specular light goes by the fog unit, which the render word leaves off
    // without fog.
    ChipTraits traits{.brightensGouraud = true, .losesTexturedSpecular = true};
    if (SetsUp(display)) {
        traits.rowShift = 0.5;
        return traits;
    }
    traits.brightensFlat = true;
    if (display.deviceId == DevicePermedia) {
        traits.levels = Levels::RoundedDown;
    } else if (display.deviceId == DeviceMX) {
        traits.levels = Levels::Nearest;
    }
    return traits;
}

} // namespace korv::random
