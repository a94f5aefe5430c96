// Public DirectDraw records, flags and result codes.
#pragma once

#include "driver/platform/win32.h"

constexpr DWORD MAKEFOURCC(char a, char b, char c, char d) {
    return DWORD(BYTE(a)) | DWORD(BYTE(b)) << 8 | DWORD(BYTE(c)) << 16 | DWORD(BYTE(d)) << 24;
}

struct DDRAWI_DDRAWSURFACE_INT;
// What the HAL gets as an interface pointer is the runtime's interface object itself.
using LPDIRECTDRAWSURFACE = DDRAWI_DDRAWSURFACE_INT*;

inline constexpr HRESULT DD_OK = 0;
inline constexpr HRESULT DDERR_CURRENTLYNOTAVAIL = 0x88760028, DDERR_GENERIC = E_FAIL,
                         DDERR_INVALIDCAPS = 0x88760064, DDERR_INVALIDPARAMS = E_INVALIDARG,
                         DDERR_INVALIDPIXELFORMAT = 0x88760091, DDERR_NORASTEROPHW = 0x88760118,
                         DDERR_OUTOFMEMORY = E_OUTOFMEMORY, DDERR_OUTOFVIDEOMEMORY = 0x8876017C,
                         DDERR_SURFACEBUSY = 0x887601AE, DDERR_SURFACELOST = 0x887601C2,
                         DDERR_UNSUPPORTED = E_NOTIMPL, DDERR_VERTICALBLANKINPROGRESS = 0x88760219,
                         DDERR_WASSTILLDRAWING = 0x8876021C, DDERR_VIDEONOTACTIVE = 0x887602B7;

struct DDSCAPS {
    DWORD dwCaps;
};
struct DDSCAPSEX {
    DWORD dwCaps2, dwCaps3;
    union {
        DWORD dwCaps4, dwVolumeDepth;
    };
};
static_assert(sizeof(DDSCAPS) == 4 && sizeof(DDSCAPSEX) == 12);

inline constexpr DWORD DDSCAPS_ALPHA = 0x2, DDSCAPS_BACKBUFFER = 0x4, DDSCAPS_COMPLEX = 0x8,
                       DDSCAPS_FLIP = 0x10, DDSCAPS_FRONTBUFFER = 0x20,
                       DDSCAPS_OFFSCREENPLAIN = 0x40, DDSCAPS_OVERLAY = 0x80,
                       DDSCAPS_PALETTE = 0x100, DDSCAPS_PRIMARYSURFACE = 0x200,
                       DDSCAPS_SYSTEMMEMORY = 0x800, DDSCAPS_TEXTURE = 0x1000,
                       DDSCAPS_3DDEVICE = 0x2000, DDSCAPS_VIDEOMEMORY = 0x4000,
                       DDSCAPS_VISIBLE = 0x8000, DDSCAPS_WRITEONLY = 0x10000,
                       DDSCAPS_ZBUFFER = 0x20000, DDSCAPS_MIPMAP = 0x400000,
                       DDSCAPS_EXECUTEBUFFER = 0x800000, DDSCAPS_ALLOCONLOAD = 0x4000000,
                       DDSCAPS_VIDEOPORT = 0x8000000, DDSCAPS_LOCALVIDMEM = 0x10000000,
                       DDSCAPS_NONLOCALVIDMEM = 0x20000000;

struct DDCOLORKEY {
    DWORD dwColorSpaceLowValue, dwColorSpaceHighValue; // both inclusive
};
static_assert(sizeof(DDCOLORKEY) == 8 && offsetof(DDCOLORKEY, dwColorSpaceHighValue) == 4);

struct DDPIXELFORMAT {
    DWORD dwSize, dwFlags, dwFourCC;
    union {
        DWORD dwRGBBitCount, dwYUVBitCount, dwZBufferBitDepth, dwAlphaBitDepth;
    };
    union {
        DWORD dwRBitMask, dwYBitMask, dwStencilBitDepth;
    };
    union {
        DWORD dwGBitMask, dwUBitMask, dwZBitMask;
    };
    union {
        DWORD dwBBitMask, dwVBitMask, dwStencilBitMask;
    };
    union {
        DWORD dwRGBAlphaBitMask, dwYUVAlphaBitMask, dwRGBZBitMask, dwYUVZBitMask;
    };
};
static_assert(sizeof(DDPIXELFORMAT) == 32 && offsetof(DDPIXELFORMAT, dwFlags) == 4 &&
              offsetof(DDPIXELFORMAT, dwFourCC) == 8 &&
              offsetof(DDPIXELFORMAT, dwRGBBitCount) == 12 &&
              offsetof(DDPIXELFORMAT, dwRBitMask) == 16 &&
              offsetof(DDPIXELFORMAT, dwGBitMask) == 20 &&
              offsetof(DDPIXELFORMAT, dwBBitMask) == 24 &&
              offsetof(DDPIXELFORMAT, dwRGBAlphaBitMask) == 28);

inline constexpr DWORD DDPF_ALPHAPIXELS = 0x1, DDPF_ALPHA = 0x2, DDPF_FOURCC = 0x4,
                       DDPF_PALETTEINDEXED4 = 0x8, DDPF_PALETTEINDEXEDTO8 = 0x10,
                       DDPF_PALETTEINDEXED8 = 0x20, DDPF_RGB = 0x40, DDPF_YUV = 0x200,
                       DDPF_ZBUFFER = 0x400, DDPF_PALETTEINDEXED1 = 0x800,
                       DDPF_PALETTEINDEXED2 = 0x1000;

struct DDSURFACEDESC {
    DWORD dwSize, dwFlags, dwHeight, dwWidth;
    union {
        LONG lPitch;
        DWORD dwLinearSize;
    };
    DWORD dwBackBufferCount;
    union {
        DWORD dwMipMapCount, dwZBufferBitDepth, dwRefreshRate;
    };
    DWORD dwAlphaBitDepth, dwReserved;
    void* lpSurface;
    DDCOLORKEY ddckCKDestOverlay, ddckCKDestBlt, ddckCKSrcOverlay, ddckCKSrcBlt;
    DDPIXELFORMAT ddpfPixelFormat;
    DDSCAPS ddsCaps;
};
static_assert(sizeof(DDSURFACEDESC) == 108 && offsetof(DDSURFACEDESC, dwHeight) == 8 &&
              offsetof(DDSURFACEDESC, dwWidth) == 12 && offsetof(DDSURFACEDESC, lPitch) == 16 &&
              offsetof(DDSURFACEDESC, dwZBufferBitDepth) == 24 &&
              offsetof(DDSURFACEDESC, ddckCKSrcBlt) == 64 &&
              offsetof(DDSURFACEDESC, ddpfPixelFormat) == 72 &&
              offsetof(DDSURFACEDESC, ddsCaps) == 104);

inline constexpr DWORD DDSD_CAPS = 0x1, DDSD_HEIGHT = 0x2, DDSD_WIDTH = 0x4, DDSD_PITCH = 0x8,
                       DDSD_BACKBUFFERCOUNT = 0x20, DDSD_ZBUFFERBITDEPTH = 0x40,
                       DDSD_LPSURFACE = 0x800, DDSD_PIXELFORMAT = 0x1000, DDSD_CKSRCBLT = 0x10000,
                       DDSD_MIPMAPCOUNT = 0x20000;

struct DDBLTFX {
    DWORD dwSize, dwDDFX, dwROP, dwDDROP, dwRotationAngle;
    DWORD dwZBufferOpCode, dwZBufferLow, dwZBufferHigh, dwZBufferBaseDest, dwZDestConstBitDepth;
    union {
        DWORD dwZDestConst;
        LPDIRECTDRAWSURFACE lpDDSZBufferDest;
    };
    DWORD dwZSrcConstBitDepth;
    union {
        DWORD dwZSrcConst;
        LPDIRECTDRAWSURFACE lpDDSZBufferSrc;
    };
    DWORD dwAlphaEdgeBlendBitDepth, dwAlphaEdgeBlend, dwReserved, dwAlphaDestConstBitDepth;
    union {
        DWORD dwAlphaDestConst;
        LPDIRECTDRAWSURFACE lpDDSAlphaDest;
    };
    DWORD dwAlphaSrcConstBitDepth;
    union {
        DWORD dwAlphaSrcConst;
        LPDIRECTDRAWSURFACE lpDDSAlphaSrc;
    };
    union {
        DWORD dwFillColor, dwFillDepth, dwFillPixel;
        LPDIRECTDRAWSURFACE lpDDSPattern;
    };
    DDCOLORKEY ddckDestColorkey, ddckSrcColorkey;
};
static_assert(sizeof(DDBLTFX) == 100 && offsetof(DDBLTFX, dwDDFX) == 4 &&
              offsetof(DDBLTFX, dwROP) == 8 && offsetof(DDBLTFX, dwFillColor) == 80 &&
              offsetof(DDBLTFX, ddckDestColorkey) == 84 &&
              offsetof(DDBLTFX, ddckSrcColorkey) == 92);

struct DDOVERLAYFX {
    DWORD dwSize, dwAlphaEdgeBlendBitDepth, dwAlphaEdgeBlend, dwReserved, dwAlphaDestConstBitDepth;
    union {
        DWORD dwAlphaDestConst;
        LPDIRECTDRAWSURFACE lpDDSAlphaDest;
    };
    DWORD dwAlphaSrcConstBitDepth;
    union {
        DWORD dwAlphaSrcConst;
        LPDIRECTDRAWSURFACE lpDDSAlphaSrc;
    };
    DDCOLORKEY dckDestColorkey, dckSrcColorkey;
    DWORD dwDDFX, dwFlags;
};
static_assert(sizeof(DDOVERLAYFX) == 56);

inline constexpr DWORD DDBLT_ASYNC = 0x200, DDBLT_COLORFILL = 0x400, DDBLT_DDFX = 0x800,
                       DDBLT_DDROPS = 0x1000, DDBLT_KEYDEST = 0x2000,
                       DDBLT_KEYDESTOVERRIDE = 0x4000, DDBLT_KEYSRC = 0x8000,
                       DDBLT_KEYSRCOVERRIDE = 0x10000, DDBLT_ROP = 0x20000,
                       DDBLT_ROTATIONANGLE = 0x40000, DDBLT_WAIT = 0x1000000,
                       DDBLT_DEPTHFILL = 0x2000000;
inline constexpr DWORD DDBLTFX_ARITHSTRETCHY = 0x1, DDBLTFX_MIRRORLEFTRIGHT = 0x2,
                       DDBLTFX_MIRRORUPDOWN = 0x4, DDBLTFX_NOTEARING = 0x8;

inline constexpr DWORD DDCAPS_3D = 0x1, DDCAPS_BLT = 0x40, DDCAPS_BLTQUEUE = 0x80,
                       DDCAPS_BLTFOURCC = 0x100, DDCAPS_BLTSTRETCH = 0x200, DDCAPS_GDI = 0x400,
                       DDCAPS_OVERLAY = 0x800, DDCAPS_PALETTE = 0x8000,
                       DDCAPS_READSCANLINE = 0x20000, DDCAPS_COLORKEY = 0x400000,
                       DDCAPS_ALPHA = 0x800000, DDCAPS_COLORKEYHWASSIST = 0x1000000,
                       DDCAPS_BLTCOLORFILL = 0x4000000, DDCAPS_BLTDEPTHFILL = 0x10000000,
                       DDCAPS_CANCLIP = 0x20000000, DDCAPS_CANBLTSYSMEM = 0x80000000;
inline constexpr DWORD DDCAPS2_VIDEOPORT = 0x4, DDCAPS2_NONLOCALVIDMEM = 0x200;
inline constexpr DWORD DDCKEYCAPS_DESTBLT = 0x1, DDCKEYCAPS_SRCBLT = 0x200,
                       DDCKEYCAPS_SRCBLTCLRSPACE = 0x400, DDCKEYCAPS_SRCBLTCLRSPACEYUV = 0x800,
                       DDCKEYCAPS_SRCBLTYUV = 0x1000;
inline constexpr DWORD DDFXCAPS_BLTARITHSTRETCHY = 0x20, DDFXCAPS_BLTMIRRORLEFTRIGHT = 0x40,
                       DDFXCAPS_BLTMIRRORUPDOWN = 0x80, DDFXCAPS_BLTSHRINKX = 0x400,
                       DDFXCAPS_BLTSHRINKXN = 0x800, DDFXCAPS_BLTSHRINKY = 0x1000,
                       DDFXCAPS_BLTSHRINKYN = 0x2000, DDFXCAPS_BLTSTRETCHX = 0x4000,
                       DDFXCAPS_BLTSTRETCHXN = 0x8000, DDFXCAPS_BLTSTRETCHY = 0x10000,
                       DDFXCAPS_BLTSTRETCHYN = 0x20000;
inline constexpr DWORD DDBD_1 = 0x4000, DDBD_2 = 0x2000, DDBD_4 = 0x1000, DDBD_8 = 0x800,
                       DDBD_16 = 0x400, DDBD_24 = 0x200, DDBD_32 = 0x100;

inline constexpr DWORD DDFLIP_WAIT = 0x1;
inline constexpr DWORD DDLOCK_WAIT = 0x1, DDLOCK_READONLY = 0x10, DDLOCK_WRITEONLY = 0x20;
inline constexpr DWORD DDGBS_CANBLT = 0x1, DDGBS_ISBLTDONE = 0x2;
inline constexpr DWORD DDGFS_CANFLIP = 0x1, DDGFS_ISFLIPDONE = 0x2;
// DDWAITVB_I_TESTVB asks for the state alone; only the runtime itself passes it.
inline constexpr DWORD DDWAITVB_BLOCKBEGIN = 0x1, DDWAITVB_BLOCKBEGINEVENT = 0x2,
                       DDWAITVB_BLOCKEND = 0x4, DDWAITVB_I_TESTVB = 0x80000006;
