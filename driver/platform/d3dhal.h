// Direct3D HAL records, render states, capability bits and execute-buffer formats.
#pragma once

#include "driver/platform/ddhal.h"

using D3DVALUE = float;
using D3DCOLOR = uint32_t; // alpha, red, green, blue, from the top byte down
using D3DCOLORMODEL = DWORD;
using D3DRENDERSTATETYPE = DWORD;

struct D3DRECT {
    LONG x1, y1, x2, y2; // x2 and y2 are exclusive
};
static_assert(sizeof(D3DRECT) == 16 && offsetof(D3DRECT, x2) == 8);

// Execute buffers.

struct D3DINSTRUCTION {
    BYTE bOpcode, bSize; // bSize: bytes of a record
    WORD wCount;         // records that follow
};
static_assert(sizeof(D3DINSTRUCTION) == 4 && offsetof(D3DINSTRUCTION, bSize) == 1 &&
              offsetof(D3DINSTRUCTION, wCount) == 2);

inline constexpr BYTE D3DOP_POINT = 1, D3DOP_LINE = 2, D3DOP_TRIANGLE = 3, D3DOP_MATRIXLOAD = 4,
                      D3DOP_MATRIXMULTIPLY = 5, D3DOP_STATETRANSFORM = 6, D3DOP_STATELIGHT = 7,
                      D3DOP_STATERENDER = 8, D3DOP_PROCESSVERTICES = 9, D3DOP_TEXTURELOAD = 10,
                      D3DOP_EXIT = 11, D3DOP_BRANCHFORWARD = 12, D3DOP_SPAN = 13,
                      D3DOP_SETSTATUS = 14;

struct D3DTLVERTEX {
    D3DVALUE sx, sy, sz, rhw;
    D3DCOLOR color, specular;
    D3DVALUE tu, tv;
};
static_assert(sizeof(D3DTLVERTEX) == 32 && offsetof(D3DTLVERTEX, rhw) == 12 &&
              offsetof(D3DTLVERTEX, color) == 16 && offsetof(D3DTLVERTEX, specular) == 20 &&
              offsetof(D3DTLVERTEX, tu) == 24 && offsetof(D3DTLVERTEX, tv) == 28);

struct D3DTRIANGLE {
    union {
        WORD v1, wV1;
    };
    union {
        WORD v2, wV2;
    };
    union {
        WORD v3, wV3;
    };
    WORD wFlags;
};
static_assert(sizeof(D3DTRIANGLE) == 8 && offsetof(D3DTRIANGLE, v2) == 2 &&
              offsetof(D3DTRIANGLE, v3) == 4 && offsetof(D3DTRIANGLE, wFlags) == 6);

// STARTFLAT with n from 1 to 29 in the low five bits, see D3DTRIFLAG_STARTFLAT.
inline constexpr WORD D3DTRIFLAG_START = 0, D3DTRIFLAG_ODD = 0x1E, D3DTRIFLAG_EVEN = 0x1F,
                      D3DTRIFLAG_EDGEENABLE1 = 0x100, D3DTRIFLAG_EDGEENABLE2 = 0x200,
                      D3DTRIFLAG_EDGEENABLE3 = 0x400, D3DTRIFLAG_EDGEENABLETRIANGLE = 0x700;

/// Flag value of a triangle whose n followers may be skipped when it is culled.
constexpr WORD D3DTRIFLAG_STARTFLAT(unsigned n) {
    return WORD(n);
}

struct D3DLINE {
    union {
        WORD v1, wV1;
    };
    union {
        WORD v2, wV2;
    };
};
static_assert(sizeof(D3DLINE) == 4 && offsetof(D3DLINE, v2) == 2);

struct D3DPOINT {
    WORD wCount, wFirst;
};
static_assert(sizeof(D3DPOINT) == 4 && offsetof(D3DPOINT, wFirst) == 2);

struct D3DSTATE {
    D3DRENDERSTATETYPE drstRenderStateType;
    union {
        DWORD dwArg[1];
        D3DVALUE dvArg[1];
    };
};
static_assert(sizeof(D3DSTATE) == 8 && offsetof(D3DSTATE, dwArg) == 4);

inline constexpr DWORD D3DSTATUS_ZNOTVISIBLE = 0x01000000;

// Render states and their values.

inline constexpr D3DRENDERSTATETYPE
    D3DRENDERSTATE_TEXTUREHANDLE = 1,
    D3DRENDERSTATE_ANTIALIAS = 2, D3DRENDERSTATE_TEXTUREADDRESS = 3,
    D3DRENDERSTATE_TEXTUREPERSPECTIVE = 4, D3DRENDERSTATE_WRAPU = 5, D3DRENDERSTATE_WRAPV = 6,
    D3DRENDERSTATE_ZENABLE = 7, D3DRENDERSTATE_FILLMODE = 8, D3DRENDERSTATE_SHADEMODE = 9,
    D3DRENDERSTATE_LINEPATTERN = 10, D3DRENDERSTATE_MONOENABLE = 11, D3DRENDERSTATE_ROP2 = 12,
    D3DRENDERSTATE_PLANEMASK = 13, D3DRENDERSTATE_ZWRITEENABLE = 14,
    D3DRENDERSTATE_ALPHATESTENABLE = 15, D3DRENDERSTATE_LASTPIXEL = 16,
    D3DRENDERSTATE_TEXTUREMAG = 17, D3DRENDERSTATE_TEXTUREMIN = 18, D3DRENDERSTATE_SRCBLEND = 19,
    D3DRENDERSTATE_DESTBLEND = 20, D3DRENDERSTATE_TEXTUREMAPBLEND = 21,
    D3DRENDERSTATE_CULLMODE = 22, D3DRENDERSTATE_ZFUNC = 23, D3DRENDERSTATE_ALPHAREF = 24,
    D3DRENDERSTATE_ALPHAFUNC = 25, D3DRENDERSTATE_DITHERENABLE = 26,
    D3DRENDERSTATE_ALPHABLENDENABLE = 27, D3DRENDERSTATE_BLENDENABLE = 27,
    D3DRENDERSTATE_FOGENABLE = 28, D3DRENDERSTATE_SPECULARENABLE = 29, D3DRENDERSTATE_ZVISIBLE = 30,
    D3DRENDERSTATE_SUBPIXEL = 31, D3DRENDERSTATE_SUBPIXELX = 32, D3DRENDERSTATE_STIPPLEDALPHA = 33,
    D3DRENDERSTATE_FOGCOLOR = 34, D3DRENDERSTATE_FOGTABLEMODE = 35,
    D3DRENDERSTATE_FOGTABLESTART = 36, D3DRENDERSTATE_FOGTABLEEND = 37,
    D3DRENDERSTATE_FOGTABLEDENSITY = 38, D3DRENDERSTATE_STIPPLEENABLE = 39,
    D3DRENDERSTATE_EDGEANTIALIAS = 40, D3DRENDERSTATE_COLORKEYENABLE = 41,
    D3DRENDERSTATE_BORDERCOLOR = 43, D3DRENDERSTATE_TEXTUREADDRESSU = 44,
    D3DRENDERSTATE_TEXTUREADDRESSV = 45, D3DRENDERSTATE_MIPMAPLODBIAS = 46,
    D3DRENDERSTATE_ZBIAS = 47, D3DRENDERSTATE_RANGEFOGENABLE = 48, D3DRENDERSTATE_ANISOTROPY = 49,
    D3DRENDERSTATE_FLUSHBATCH = 50, D3DRENDERSTATE_STIPPLEPATTERN00 = 64,
    D3DRENDERSTATE_STIPPLEPATTERN01 = 65, D3DRENDERSTATE_STIPPLEPATTERN02 = 66,
    D3DRENDERSTATE_STIPPLEPATTERN03 = 67, D3DRENDERSTATE_STIPPLEPATTERN04 = 68,
    D3DRENDERSTATE_STIPPLEPATTERN05 = 69, D3DRENDERSTATE_STIPPLEPATTERN06 = 70,
    D3DRENDERSTATE_STIPPLEPATTERN07 = 71;

/// State number of stipple row `row`, 0 to 31.
constexpr D3DRENDERSTATETYPE D3DRENDERSTATE_STIPPLEPATTERN(unsigned row) {
    return D3DRENDERSTATE_STIPPLEPATTERN00 + row;
}

inline constexpr DWORD D3DSTATE_OVERRIDE_BIAS = 256;

/// State number by which state `type` is locked (value not 0) or released (value 0).
constexpr D3DRENDERSTATETYPE D3DRENDERSTATE_OVERRIDE(D3DRENDERSTATETYPE type) {
    return type + D3DSTATE_OVERRIDE_BIAS;
}

inline constexpr DWORD D3DFILL_POINT = 1, D3DFILL_WIREFRAME = 2, D3DFILL_SOLID = 3;
inline constexpr DWORD D3DSHADE_FLAT = 1, D3DSHADE_GOURAUD = 2, D3DSHADE_PHONG = 3;
inline constexpr DWORD D3DCULL_NONE = 1, D3DCULL_CW = 2, D3DCULL_CCW = 3;
inline constexpr DWORD D3DCMP_NEVER = 1, D3DCMP_LESS = 2, D3DCMP_EQUAL = 3, D3DCMP_LESSEQUAL = 4,
                       D3DCMP_GREATER = 5, D3DCMP_NOTEQUAL = 6, D3DCMP_GREATEREQUAL = 7,
                       D3DCMP_ALWAYS = 8;
inline constexpr DWORD D3DBLEND_ZERO = 1, D3DBLEND_ONE = 2, D3DBLEND_SRCCOLOR = 3,
                       D3DBLEND_INVSRCCOLOR = 4, D3DBLEND_SRCALPHA = 5, D3DBLEND_INVSRCALPHA = 6,
                       D3DBLEND_DESTALPHA = 7, D3DBLEND_INVDESTALPHA = 8, D3DBLEND_DESTCOLOR = 9,
                       D3DBLEND_INVDESTCOLOR = 10, D3DBLEND_SRCALPHASAT = 11,
                       D3DBLEND_BOTHSRCALPHA = 12, D3DBLEND_BOTHINVSRCALPHA = 13;
inline constexpr DWORD D3DTBLEND_DECAL = 1, D3DTBLEND_MODULATE = 2, D3DTBLEND_DECALALPHA = 3,
                       D3DTBLEND_MODULATEALPHA = 4, D3DTBLEND_DECALMASK = 5,
                       D3DTBLEND_MODULATEMASK = 6, D3DTBLEND_COPY = 7, D3DTBLEND_ADD = 8;
inline constexpr DWORD D3DFILTER_NEAREST = 1, D3DFILTER_LINEAR = 2, D3DFILTER_MIPNEAREST = 3,
                       D3DFILTER_MIPLINEAR = 4, D3DFILTER_LINEARMIPNEAREST = 5,
                       D3DFILTER_LINEARMIPLINEAR = 6;
inline constexpr DWORD D3DTADDRESS_WRAP = 1, D3DTADDRESS_MIRROR = 2, D3DTADDRESS_CLAMP = 3,
                       D3DTADDRESS_BORDER = 4;
inline constexpr DWORD D3DFOG_NONE = 0, D3DFOG_EXP = 1, D3DFOG_EXP2 = 2, D3DFOG_LINEAR = 3;
inline constexpr D3DCOLORMODEL D3DCOLOR_MONO = 1, D3DCOLOR_RGB = 2;
inline constexpr DWORD D3DCLEAR_TARGET = 0x1, D3DCLEAR_ZBUFFER = 0x2;

// Capabilities.

struct D3DTRANSFORMCAPS {
    DWORD dwSize, dwCaps;
};
static_assert(sizeof(D3DTRANSFORMCAPS) == 8);

struct D3DLIGHTINGCAPS {
    DWORD dwSize, dwCaps, dwLightingModel, dwNumLights;
};
static_assert(sizeof(D3DLIGHTINGCAPS) == 16);

struct D3DPRIMCAPS {
    DWORD dwSize, dwMiscCaps, dwRasterCaps, dwZCmpCaps, dwSrcBlendCaps, dwDestBlendCaps,
        dwAlphaCmpCaps, dwShadeCaps, dwTextureCaps, dwTextureFilterCaps, dwTextureBlendCaps,
        dwTextureAddressCaps, dwStippleWidth, dwStippleHeight;
};
static_assert(sizeof(D3DPRIMCAPS) == 56 && offsetof(D3DPRIMCAPS, dwMiscCaps) == 4 &&
              offsetof(D3DPRIMCAPS, dwAlphaCmpCaps) == 24 &&
              offsetof(D3DPRIMCAPS, dwShadeCaps) == 28 &&
              offsetof(D3DPRIMCAPS, dwTextureFilterCaps) == 36 &&
              offsetof(D3DPRIMCAPS, dwStippleHeight) == 52);

// First version of the record, as the global driver data holds it.
struct D3DDEVICEDESC {
    DWORD dwSize, dwFlags;
    D3DCOLORMODEL dcmColorModel;
    DWORD dwDevCaps;
    D3DTRANSFORMCAPS dtcTransformCaps;
    BOOL bClipping;
    D3DLIGHTINGCAPS dlcLightingCaps;
    D3DPRIMCAPS dpcLineCaps, dpcTriCaps;
    DWORD dwDeviceRenderBitDepth, dwDeviceZBufferBitDepth, dwMaxBufferSize, dwMaxVertexCount;
};
static_assert(sizeof(D3DDEVICEDESC) == 172 && offsetof(D3DDEVICEDESC, dcmColorModel) == 8 &&
              offsetof(D3DDEVICEDESC, dwDevCaps) == 12 &&
              offsetof(D3DDEVICEDESC, dtcTransformCaps) == 16 &&
              offsetof(D3DDEVICEDESC, bClipping) == 24 &&
              offsetof(D3DDEVICEDESC, dlcLightingCaps) == 28 &&
              offsetof(D3DDEVICEDESC, dpcLineCaps) == 44 &&
              offsetof(D3DDEVICEDESC, dpcTriCaps) == 100 &&
              offsetof(D3DDEVICEDESC, dwDeviceRenderBitDepth) == 156 &&
              offsetof(D3DDEVICEDESC, dwDeviceZBufferBitDepth) == 160);

struct D3DHAL_GLOBALDRIVERDATA {
    DWORD dwSize;
    D3DDEVICEDESC hwCaps;
    DWORD dwNumVertices, dwNumClipVertices, dwNumTextureFormats;
    DDSURFACEDESC* lpTextureFormats;
};
static_assert(sizeof(D3DHAL_GLOBALDRIVERDATA) == 192 &&
              offsetof(D3DHAL_GLOBALDRIVERDATA, hwCaps) == 4 &&
              offsetof(D3DHAL_GLOBALDRIVERDATA, dwNumVertices) == 176 &&
              offsetof(D3DHAL_GLOBALDRIVERDATA, dwNumTextureFormats) == 184 &&
              offsetof(D3DHAL_GLOBALDRIVERDATA, lpTextureFormats) == 188);

inline constexpr DWORD D3DDD_COLORMODEL = 0x1, D3DDD_DEVCAPS = 0x2, D3DDD_TRANSFORMCAPS = 0x4,
                       D3DDD_LIGHTINGCAPS = 0x8, D3DDD_BCLIPPING = 0x10, D3DDD_LINECAPS = 0x20,
                       D3DDD_TRICAPS = 0x40, D3DDD_DEVICERENDERBITDEPTH = 0x80,
                       D3DDD_DEVICEZBUFFERBITDEPTH = 0x100, D3DDD_MAXBUFFERSIZE = 0x200,
                       D3DDD_MAXVERTEXCOUNT = 0x400;
inline constexpr DWORD D3DDEVCAPS_FLOATTLVERTEX = 0x1, D3DDEVCAPS_SORTINCREASINGZ = 0x2,
                       D3DDEVCAPS_SORTDECREASINGZ = 0x4, D3DDEVCAPS_SORTEXACT = 0x8,
                       D3DDEVCAPS_EXECUTESYSTEMMEMORY = 0x10, D3DDEVCAPS_EXECUTEVIDEOMEMORY = 0x20,
                       D3DDEVCAPS_TLVERTEXSYSTEMMEMORY = 0x40,
                       D3DDEVCAPS_TLVERTEXVIDEOMEMORY = 0x80,
                       D3DDEVCAPS_TEXTURESYSTEMMEMORY = 0x100,
                       D3DDEVCAPS_TEXTUREVIDEOMEMORY = 0x200, D3DDEVCAPS_DRAWPRIMTLVERTEX = 0x400,
                       D3DDEVCAPS_CANRENDERAFTERFLIP = 0x800,
                       D3DDEVCAPS_TEXTURENONLOCALVIDMEM = 0x1000;
inline constexpr DWORD D3DPMISCCAPS_MASKPLANES = 0x1, D3DPMISCCAPS_MASKZ = 0x2,
                       D3DPMISCCAPS_LINEPATTERNREP = 0x4, D3DPMISCCAPS_CONFORMANT = 0x8,
                       D3DPMISCCAPS_CULLNONE = 0x10, D3DPMISCCAPS_CULLCW = 0x20,
                       D3DPMISCCAPS_CULLCCW = 0x40;
inline constexpr DWORD D3DPRASTERCAPS_DITHER = 0x1, D3DPRASTERCAPS_ROP2 = 0x2,
                       D3DPRASTERCAPS_XOR = 0x4, D3DPRASTERCAPS_PAT = 0x8,
                       D3DPRASTERCAPS_ZTEST = 0x10, D3DPRASTERCAPS_SUBPIXEL = 0x20,
                       D3DPRASTERCAPS_SUBPIXELX = 0x40, D3DPRASTERCAPS_FOGVERTEX = 0x80,
                       D3DPRASTERCAPS_FOGTABLE = 0x100, D3DPRASTERCAPS_STIPPLE = 0x200;
inline constexpr DWORD D3DPCMPCAPS_NEVER = 0x1, D3DPCMPCAPS_LESS = 0x2, D3DPCMPCAPS_EQUAL = 0x4,
                       D3DPCMPCAPS_LESSEQUAL = 0x8, D3DPCMPCAPS_GREATER = 0x10,
                       D3DPCMPCAPS_NOTEQUAL = 0x20, D3DPCMPCAPS_GREATEREQUAL = 0x40,
                       D3DPCMPCAPS_ALWAYS = 0x80;
inline constexpr DWORD D3DPBLENDCAPS_ZERO = 0x1, D3DPBLENDCAPS_ONE = 0x2,
                       D3DPBLENDCAPS_SRCCOLOR = 0x4, D3DPBLENDCAPS_INVSRCCOLOR = 0x8,
                       D3DPBLENDCAPS_SRCALPHA = 0x10, D3DPBLENDCAPS_INVSRCALPHA = 0x20,
                       D3DPBLENDCAPS_DESTALPHA = 0x40, D3DPBLENDCAPS_INVDESTALPHA = 0x80,
                       D3DPBLENDCAPS_DESTCOLOR = 0x100, D3DPBLENDCAPS_INVDESTCOLOR = 0x200,
                       D3DPBLENDCAPS_SRCALPHASAT = 0x400, D3DPBLENDCAPS_BOTHSRCALPHA = 0x800,
                       D3DPBLENDCAPS_BOTHINVSRCALPHA = 0x1000;
inline constexpr DWORD D3DPSHADECAPS_COLORFLATMONO = 0x1, D3DPSHADECAPS_COLORFLATRGB = 0x2,
                       D3DPSHADECAPS_COLORGOURAUDMONO = 0x4, D3DPSHADECAPS_COLORGOURAUDRGB = 0x8,
                       D3DPSHADECAPS_COLORPHONGMONO = 0x10, D3DPSHADECAPS_COLORPHONGRGB = 0x20,
                       D3DPSHADECAPS_SPECULARFLATMONO = 0x40, D3DPSHADECAPS_SPECULARFLATRGB = 0x80,
                       D3DPSHADECAPS_SPECULARGOURAUDMONO = 0x100,
                       D3DPSHADECAPS_SPECULARGOURAUDRGB = 0x200,
                       D3DPSHADECAPS_SPECULARPHONGMONO = 0x400,
                       D3DPSHADECAPS_SPECULARPHONGRGB = 0x800,
                       D3DPSHADECAPS_ALPHAFLATBLEND = 0x1000,
                       D3DPSHADECAPS_ALPHAFLATSTIPPLED = 0x2000,
                       D3DPSHADECAPS_ALPHAGOURAUDBLEND = 0x4000,
                       D3DPSHADECAPS_ALPHAGOURAUDSTIPPLED = 0x8000,
                       D3DPSHADECAPS_ALPHAPHONGBLEND = 0x10000,
                       D3DPSHADECAPS_ALPHAPHONGSTIPPLED = 0x20000, D3DPSHADECAPS_FOGFLAT = 0x40000,
                       D3DPSHADECAPS_FOGGOURAUD = 0x80000, D3DPSHADECAPS_FOGPHONG = 0x100000;
inline constexpr DWORD D3DPTEXTURECAPS_PERSPECTIVE = 0x1, D3DPTEXTURECAPS_POW2 = 0x2,
                       D3DPTEXTURECAPS_ALPHA = 0x4, D3DPTEXTURECAPS_TRANSPARENCY = 0x8,
                       D3DPTEXTURECAPS_BORDER = 0x10, D3DPTEXTURECAPS_SQUAREONLY = 0x20;
inline constexpr DWORD D3DPTFILTERCAPS_NEAREST = 0x1, D3DPTFILTERCAPS_LINEAR = 0x2,
                       D3DPTFILTERCAPS_MIPNEAREST = 0x4, D3DPTFILTERCAPS_MIPLINEAR = 0x8,
                       D3DPTFILTERCAPS_LINEARMIPNEAREST = 0x10,
                       D3DPTFILTERCAPS_LINEARMIPLINEAR = 0x20;
inline constexpr DWORD D3DPTBLENDCAPS_DECAL = 0x1, D3DPTBLENDCAPS_MODULATE = 0x2,
                       D3DPTBLENDCAPS_DECALALPHA = 0x4, D3DPTBLENDCAPS_MODULATEALPHA = 0x8,
                       D3DPTBLENDCAPS_DECALMASK = 0x10, D3DPTBLENDCAPS_MODULATEMASK = 0x20,
                       D3DPTBLENDCAPS_COPY = 0x40, D3DPTBLENDCAPS_ADD = 0x80;
inline constexpr DWORD D3DPTADDRESSCAPS_WRAP = 0x1, D3DPTADDRESSCAPS_MIRROR = 0x2,
                       D3DPTADDRESSCAPS_CLAMP = 0x4, D3DPTADDRESSCAPS_BORDER = 0x8;

// Callbacks.

inline constexpr HRESULT D3DHAL_CONTEXT_BAD = 0x200, D3DHAL_OUTOFCONTEXTS = 0x201;

struct D3DHAL_CONTEXTCREATEDATA {
    union {
        DDRAWI_DIRECTDRAW_GBL* lpDDGbl;
        DDRAWI_DIRECTDRAW_LCL* lpDDLcl;
    };
    union {
        LPDIRECTDRAWSURFACE lpDDS;
        DDRAWI_DDRAWSURFACE_LCL* lpDDSLcl;
    };
    union {
        LPDIRECTDRAWSURFACE lpDDSZ; // null without a Z buffer
        DDRAWI_DDRAWSURFACE_LCL* lpDDSZLcl;
    };
    union {
        DWORD dwPID;
        ULONG_PTR dwrstates;
    };
    ULONG_PTR dwhContext;
    HRESULT ddrval;
};
static_assert(sizeof(D3DHAL_CONTEXTCREATEDATA) == 24 &&
              offsetof(D3DHAL_CONTEXTCREATEDATA, lpDDS) == 4 &&
              offsetof(D3DHAL_CONTEXTCREATEDATA, lpDDSZ) == 8 &&
              offsetof(D3DHAL_CONTEXTCREATEDATA, dwPID) == 12 &&
              offsetof(D3DHAL_CONTEXTCREATEDATA, dwhContext) == 16 &&
              offsetof(D3DHAL_CONTEXTCREATEDATA, ddrval) == 20);

struct D3DHAL_CONTEXTDESTROYDATA {
    ULONG_PTR dwhContext;
    HRESULT ddrval;
};
static_assert(sizeof(D3DHAL_CONTEXTDESTROYDATA) == 8);

struct D3DHAL_CONTEXTDESTROYALLDATA {
    DWORD dwPID;
    HRESULT ddrval;
};
static_assert(sizeof(D3DHAL_CONTEXTDESTROYALLDATA) == 8);

struct D3DHAL_SCENECAPTUREDATA {
    ULONG_PTR dwhContext;
    DWORD dwFlag;
    HRESULT ddrval;
};
static_assert(sizeof(D3DHAL_SCENECAPTUREDATA) == 12 &&
              offsetof(D3DHAL_SCENECAPTUREDATA, dwFlag) == 4);

inline constexpr DWORD D3DHAL_SCENE_CAPTURE_START = 0, D3DHAL_SCENE_CAPTURE_END = 1;

struct D3DHAL_RENDERSTATEDATA {
    ULONG_PTR dwhContext;
    DWORD dwOffset, dwCount; // bytes into lpExeBuf; states
    union {
        LPDIRECTDRAWSURFACE lpExeBuf;
        DDRAWI_DDRAWSURFACE_LCL* lpExeBufLcl;
    };
    HRESULT ddrval;
};
static_assert(sizeof(D3DHAL_RENDERSTATEDATA) == 20 &&
              offsetof(D3DHAL_RENDERSTATEDATA, dwCount) == 8 &&
              offsetof(D3DHAL_RENDERSTATEDATA, lpExeBuf) == 12 &&
              offsetof(D3DHAL_RENDERSTATEDATA, ddrval) == 16);

struct D3DHAL_RENDERPRIMITIVEDATA {
    ULONG_PTR dwhContext;
    DWORD dwOffset; // bytes into lpExeBuf
    DWORD dwStatus;
    union {
        LPDIRECTDRAWSURFACE lpExeBuf;
        DDRAWI_DDRAWSURFACE_LCL* lpExeBufLcl;
    };
    DWORD dwTLOffset; // bytes into lpTLBuf
    union {
        LPDIRECTDRAWSURFACE lpTLBuf;
        DDRAWI_DDRAWSURFACE_LCL* lpTLBufLcl;
    };
    D3DINSTRUCTION diInstruction;
    HRESULT ddrval;
};
static_assert(sizeof(D3DHAL_RENDERPRIMITIVEDATA) == 32 &&
              offsetof(D3DHAL_RENDERPRIMITIVEDATA, dwOffset) == 4 &&
              offsetof(D3DHAL_RENDERPRIMITIVEDATA, dwStatus) == 8 &&
              offsetof(D3DHAL_RENDERPRIMITIVEDATA, lpExeBuf) == 12 &&
              offsetof(D3DHAL_RENDERPRIMITIVEDATA, dwTLOffset) == 16 &&
              offsetof(D3DHAL_RENDERPRIMITIVEDATA, lpTLBuf) == 20 &&
              offsetof(D3DHAL_RENDERPRIMITIVEDATA, diInstruction) == 24 &&
              offsetof(D3DHAL_RENDERPRIMITIVEDATA, ddrval) == 28);

struct D3DHAL_TEXTURECREATEDATA {
    ULONG_PTR dwhContext;
    union {
        LPDIRECTDRAWSURFACE lpDDS;
        DDRAWI_DDRAWSURFACE_LCL* lpDDSLcl;
    };
    ULONG_PTR dwHandle;
    HRESULT ddrval;
};
static_assert(sizeof(D3DHAL_TEXTURECREATEDATA) == 16 &&
              offsetof(D3DHAL_TEXTURECREATEDATA, lpDDS) == 4 &&
              offsetof(D3DHAL_TEXTURECREATEDATA, dwHandle) == 8 &&
              offsetof(D3DHAL_TEXTURECREATEDATA, ddrval) == 12);

struct D3DHAL_TEXTUREDESTROYDATA {
    ULONG_PTR dwhContext, dwHandle;
    HRESULT ddrval;
};
static_assert(sizeof(D3DHAL_TEXTUREDESTROYDATA) == 12 &&
              offsetof(D3DHAL_TEXTUREDESTROYDATA, dwHandle) == 4);

struct D3DHAL_TEXTURESWAPDATA {
    ULONG_PTR dwhContext, dwHandle1, dwHandle2;
    HRESULT ddrval;
};
static_assert(sizeof(D3DHAL_TEXTURESWAPDATA) == 16 &&
              offsetof(D3DHAL_TEXTURESWAPDATA, dwHandle1) == 4 &&
              offsetof(D3DHAL_TEXTURESWAPDATA, dwHandle2) == 8);

struct D3DHAL_TEXTUREGETSURFDATA {
    ULONG_PTR dwhContext;
    ULONG_PTR lpDDS; // address of the surface object, out
    ULONG_PTR dwHandle;
    HRESULT ddrval;
};
static_assert(sizeof(D3DHAL_TEXTUREGETSURFDATA) == 16 &&
              offsetof(D3DHAL_TEXTUREGETSURFDATA, lpDDS) == 4 &&
              offsetof(D3DHAL_TEXTUREGETSURFDATA, dwHandle) == 8);

struct D3DHAL_GETSTATEDATA;

struct D3DHAL_SETRENDERTARGETDATA {
    ULONG_PTR dwhContext;
    union {
        LPDIRECTDRAWSURFACE lpDDS;
        DDRAWI_DDRAWSURFACE_LCL* lpDDSLcl;
    };
    union {
        LPDIRECTDRAWSURFACE lpDDSZ; // null without a Z buffer
        DDRAWI_DDRAWSURFACE_LCL* lpDDSZLcl;
    };
    HRESULT ddrval;
};
static_assert(sizeof(D3DHAL_SETRENDERTARGETDATA) == 16 &&
              offsetof(D3DHAL_SETRENDERTARGETDATA, lpDDS) == 4 &&
              offsetof(D3DHAL_SETRENDERTARGETDATA, lpDDSZ) == 8 &&
              offsetof(D3DHAL_SETRENDERTARGETDATA, ddrval) == 12);

struct D3DHAL_CLEARDATA {
    ULONG_PTR dwhContext;
    DWORD dwFlags, dwFillColor, dwFillDepth;
    D3DRECT* lpRects;
    DWORD dwNumRects;
    HRESULT ddrval;
};
static_assert(sizeof(D3DHAL_CLEARDATA) == 28 && offsetof(D3DHAL_CLEARDATA, dwFillColor) == 8 &&
              offsetof(D3DHAL_CLEARDATA, dwFillDepth) == 12 &&
              offsetof(D3DHAL_CLEARDATA, lpRects) == 16 &&
              offsetof(D3DHAL_CLEARDATA, dwNumRects) == 20 &&
              offsetof(D3DHAL_CLEARDATA, ddrval) == 24);

struct D3DHAL_DRAWONEPRIMITIVEDATA;
struct D3DHAL_DRAWONEINDEXEDPRIMITIVEDATA;
struct D3DHAL_DRAWPRIMITIVESDATA;

using LPD3DHAL_CONTEXTCREATECB = DWORD(KORV_STDCALL*)(D3DHAL_CONTEXTCREATEDATA*);
using LPD3DHAL_CONTEXTDESTROYCB = DWORD(KORV_STDCALL*)(D3DHAL_CONTEXTDESTROYDATA*);
using LPD3DHAL_CONTEXTDESTROYALLCB = DWORD(KORV_STDCALL*)(D3DHAL_CONTEXTDESTROYALLDATA*);
using LPD3DHAL_SCENECAPTURECB = DWORD(KORV_STDCALL*)(D3DHAL_SCENECAPTUREDATA*);
using LPD3DHAL_RENDERSTATECB = DWORD(KORV_STDCALL*)(D3DHAL_RENDERSTATEDATA*);
using LPD3DHAL_RENDERPRIMITIVECB = DWORD(KORV_STDCALL*)(D3DHAL_RENDERPRIMITIVEDATA*);
using LPD3DHAL_TEXTURECREATECB = DWORD(KORV_STDCALL*)(D3DHAL_TEXTURECREATEDATA*);
using LPD3DHAL_TEXTUREDESTROYCB = DWORD(KORV_STDCALL*)(D3DHAL_TEXTUREDESTROYDATA*);
using LPD3DHAL_TEXTURESWAPCB = DWORD(KORV_STDCALL*)(D3DHAL_TEXTURESWAPDATA*);
using LPD3DHAL_TEXTUREGETSURFCB = DWORD(KORV_STDCALL*)(D3DHAL_TEXTUREGETSURFDATA*);
using LPD3DHAL_GETSTATECB = DWORD(KORV_STDCALL*)(D3DHAL_GETSTATEDATA*);
using LPD3DHAL_SETRENDERTARGETCB = DWORD(KORV_STDCALL*)(D3DHAL_SETRENDERTARGETDATA*);
using LPD3DHAL_CLEARCB = DWORD(KORV_STDCALL*)(D3DHAL_CLEARDATA*);
using LPD3DHAL_DRAWONEPRIMITIVECB = DWORD(KORV_STDCALL*)(D3DHAL_DRAWONEPRIMITIVEDATA*);
using LPD3DHAL_DRAWONEINDEXEDPRIMITIVECB =
    DWORD(KORV_STDCALL*)(D3DHAL_DRAWONEINDEXEDPRIMITIVEDATA*);
using LPD3DHAL_DRAWPRIMITIVESCB = DWORD(KORV_STDCALL*)(D3DHAL_DRAWPRIMITIVESDATA*);

struct D3DHAL_CALLBACKS {
    DWORD dwSize;
    LPD3DHAL_CONTEXTCREATECB ContextCreate;
    LPD3DHAL_CONTEXTDESTROYCB ContextDestroy;
    LPD3DHAL_CONTEXTDESTROYALLCB ContextDestroyAll;
    LPD3DHAL_SCENECAPTURECB SceneCapture;
    void *lpReserved10, *lpReserved11;
    LPD3DHAL_RENDERSTATECB RenderState;
    LPD3DHAL_RENDERPRIMITIVECB RenderPrimitive;
    DWORD dwReserved;
    LPD3DHAL_TEXTURECREATECB TextureCreate;
    LPD3DHAL_TEXTUREDESTROYCB TextureDestroy;
    LPD3DHAL_TEXTURESWAPCB TextureSwap;
    LPD3DHAL_TEXTUREGETSURFCB TextureGetSurf;
    void *lpReserved12, *lpReserved13, *lpReserved14, *lpReserved15, *lpReserved16, *lpReserved17,
        *lpReserved18, *lpReserved19, *lpReserved20, *lpReserved21;
    LPD3DHAL_GETSTATECB GetState;
    DWORD dwReserved0, dwReserved1, dwReserved2, dwReserved3, dwReserved4, dwReserved5, dwReserved6,
        dwReserved7, dwReserved8, dwReserved9;
};
static_assert(sizeof(D3DHAL_CALLBACKS) == 140 && offsetof(D3DHAL_CALLBACKS, ContextCreate) == 4 &&
              offsetof(D3DHAL_CALLBACKS, ContextDestroy) == 8 &&
              offsetof(D3DHAL_CALLBACKS, ContextDestroyAll) == 12 &&
              offsetof(D3DHAL_CALLBACKS, SceneCapture) == 16 &&
              offsetof(D3DHAL_CALLBACKS, RenderState) == 28 &&
              offsetof(D3DHAL_CALLBACKS, RenderPrimitive) == 32 &&
              offsetof(D3DHAL_CALLBACKS, TextureCreate) == 40 &&
              offsetof(D3DHAL_CALLBACKS, TextureDestroy) == 44 &&
              offsetof(D3DHAL_CALLBACKS, TextureSwap) == 48 &&
              offsetof(D3DHAL_CALLBACKS, TextureGetSurf) == 52 &&
              offsetof(D3DHAL_CALLBACKS, GetState) == 96);

struct D3DHAL_CALLBACKS2 {
    DWORD dwSize, dwFlags;
    LPD3DHAL_SETRENDERTARGETCB SetRenderTarget;
    LPD3DHAL_CLEARCB Clear;
    LPD3DHAL_DRAWONEPRIMITIVECB DrawOnePrimitive;
    LPD3DHAL_DRAWONEINDEXEDPRIMITIVECB DrawOneIndexedPrimitive;
    LPD3DHAL_DRAWPRIMITIVESCB DrawPrimitives;
};
static_assert(sizeof(D3DHAL_CALLBACKS2) == 28 &&
              offsetof(D3DHAL_CALLBACKS2, SetRenderTarget) == 8 &&
              offsetof(D3DHAL_CALLBACKS2, Clear) == 12);
