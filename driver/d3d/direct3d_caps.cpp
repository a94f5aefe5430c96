// The capability records.
#include "driver/d3d/direct3d.h"

namespace {

constexpr DWORD kDescribed = D3DDD_COLORMODEL | D3DDD_DEVCAPS | D3DDD_LINECAPS | D3DDD_TRICAPS |
                             D3DDD_DEVICERENDERBITDEPTH | D3DDD_DEVICEZBUFFERBITDEPTH;
constexpr DWORD kTexturedDevCaps = D3DDEVCAPS_FLOATTLVERTEX | D3DDEVCAPS_SORTINCREASINGZ |
                                   D3DDEVCAPS_SORTEXACT | D3DDEVCAPS_EXECUTESYSTEMMEMORY |
                                   D3DDEVCAPS_TLVERTEXSYSTEMMEMORY | D3DDEVCAPS_TEXTUREVIDEOMEMORY;
constexpr DWORD kSXDevCaps = D3DDEVCAPS_FLOATTLVERTEX | D3DDEVCAPS_SORTINCREASINGZ |
                             D3DDEVCAPS_SORTDECREASINGZ | D3DDEVCAPS_SORTEXACT |
                             D3DDEVCAPS_TEXTUREVIDEOMEMORY;
constexpr DWORD kCull = D3DPMISCCAPS_CULLNONE | D3DPMISCCAPS_CULLCW | D3DPMISCCAPS_CULLCCW;
constexpr DWORD kMasks = D3DPMISCCAPS_MASKPLANES | D3DPMISCCAPS_MASKZ | D3DPMISCCAPS_LINEPATTERNREP;
constexpr DWORD kRaster = D3DPRASTERCAPS_DITHER | D3DPRASTERCAPS_ZTEST | D3DPRASTERCAPS_SUBPIXEL |
                          D3DPRASTERCAPS_FOGVERTEX;
constexpr DWORD kAllCompares = D3DPCMPCAPS_NEVER | D3DPCMPCAPS_LESS | D3DPCMPCAPS_EQUAL |
                               D3DPCMPCAPS_LESSEQUAL | D3DPCMPCAPS_GREATER | D3DPCMPCAPS_NOTEQUAL |
                               D3DPCMPCAPS_GREATEREQUAL | D3DPCMPCAPS_ALWAYS;
constexpr DWORD kGlintSourceBlends =
    D3DPBLENDCAPS_ZERO | D3DPBLENDCAPS_ONE | D3DPBLENDCAPS_SRCALPHA | D3DPBLENDCAPS_INVSRCALPHA |
    D3DPBLENDCAPS_DESTALPHA | D3DPBLENDCAPS_INVDESTALPHA | D3DPBLENDCAPS_DESTCOLOR |
    D3DPBLENDCAPS_INVDESTCOLOR | D3DPBLENDCAPS_SRCALPHASAT;
constexpr DWORD kGlintDestBlends = D3DPBLENDCAPS_ZERO | D3DPBLENDCAPS_ONE | D3DPBLENDCAPS_SRCCOLOR |
                                   D3DPBLENDCAPS_INVSRCCOLOR | D3DPBLENDCAPS_SRCALPHA |
                                   D3DPBLENDCAPS_INVSRCALPHA | D3DPBLENDCAPS_DESTALPHA |
                                   D3DPBLENDCAPS_INVDESTALPHA;
constexpr DWORD kShade = D3DPSHADECAPS_COLORFLATRGB | D3DPSHADECAPS_COLORGOURAUDRGB |
                         D3DPSHADECAPS_SPECULARFLATRGB | D3DPSHADECAPS_SPECULARGOURAUDRGB |
                         D3DPSHADECAPS_ALPHAFLATSTIPPLED | D3DPSHADECAPS_FOGFLAT |
                         D3DPSHADECAPS_FOGGOURAUD;
constexpr DWORD kTexture = D3DPTEXTURECAPS_PERSPECTIVE | D3DPTEXTURECAPS_POW2 |
                           D3DPTEXTURECAPS_ALPHA | D3DPTEXTURECAPS_TRANSPARENCY;
constexpr DWORD kTextureFilters = D3DPTFILTERCAPS_NEAREST | D3DPTFILTERCAPS_LINEAR;
constexpr DWORD kTextureBlends = D3DPTBLENDCAPS_DECAL | D3DPTBLENDCAPS_MODULATE |
                                 D3DPTBLENDCAPS_DECALALPHA | D3DPTBLENDCAPS_MODULATEALPHA |
                                 D3DPTBLENDCAPS_COPY;
constexpr DWORD kTextureAddresses =
    D3DPTADDRESSCAPS_WRAP | D3DPTADDRESSCAPS_MIRROR | D3DPTADDRESSCAPS_CLAMP;
constexpr DWORD kStippleSide = 8;

constexpr D3DPRIMCAPS kPermediaPrimitives = {
    .dwSize = sizeof(D3DPRIMCAPS),
    .dwMiscCaps = kMasks | kCull,
    .dwRasterCaps = kRaster | D3DPRASTERCAPS_PAT | D3DPRASTERCAPS_STIPPLE,
    .dwZCmpCaps = kAllCompares,
    .dwSrcBlendCaps = D3DPBLENDCAPS_ZERO | D3DPBLENDCAPS_ONE | D3DPBLENDCAPS_SRCALPHA,
    .dwDestBlendCaps = D3DPBLENDCAPS_ZERO | D3DPBLENDCAPS_ONE | D3DPBLENDCAPS_INVSRCALPHA,
    .dwAlphaCmpCaps = 0,
    .dwShadeCaps = kShade | D3DPSHADECAPS_ALPHAFLATBLEND,
    .dwTextureCaps = kTexture,
    .dwTextureFilterCaps = kTextureFilters,
    .dwTextureBlendCaps = kTextureBlends,
    .dwTextureAddressCaps = kTextureAddresses,
    .dwStippleWidth = kStippleSide,
    .dwStippleHeight = kStippleSide,
};

constexpr D3DPRIMCAPS kTXPrimitives = {
    .dwSize = sizeof(D3DPRIMCAPS),
    .dwMiscCaps = kMasks | kCull,
    .dwRasterCaps = kRaster | D3DPRASTERCAPS_STIPPLE,
    .dwZCmpCaps = kAllCompares,
    .dwSrcBlendCaps = kGlintSourceBlends,
    .dwDestBlendCaps = kGlintDestBlends,
    .dwAlphaCmpCaps = 0,
    .dwShadeCaps = kShade | D3DPSHADECAPS_ALPHAFLATBLEND | D3DPSHADECAPS_ALPHAGOURAUDBLEND,
    .dwTextureCaps = kTexture,
    .dwTextureFilterCaps = kTextureFilters,
    .dwTextureBlendCaps = kTextureBlends,
    .dwTextureAddressCaps = kTextureAddresses,
    .dwStippleWidth = kStippleSide,
    .dwStippleHeight = kStippleSide,
};

// The shading bits stand one word early, in the alpha compare word, and the shading word holds what
// follows them. The record is published just so.
constexpr D3DPRIMCAPS kSXPrimitives = {
    .dwSize = sizeof(D3DPRIMCAPS),
    .dwMiscCaps = kCull,
    .dwRasterCaps = kRaster,
    .dwZCmpCaps = kAllCompares,
    .dwSrcBlendCaps = kGlintSourceBlends,
    .dwDestBlendCaps = kGlintDestBlends,
    .dwAlphaCmpCaps = kShade,
    .dwShadeCaps = D3DPSHADECAPS_ALPHAFLATBLEND | D3DPSHADECAPS_ALPHAGOURAUDBLEND,
    .dwTextureCaps = 0,
    .dwTextureFilterCaps = 0,
    .dwTextureBlendCaps = 0,
    .dwTextureAddressCaps = 0,
    .dwStippleWidth = kStippleSide,
    .dwStippleHeight = kStippleSide,
};

constexpr D3DDEVICEDESC Device(DWORD devCaps, const D3DPRIMCAPS& primitives, DWORD depthBits) {
    return {
        .dwSize = sizeof(D3DDEVICEDESC),
        .dwFlags = kDescribed,
        .dcmColorModel = D3DCOLOR_RGB,
        .dwDevCaps = devCaps,
        .dtcTransformCaps = {.dwSize = sizeof(D3DTRANSFORMCAPS), .dwCaps = 0},
        .bClipping = 0,
        .dlcLightingCaps = {},
        .dpcLineCaps = primitives,
        .dpcTriCaps = primitives,
        .dwDeviceRenderBitDepth = DDBD_16 | DDBD_32,
        .dwDeviceZBufferBitDepth = depthBits,
        .dwMaxBufferSize = 0,
        .dwMaxVertexCount = 0,
    };
}

} // namespace

constinit D3DDEVICEDESC PermediaCaps = Device(kTexturedDevCaps, kPermediaPrimitives, DDBD_16);
constinit D3DDEVICEDESC TXCaps = Device(kTexturedDevCaps, kTXPrimitives, DDBD_16 | DDBD_32);
constinit D3DDEVICEDESC SXCaps = Device(kSXDevCaps, kSXPrimitives, DDBD_32);
