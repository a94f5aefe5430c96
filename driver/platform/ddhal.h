// DirectDraw HAL records: what the runtime hands to the driver's callbacks and takes from it.
#pragma once

#include "driver/platform/ddraw.h"

using FLATPTR = uint32_t; // linear address of video memory

struct DDRAWI_DIRECTDRAW_GBL;
struct DDRAWI_DIRECTDRAW_LCL;
struct DDRAWI_DIRECTDRAW_INT;
struct DDRAWI_DDRAWSURFACE_GBL;
struct DDRAWI_DDRAWSURFACE_MORE;
struct DDRAWI_DDRAWSURFACE_LCL;
struct DDRAWI_DDRAWPALETTE_GBL;
struct DDRAWI_DDRAWPALETTE_LCL;
struct DDRAWI_DDRAWPALETTE_INT;

// Records of the runtime that the driver never looks into.
struct DDRAWI_DDRAWCLIPPER_INT;
struct DDRAWI_DDRAWCLIPPER_LCL;
struct DDRAWI_DDVIDEOPORT_INT;
struct DDRAWI_DDVIDEOPORT_LCL;
struct DDRAWI_DDMOTIONCOMP_INT;
struct DDHAL_CALLBACKS;
struct DDVIDEOPORTCAPS;
struct DDKERNELCAPS;
struct DDNONLOCALVIDMEMCAPS;
struct ACCESSRECTLIST;
struct HEAPALIASINFO;
struct IUNKNOWN_LIST;
struct VMEMHEAP;

inline constexpr GUID GUID_MiscellaneousCallbacks = {
    0xEFD60CC0, 0x49E7, 0x11D0, {0x88, 0x9D, 0x00, 0xAA, 0x00, 0xBB, 0xB7, 0x6A}};
inline constexpr GUID GUID_VideoPortCallbacks = {
    0xEFD60CC1, 0x49E7, 0x11D0, {0x88, 0x9D, 0x00, 0xAA, 0x00, 0xBB, 0xB7, 0x6A}};
inline constexpr GUID GUID_VideoPortCaps = {
    0xEFD60CC3, 0x49E7, 0x11D0, {0x88, 0x9D, 0x00, 0xAA, 0x00, 0xBB, 0xB7, 0x6A}};
inline constexpr GUID GUID_D3DCallbacks2 = {
    0x0BA584E1, 0x70B6, 0x11D0, {0x88, 0x9D, 0x00, 0xAA, 0x00, 0xBB, 0xB7, 0x6A}};
inline constexpr GUID GUID_KernelCallbacks = {
    0x80863800, 0x6B06, 0x11D0, {0x9B, 0x06, 0x00, 0xA0, 0xC9, 0x03, 0xA3, 0xB8}};

inline constexpr DWORD DDHAL_DRIVER_NOTHANDLED = 0, DDHAL_DRIVER_HANDLED = 1;

// In fpVidMem on return from CreateSurface: the runtime allocates dwBlockSizeX by dwBlockSizeY.
inline constexpr FLATPTR DDHAL_PLEASEALLOC_BLOCKSIZE = 2;

struct DDHALMODEINFO {
    DWORD dwWidth, dwHeight;
    LONG lPitch;
    DWORD dwBPP;
    WORD wFlags, wRefreshRate;
    DWORD dwRBitMask, dwGBitMask, dwBBitMask, dwAlphaBitMask;
};
static_assert(sizeof(DDHALMODEINFO) == 36);

struct VIDMEM {
    DWORD dwFlags;
    FLATPTR fpStart;
    union {
        FLATPTR fpEnd; // last byte of a linear heap
        DWORD dwWidth; // of a rectangular heap
    };
    DDSCAPS ddsCaps, ddsCapsAlt;
    union {
        VMEMHEAP* lpHeap;
        DWORD dwHeight;
    };
};
static_assert(sizeof(VIDMEM) == 24 && offsetof(VIDMEM, fpEnd) == 8 &&
              offsetof(VIDMEM, ddsCaps) == 12 && offsetof(VIDMEM, lpHeap) == 20);

inline constexpr DWORD VIDMEM_ISLINEAR = 0x1, VIDMEM_ISRECTANGULAR = 0x2, VIDMEM_ISHEAP = 0x4,
                       VIDMEM_ISNONLOCAL = 0x8, VIDMEM_ISWC = 0x10;

struct VIDMEMINFO {
    FLATPTR fpPrimary;
    DWORD dwFlags, dwDisplayWidth, dwDisplayHeight;
    LONG lDisplayPitch;
    DDPIXELFORMAT ddpfDisplay;
    DWORD dwOffscreenAlign, dwOverlayAlign, dwTextureAlign, dwZBufferAlign, dwAlphaAlign;
    DWORD dwNumHeaps;
    VIDMEM* pvmList;
};
static_assert(sizeof(VIDMEMINFO) == 80 && offsetof(VIDMEMINFO, lDisplayPitch) == 16 &&
              offsetof(VIDMEMINFO, ddpfDisplay) == 20 && offsetof(VIDMEMINFO, dwNumHeaps) == 72 &&
              offsetof(VIDMEMINFO, pvmList) == 76);

inline constexpr int DD_ROP_SPACE = 8; // words of a map of 256 raster operations

struct DDCORECAPS {
    DWORD dwSize, dwCaps, dwCaps2, dwCKeyCaps, dwFXCaps, dwFXAlphaCaps, dwPalCaps, dwSVCaps;
    DWORD dwAlphaBltConstBitDepths, dwAlphaBltPixelBitDepths, dwAlphaBltSurfaceBitDepths;
    DWORD dwAlphaOverlayConstBitDepths, dwAlphaOverlayPixelBitDepths,
        dwAlphaOverlaySurfaceBitDepths;
    DWORD dwZBufferBitDepths, dwVidMemTotal, dwVidMemFree;
    DWORD dwMaxVisibleOverlays, dwCurrVisibleOverlays, dwNumFourCCCodes;
    DWORD dwAlignBoundarySrc, dwAlignSizeSrc, dwAlignBoundaryDest, dwAlignSizeDest,
        dwAlignStrideAlign;
    DWORD dwRops[DD_ROP_SPACE];
    DDSCAPS ddsCaps;
    DWORD dwMinOverlayStretch, dwMaxOverlayStretch, dwMinLiveVideoStretch, dwMaxLiveVideoStretch,
        dwMinHwCodecStretch, dwMaxHwCodecStretch;
    DWORD dwReserved1, dwReserved2, dwReserved3;
    DWORD dwSVBCaps, dwSVBCKeyCaps, dwSVBFXCaps, dwSVBRops[DD_ROP_SPACE];
    DWORD dwVSBCaps, dwVSBCKeyCaps, dwVSBFXCaps, dwVSBRops[DD_ROP_SPACE];
    DWORD dwSSBCaps, dwSSBCKeyCaps, dwSSBFXCaps, dwSSBRops[DD_ROP_SPACE];
    DWORD dwMaxVideoPorts, dwCurrVideoPorts, dwSVBCaps2;
};
static_assert(sizeof(DDCORECAPS) == 316 && offsetof(DDCORECAPS, dwCaps) == 4 &&
              offsetof(DDCORECAPS, dwCaps2) == 8 && offsetof(DDCORECAPS, dwCKeyCaps) == 12 &&
              offsetof(DDCORECAPS, dwFXCaps) == 16 &&
              offsetof(DDCORECAPS, dwAlphaBltConstBitDepths) == 32 &&
              offsetof(DDCORECAPS, dwAlphaBltPixelBitDepths) == 36 &&
              offsetof(DDCORECAPS, dwAlphaBltSurfaceBitDepths) == 40 &&
              offsetof(DDCORECAPS, dwAlphaOverlayConstBitDepths) == 44 &&
              offsetof(DDCORECAPS, dwAlphaOverlayPixelBitDepths) == 48 &&
              offsetof(DDCORECAPS, dwAlphaOverlaySurfaceBitDepths) == 52 &&
              offsetof(DDCORECAPS, dwZBufferBitDepths) == 56 &&
              offsetof(DDCORECAPS, dwRops) == 100 && offsetof(DDCORECAPS, ddsCaps) == 132 &&
              offsetof(DDCORECAPS, dwSVBCaps) == 172 && offsetof(DDCORECAPS, dwSVBRops) == 184 &&
              offsetof(DDCORECAPS, dwVSBCaps) == 216 && offsetof(DDCORECAPS, dwSSBCaps) == 260 &&
              offsetof(DDCORECAPS, dwSVBCaps2) == 312);

struct DDHAL_DESTROYDRIVERDATA;
struct DDHAL_CREATESURFACEDATA;
struct DDHAL_DRVSETCOLORKEYDATA;
struct DDHAL_SETMODEDATA;
struct DDHAL_WAITFORVERTICALBLANKDATA;
struct DDHAL_CANCREATESURFACEDATA;
struct DDHAL_CREATEPALETTEDATA;
struct DDHAL_GETSCANLINEDATA;
struct DDHAL_SETEXCLUSIVEMODEDATA;
struct DDHAL_FLIPTOGDISURFACEDATA;

using LPDDHAL_DESTROYDRIVER = DWORD(KORV_STDCALL*)(DDHAL_DESTROYDRIVERDATA*);
using LPDDHAL_CREATESURFACE = DWORD(KORV_STDCALL*)(DDHAL_CREATESURFACEDATA*);
using LPDDHAL_SETCOLORKEY = DWORD(KORV_STDCALL*)(DDHAL_DRVSETCOLORKEYDATA*);
using LPDDHAL_SETMODE = DWORD(KORV_STDCALL*)(DDHAL_SETMODEDATA*);
using LPDDHAL_WAITFORVERTICALBLANK = DWORD(KORV_STDCALL*)(DDHAL_WAITFORVERTICALBLANKDATA*);
using LPDDHAL_CANCREATESURFACE = DWORD(KORV_STDCALL*)(DDHAL_CANCREATESURFACEDATA*);
using LPDDHAL_CREATEPALETTE = DWORD(KORV_STDCALL*)(DDHAL_CREATEPALETTEDATA*);
using LPDDHAL_GETSCANLINE = DWORD(KORV_STDCALL*)(DDHAL_GETSCANLINEDATA*);
using LPDDHAL_SETEXCLUSIVEMODE = DWORD(KORV_STDCALL*)(DDHAL_SETEXCLUSIVEMODEDATA*);
using LPDDHAL_FLIPTOGDISURFACE = DWORD(KORV_STDCALL*)(DDHAL_FLIPTOGDISURFACEDATA*);

struct DDHAL_DDCALLBACKS {
    DWORD dwSize, dwFlags;
    LPDDHAL_DESTROYDRIVER DestroyDriver;
    LPDDHAL_CREATESURFACE CreateSurface;
    LPDDHAL_SETCOLORKEY SetColorKey;
    LPDDHAL_SETMODE SetMode;
    LPDDHAL_WAITFORVERTICALBLANK WaitForVerticalBlank;
    LPDDHAL_CANCREATESURFACE CanCreateSurface;
    LPDDHAL_CREATEPALETTE CreatePalette;
    LPDDHAL_GETSCANLINE GetScanLine;
    LPDDHAL_SETEXCLUSIVEMODE SetExclusiveMode;
    LPDDHAL_FLIPTOGDISURFACE FlipToGDISurface;
};
static_assert(sizeof(DDHAL_DDCALLBACKS) == 48 && offsetof(DDHAL_DDCALLBACKS, CreateSurface) == 12 &&
              offsetof(DDHAL_DDCALLBACKS, WaitForVerticalBlank) == 24 &&
              offsetof(DDHAL_DDCALLBACKS, CanCreateSurface) == 28 &&
              offsetof(DDHAL_DDCALLBACKS, GetScanLine) == 36);

inline constexpr DWORD DDHAL_CB32_DESTROYDRIVER = 0x1, DDHAL_CB32_CREATESURFACE = 0x2,
                       DDHAL_CB32_SETCOLORKEY = 0x4, DDHAL_CB32_SETMODE = 0x8,
                       DDHAL_CB32_WAITFORVERTICALBLANK = 0x10, DDHAL_CB32_CANCREATESURFACE = 0x20,
                       DDHAL_CB32_CREATEPALETTE = 0x40, DDHAL_CB32_GETSCANLINE = 0x80;

struct DDHAL_DESTROYSURFACEDATA;
struct DDHAL_FLIPDATA;
struct DDHAL_SETCLIPLISTDATA;
struct DDHAL_LOCKDATA;
struct DDHAL_UNLOCKDATA;
struct DDHAL_BLTDATA;
struct DDHAL_SETCOLORKEYDATA;
struct DDHAL_ADDATTACHEDSURFACEDATA;
struct DDHAL_GETBLTSTATUSDATA;
struct DDHAL_GETFLIPSTATUSDATA;
struct DDHAL_UPDATEOVERLAYDATA;
struct DDHAL_SETOVERLAYPOSITIONDATA;
struct DDHAL_SETPALETTEDATA;

using LPDDHALSURFCB_DESTROYSURFACE = DWORD(KORV_STDCALL*)(DDHAL_DESTROYSURFACEDATA*);
using LPDDHALSURFCB_FLIP = DWORD(KORV_STDCALL*)(DDHAL_FLIPDATA*);
using LPDDHALSURFCB_SETCLIPLIST = DWORD(KORV_STDCALL*)(DDHAL_SETCLIPLISTDATA*);
using LPDDHALSURFCB_LOCK = DWORD(KORV_STDCALL*)(DDHAL_LOCKDATA*);
using LPDDHALSURFCB_UNLOCK = DWORD(KORV_STDCALL*)(DDHAL_UNLOCKDATA*);
using LPDDHALSURFCB_BLT = DWORD(KORV_STDCALL*)(DDHAL_BLTDATA*);
using LPDDHALSURFCB_SETCOLORKEY = DWORD(KORV_STDCALL*)(DDHAL_SETCOLORKEYDATA*);
using LPDDHALSURFCB_ADDATTACHEDSURFACE = DWORD(KORV_STDCALL*)(DDHAL_ADDATTACHEDSURFACEDATA*);
using LPDDHALSURFCB_GETBLTSTATUS = DWORD(KORV_STDCALL*)(DDHAL_GETBLTSTATUSDATA*);
using LPDDHALSURFCB_GETFLIPSTATUS = DWORD(KORV_STDCALL*)(DDHAL_GETFLIPSTATUSDATA*);
using LPDDHALSURFCB_UPDATEOVERLAY = DWORD(KORV_STDCALL*)(DDHAL_UPDATEOVERLAYDATA*);
using LPDDHALSURFCB_SETOVERLAYPOSITION = DWORD(KORV_STDCALL*)(DDHAL_SETOVERLAYPOSITIONDATA*);
using LPDDHALSURFCB_SETPALETTE = DWORD(KORV_STDCALL*)(DDHAL_SETPALETTEDATA*);

struct DDHAL_DDSURFACECALLBACKS {
    DWORD dwSize, dwFlags;
    LPDDHALSURFCB_DESTROYSURFACE DestroySurface;
    LPDDHALSURFCB_FLIP Flip;
    LPDDHALSURFCB_SETCLIPLIST SetClipList;
    LPDDHALSURFCB_LOCK Lock;
    LPDDHALSURFCB_UNLOCK Unlock;
    LPDDHALSURFCB_BLT Blt;
    LPDDHALSURFCB_SETCOLORKEY SetColorKey;
    LPDDHALSURFCB_ADDATTACHEDSURFACE AddAttachedSurface;
    LPDDHALSURFCB_GETBLTSTATUS GetBltStatus;
    LPDDHALSURFCB_GETFLIPSTATUS GetFlipStatus;
    LPDDHALSURFCB_UPDATEOVERLAY UpdateOverlay;
    LPDDHALSURFCB_SETOVERLAYPOSITION SetOverlayPosition;
    void* reserved4;
    LPDDHALSURFCB_SETPALETTE SetPalette;
};
static_assert(sizeof(DDHAL_DDSURFACECALLBACKS) == 64 &&
              offsetof(DDHAL_DDSURFACECALLBACKS, DestroySurface) == 8 &&
              offsetof(DDHAL_DDSURFACECALLBACKS, Flip) == 12 &&
              offsetof(DDHAL_DDSURFACECALLBACKS, Lock) == 20 &&
              offsetof(DDHAL_DDSURFACECALLBACKS, Blt) == 28 &&
              offsetof(DDHAL_DDSURFACECALLBACKS, GetBltStatus) == 40 &&
              offsetof(DDHAL_DDSURFACECALLBACKS, GetFlipStatus) == 44);

inline constexpr DWORD DDHAL_SURFCB32_DESTROYSURFACE = 0x1, DDHAL_SURFCB32_FLIP = 0x2,
                       DDHAL_SURFCB32_SETCLIPLIST = 0x4, DDHAL_SURFCB32_LOCK = 0x8,
                       DDHAL_SURFCB32_UNLOCK = 0x10, DDHAL_SURFCB32_BLT = 0x20,
                       DDHAL_SURFCB32_SETCOLORKEY = 0x40, DDHAL_SURFCB32_ADDATTACHEDSURFACE = 0x80,
                       DDHAL_SURFCB32_GETBLTSTATUS = 0x100, DDHAL_SURFCB32_GETFLIPSTATUS = 0x200,
                       DDHAL_SURFCB32_UPDATEOVERLAY = 0x400,
                       DDHAL_SURFCB32_SETOVERLAYPOSITION = 0x800,
                       DDHAL_SURFCB32_SETPALETTE = 0x2000;

struct DDHAL_DESTROYPALETTEDATA;
struct DDHAL_SETENTRIESDATA;
using LPDDHALPALCB_DESTROYPALETTE = DWORD(KORV_STDCALL*)(DDHAL_DESTROYPALETTEDATA*);
using LPDDHALPALCB_SETENTRIES = DWORD(KORV_STDCALL*)(DDHAL_SETENTRIESDATA*);

struct DDHAL_DDPALETTECALLBACKS {
    DWORD dwSize, dwFlags;
    LPDDHALPALCB_DESTROYPALETTE DestroyPalette;
    LPDDHALPALCB_SETENTRIES SetEntries;
};
static_assert(sizeof(DDHAL_DDPALETTECALLBACKS) == 16);

using LPDDHALEXEBUFCB_CANCREATEEXEBUF = DWORD(KORV_STDCALL*)(DDHAL_CANCREATESURFACEDATA*);
using LPDDHALEXEBUFCB_CREATEEXEBUF = DWORD(KORV_STDCALL*)(DDHAL_CREATESURFACEDATA*);
using LPDDHALEXEBUFCB_DESTROYEXEBUF = DWORD(KORV_STDCALL*)(DDHAL_DESTROYSURFACEDATA*);
using LPDDHALEXEBUFCB_LOCKEXEBUF = DWORD(KORV_STDCALL*)(DDHAL_LOCKDATA*);
using LPDDHALEXEBUFCB_UNLOCKEXEBUF = DWORD(KORV_STDCALL*)(DDHAL_UNLOCKDATA*);

struct DDHAL_DDEXEBUFCALLBACKS {
    DWORD dwSize, dwFlags;
    LPDDHALEXEBUFCB_CANCREATEEXEBUF CanCreateExecuteBuffer;
    LPDDHALEXEBUFCB_CREATEEXEBUF CreateExecuteBuffer;
    LPDDHALEXEBUFCB_DESTROYEXEBUF DestroyExecuteBuffer;
    LPDDHALEXEBUFCB_LOCKEXEBUF LockExecuteBuffer;
    LPDDHALEXEBUFCB_UNLOCKEXEBUF UnlockExecuteBuffer;
};
static_assert(sizeof(DDHAL_DDEXEBUFCALLBACKS) == 28);

struct DDHAL_GETAVAILDRIVERMEMORYDATA;
struct DDHAL_UPDATENONLOCALHEAPDATA;
struct DDHAL_GETHEAPALIGNMENTDATA;
using LPDDHAL_GETAVAILDRIVERMEMORY = DWORD(KORV_STDCALL*)(DDHAL_GETAVAILDRIVERMEMORYDATA*);
using LPDDHAL_UPDATENONLOCALHEAP = DWORD(KORV_STDCALL*)(DDHAL_UPDATENONLOCALHEAPDATA*);
using LPDDHAL_GETHEAPALIGNMENT = DWORD(KORV_STDCALL*)(DDHAL_GETHEAPALIGNMENTDATA*);

struct DDHAL_DDMISCELLANEOUSCALLBACKS {
    DWORD dwSize, dwFlags;
    LPDDHAL_GETAVAILDRIVERMEMORY GetAvailDriverMemory;
    LPDDHAL_UPDATENONLOCALHEAP UpdateNonLocalHeap;
    LPDDHAL_GETHEAPALIGNMENT GetHeapAlignment;
    LPDDHALSURFCB_GETBLTSTATUS GetSysmemBltStatus;
};
static_assert(sizeof(DDHAL_DDMISCELLANEOUSCALLBACKS) == 24 &&
              offsetof(DDHAL_DDMISCELLANEOUSCALLBACKS, GetAvailDriverMemory) == 8 &&
              offsetof(DDHAL_DDMISCELLANEOUSCALLBACKS, UpdateNonLocalHeap) == 12 &&
              offsetof(DDHAL_DDMISCELLANEOUSCALLBACKS, GetHeapAlignment) == 16);

inline constexpr DWORD DDHAL_MISCCB32_GETAVAILDRIVERMEMORY = 0x1,
                       DDHAL_MISCCB32_UPDATENONLOCALHEAP = 0x2,
                       DDHAL_MISCCB32_GETHEAPALIGNMENT = 0x4,
                       DDHAL_MISCCB32_GETSYSMEMBLTSTATUS = 0x8;

struct DDHAL_SYNCSURFACEDATA;
struct DDHAL_SYNCVIDEOPORTDATA;
using LPDDHALKERNELCB_SYNCSURFACE = DWORD(KORV_STDCALL*)(DDHAL_SYNCSURFACEDATA*);
using LPDDHALKERNELCB_SYNCVIDEOPORT = DWORD(KORV_STDCALL*)(DDHAL_SYNCVIDEOPORTDATA*);

struct DDHAL_DDKERNELCALLBACKS {
    DWORD dwSize, dwFlags;
    LPDDHALKERNELCB_SYNCSURFACE SyncSurfaceData;
    LPDDHALKERNELCB_SYNCVIDEOPORT SyncVideoPortData;
};
static_assert(sizeof(DDHAL_DDKERNELCALLBACKS) == 16 &&
              offsetof(DDHAL_DDKERNELCALLBACKS, SyncSurfaceData) == 8 &&
              offsetof(DDHAL_DDKERNELCALLBACKS, SyncVideoPortData) == 12);

inline constexpr DWORD DDHAL_KERNEL_SYNCSURFACEDATA = 0x1, DDHAL_KERNEL_SYNCVIDEOPORTDATA = 0x2;

struct DDHAL_GETDRIVERINFODATA {
    DWORD dwSize, dwFlags;
    GUID guidInfo;
    DWORD dwExpectedSize;
    void* lpvData;
    DWORD dwActualSize;
    HRESULT ddRVal;
    ULONG_PTR dwContext; // the word that the driver gave back from its init entry
};
using DD_GETDRIVERINFODATA = DDHAL_GETDRIVERINFODATA;
static_assert(sizeof(DDHAL_GETDRIVERINFODATA) == 44 &&
              offsetof(DDHAL_GETDRIVERINFODATA, guidInfo) == 8 &&
              offsetof(DDHAL_GETDRIVERINFODATA, dwExpectedSize) == 24 &&
              offsetof(DDHAL_GETDRIVERINFODATA, lpvData) == 28 &&
              offsetof(DDHAL_GETDRIVERINFODATA, dwActualSize) == 32 &&
              offsetof(DDHAL_GETDRIVERINFODATA, ddRVal) == 36 &&
              offsetof(DDHAL_GETDRIVERINFODATA, dwContext) == 40);
using LPDDHAL_GETDRIVERINFO = DWORD(KORV_STDCALL*)(DDHAL_GETDRIVERINFODATA*);

struct DDHALINFO {
    DWORD dwSize;
    DDHAL_DDCALLBACKS* lpDDCallbacks;
    DDHAL_DDSURFACECALLBACKS* lpDDSurfaceCallbacks;
    DDHAL_DDPALETTECALLBACKS* lpDDPaletteCallbacks;
    VIDMEMINFO vmiData;
    DDCORECAPS ddCaps;
    DWORD dwMonitorFrequency;
    LPDDHAL_GETDRIVERINFO GetDriverInfo;
    DWORD dwModeIndex;
    DWORD* lpdwFourCC;
    DWORD dwNumModes;
    DDHALMODEINFO* lpModeInfo;
    DWORD dwFlags;
    void* lpPDevice;
    DWORD hInstance;
    ULONG_PTR lpD3DGlobalDriverData, lpD3DHALCallbacks;
    DDHAL_DDEXEBUFCALLBACKS* lpDDExeBufCallbacks;
};
static_assert(sizeof(DDHALINFO) == 460 && offsetof(DDHALINFO, vmiData) == 16 &&
              offsetof(DDHALINFO, ddCaps) == 96 && offsetof(DDHALINFO, GetDriverInfo) == 416 &&
              offsetof(DDHALINFO, lpdwFourCC) == 424 && offsetof(DDHALINFO, dwFlags) == 436 &&
              offsetof(DDHALINFO, hInstance) == 444 &&
              offsetof(DDHALINFO, lpD3DGlobalDriverData) == 448 &&
              offsetof(DDHALINFO, lpD3DHALCallbacks) == 452 &&
              offsetof(DDHALINFO, lpDDExeBufCallbacks) == 456);

inline constexpr DWORD DDHALINFO_ISPRIMARYDISPLAY = 0x1, DDHALINFO_MODEXILLEGAL = 0x2,
                       DDHALINFO_GETDRIVERINFOSET = 0x4;

// The runtime's objects.

struct PROCESS_LIST {
    PROCESS_LIST* lpLink;
    DWORD dwProcessId, dwRefCnt, dwAlphaDepth, dwZDepth;
};

struct ATTACHLIST {
    DWORD dwFlags;
    ATTACHLIST* lpLink;
    DDRAWI_DDRAWSURFACE_LCL* lpAttached;
    DDRAWI_DDRAWSURFACE_INT* lpIAttached;
};
static_assert(sizeof(ATTACHLIST) == 16 && offsetof(ATTACHLIST, lpLink) == 4 &&
              offsetof(ATTACHLIST, lpAttached) == 8 && offsetof(ATTACHLIST, lpIAttached) == 12);

struct DBLNODE {
    DBLNODE *next, *prev;
    DDRAWI_DDRAWSURFACE_LCL* object;
    DDRAWI_DDRAWSURFACE_INT* object_int;
};

struct DDRAWI_DIRECTDRAW_INT {
    void* lpVtbl;
    DDRAWI_DIRECTDRAW_LCL* lpLcl;
    DDRAWI_DIRECTDRAW_INT* lpLink;
    DWORD dwIntRefCnt;
};
static_assert(sizeof(DDRAWI_DIRECTDRAW_INT) == 16);

struct DDRAWI_DIRECTDRAW_LCL {
    DWORD lpDDMore;
    DDRAWI_DIRECTDRAW_GBL* lpGbl;
    DWORD dwUnused0, dwLocalFlags, dwLocalRefCnt, dwProcessId;
    void* pUnkOuter;
    DWORD dwObsolete1;
    ULONG_PTR hWnd, hDC;
    DWORD dwErrorMode;
    DDRAWI_DDRAWSURFACE_INT *lpPrimary, *lpCB;
    DWORD dwPreferredMode;
    HINSTANCE hD3DInstance;
    void* pD3DIUnknown;
    DDHAL_CALLBACKS* lpDDCB;
    ULONG_PTR hDDVxd;
    DWORD dwAppHackFlags;
    ULONG_PTR hFocusWnd;
    DWORD dwHotTracking, dwIMEState;
    ULONG_PTR hWndPopup, hDD, hGammaCalibrator;
    void* lpGammaCalibrator;
};
static_assert(sizeof(DDRAWI_DIRECTDRAW_LCL) == 104 && offsetof(DDRAWI_DIRECTDRAW_LCL, lpGbl) == 4 &&
              offsetof(DDRAWI_DIRECTDRAW_LCL, dwProcessId) == 20);

struct DDRAWI_DIRECTDRAW_GBL {
    DWORD dwRefCnt, dwFlags;
    FLATPTR fpPrimaryOrig;
    DDCORECAPS ddCaps;
    DWORD dwInternal1, dwUnused1[9];
    DDHAL_CALLBACKS* lpDDCBtmp;
    DDRAWI_DDRAWSURFACE_INT* dsList;
    DDRAWI_DDRAWPALETTE_INT* palList;
    DDRAWI_DDRAWCLIPPER_INT* clipperList;
    DDRAWI_DIRECTDRAW_GBL* lp16DD;
    DWORD dwMaxOverlays, dwCurrOverlays, dwMonitorFrequency;
    DDCORECAPS ddHELCaps;
    DWORD dwUnused2[50];
    DDCOLORKEY ddckCKDestOverlay, ddckCKSrcOverlay;
    VIDMEMINFO vmiData; // ddpfDisplay: format of the display, and of surfaces without their own
    void* lpDriverHandle;
    DDRAWI_DIRECTDRAW_LCL* lpExclusiveOwner;
    DWORD dwModeIndex, dwModeIndexOrig, dwNumFourCC;
    DWORD* lpdwFourCC;
    DWORD dwNumModes;
    DDHALMODEINFO* lpModeInfo;
    PROCESS_LIST plProcessList;
    DWORD dwSurfaceLockCount, dwAliasedLockCnt;
    ULONG_PTR dwReserved3; // display driver's
    ULONG_PTR hDD;
    char cObsolete[12];
    DWORD dwReserved1, dwReserved2; // display driver's
    DBLNODE dbnOverlayRoot;
    WORD* lpwPDeviceFlags;
    DWORD dwPDevice, dwWin16LockCnt, dwUnused3, hInstance, dwEvent16, dwSaveNumModes;
    ULONG_PTR lpD3DGlobalDriverData, lpD3DHALCallbacks;
    DDCORECAPS ddBothCaps;
    DDVIDEOPORTCAPS* lpDDVideoPortCaps;
    DDRAWI_DDVIDEOPORT_INT* dvpList;
    ULONG_PTR lpD3DHALCallbacks2;
    RECT rectDevice;
    DWORD cMonitors;
    void *gpbmiSrc, *gpbmiDest;
    HEAPALIASINFO* phaiHeapAliases;
    ULONG_PTR hKernelHandle, pfnNotifyProc;
    DDKERNELCAPS* lpDDKernelCaps;
    DDNONLOCALVIDMEMCAPS *lpddNLVCaps, *lpddNLVHELCaps, *lpddNLVBothCaps;
    ULONG_PTR lpD3DExtendedCaps;
    DWORD dwDOSBoxEvent;
    RECT rectDesktop;
    char cDriverName[32];
    ULONG_PTR lpD3DHALCallbacks3;
    DWORD dwNumZPixelFormats;
    DDPIXELFORMAT* lpZPixelFormats;
    DDRAWI_DDMOTIONCOMP_INT* mcList;
    DWORD hDDVxd;
    DDSCAPSEX ddsCapsMore;
};
static_assert(sizeof(DDRAWI_DIRECTDRAW_GBL) == 1624 &&
              offsetof(DDRAWI_DIRECTDRAW_GBL, ddCaps) == 12 &&
              offsetof(DDRAWI_DIRECTDRAW_GBL, vmiData) == 932 &&
              offsetof(DDRAWI_DIRECTDRAW_GBL, dwReserved3) == 1072 &&
              offsetof(DDRAWI_DIRECTDRAW_GBL, dwReserved1) == 1092 &&
              offsetof(DDRAWI_DIRECTDRAW_GBL, lpD3DGlobalDriverData) == 1144);

struct DDRAWI_DDRAWSURFACE_INT {
    void* lpVtbl;
    DDRAWI_DDRAWSURFACE_LCL* lpLcl;
    DDRAWI_DDRAWSURFACE_INT* lpLink;
    DWORD dwIntRefCnt;
};
static_assert(sizeof(DDRAWI_DDRAWSURFACE_INT) == 16 &&
              offsetof(DDRAWI_DDRAWSURFACE_INT, lpLcl) == 4);

struct DDRAWI_DDRAWSURFACE_GBL {
    DWORD dwRefCnt, dwGlobalFlags;
    union {
        ACCESSRECTLIST* lpRectList;
        DWORD dwBlockSizeY; // during creation
    };
    union {
        VMEMHEAP* lpVidMemHeap;
        DWORD dwBlockSizeX; // during creation, bytes
    };
    union {
        DDRAWI_DIRECTDRAW_GBL* lpDD;
        void* lpDDHandle;
    };
    FLATPTR fpVidMem;
    union {
        LONG lPitch; // bytes
        DWORD dwLinearSize;
    };
    WORD wHeight, wWidth; // pixels
    DWORD dwUsageCount;
    ULONG_PTR dwReserved1;     // display driver's
    DDPIXELFORMAT ddpfSurface; // there only with DDRAWISURF_HASPIXELFORMAT
};
static_assert(sizeof(DDRAWI_DDRAWSURFACE_GBL) == 72 &&
              offsetof(DDRAWI_DDRAWSURFACE_GBL, dwBlockSizeY) == 8 &&
              offsetof(DDRAWI_DDRAWSURFACE_GBL, dwBlockSizeX) == 12 &&
              offsetof(DDRAWI_DDRAWSURFACE_GBL, lpDD) == 16 &&
              offsetof(DDRAWI_DDRAWSURFACE_GBL, fpVidMem) == 20 &&
              offsetof(DDRAWI_DDRAWSURFACE_GBL, lPitch) == 24 &&
              offsetof(DDRAWI_DDRAWSURFACE_GBL, wHeight) == 28 &&
              offsetof(DDRAWI_DDRAWSURFACE_GBL, wWidth) == 30 &&
              offsetof(DDRAWI_DDRAWSURFACE_GBL, dwReserved1) == 36 &&
              offsetof(DDRAWI_DDRAWSURFACE_GBL, ddpfSurface) == 40);

struct DDRAWI_DDRAWSURFACE_GBL_MORE {
    DWORD dwSize;
    union {
        DWORD dwPhysicalPageTable;
        FLATPTR fpPhysicalVidMem; // bus address, of a surface in AGP memory
    };
    DWORD* pPageTable;
    DWORD cPages;
    ULONG_PTR dwSavedDCContext;
    FLATPTR fpAliasedVidMem;
    ULONG_PTR dwDriverReserved, dwHELReserved;
    DWORD cPageUnlocks;
    ULONG_PTR hKernelSurface;
    DWORD dwKernelRefCnt;
    void* lpColorInfo;
    FLATPTR fpNTAlias;
    DWORD dwContentsStamp;
    void *lpvUnswappedDriverReserved, *lpDDRAWReserved2;
    DWORD dwDDRAWReserved1, dwDDRAWReserved2;
    FLATPTR fpAliasOfVidMem;
};
static_assert(sizeof(DDRAWI_DDRAWSURFACE_GBL_MORE) == 76 &&
              offsetof(DDRAWI_DDRAWSURFACE_GBL_MORE, fpPhysicalVidMem) == 4);

/// The extension of a surface's global object: its address lies in the word before the object.
inline DDRAWI_DDRAWSURFACE_GBL_MORE*
GET_LPDDRAWSURFACE_GBL_MORE(const DDRAWI_DDRAWSURFACE_GBL* surface) {
    return reinterpret_cast<DDRAWI_DDRAWSURFACE_GBL_MORE* const*>(surface)[-1];
}

struct DDRAWI_DDRAWSURFACE_MORE {
    DWORD dwSize;
    IUNKNOWN_LIST* lpIUnknowns;
    DDRAWI_DIRECTDRAW_LCL* lpDD_lcl;
    DWORD dwPageLockCount, dwBytesAllocated;
    DDRAWI_DIRECTDRAW_INT* lpDD_int;
    DWORD dwMipMapCount;
    DDRAWI_DDRAWCLIPPER_INT* lpDDIClipper;
    HEAPALIASINFO* lpHeapAliasInfo;
    DWORD dwOverlayFlags;
    void* rgjunc;
    DDRAWI_DDVIDEOPORT_LCL* lpVideoPort;
    DDOVERLAYFX* lpddOverlayFX;
    DDSCAPSEX ddsCapsEx;
    DWORD dwTextureStage;
    void *lpDDRAWReserved, *lpDDRAWReserved2, *lpDDrawReserved3;
    DWORD dwDDrawReserved4;
    void* lpDDrawReserved5;
    DWORD *lpGammaRamp, *lpOriginalGammaRamp;
    void* lpDDrawReserved6;
    DWORD dwSurfaceHandle, qwDDrawReserved8[2];
    void* lpDDrawReserved9;
    DWORD cSurfaces;
    void* pCreatedDDSurfaceDesc2;
    DDRAWI_DDRAWSURFACE_LCL** slist;
    DWORD dwFVF;
    void* lpVB;
};
static_assert(sizeof(DDRAWI_DDRAWSURFACE_MORE) == 136 &&
              offsetof(DDRAWI_DDRAWSURFACE_MORE, lpDD_lcl) == 8 &&
              offsetof(DDRAWI_DDRAWSURFACE_MORE, dwMipMapCount) == 24 &&
              offsetof(DDRAWI_DDRAWSURFACE_MORE, lpVideoPort) == 44);

struct DDRAWI_DDRAWSURFACE_LCL {
    DDRAWI_DDRAWSURFACE_MORE* lpSurfMore;
    DDRAWI_DDRAWSURFACE_GBL* lpGbl;
    ULONG_PTR hDDSurface;
    ATTACHLIST *lpAttachList, *lpAttachListFrom;
    DWORD dwLocalRefCnt, dwProcessId, dwFlags;
    DDSCAPS ddsCaps;
    DDRAWI_DDRAWPALETTE_INT* lpDDPalette;
    DDRAWI_DDRAWCLIPPER_LCL* lpDDClipper;
    DWORD dwModeCreatedIn, dwBackBufferCount;
    DDCOLORKEY ddckCKDestBlt, ddckCKSrcBlt;
    ULONG_PTR hDC;
    ULONG_PTR dwReserved1; // display driver's
    DDCOLORKEY ddckCKSrcOverlay, ddckCKDestOverlay;
    DDRAWI_DDRAWSURFACE_INT* lpSurfaceOverlaying;
    DBLNODE dbnOverlayNode;
    RECT rcOverlaySrc, rcOverlayDest;
    DWORD dwClrXparent, dwAlpha;
    LONG lOverlayX, lOverlayY;
};
static_assert(sizeof(DDRAWI_DDRAWSURFACE_LCL) == 160 &&
              offsetof(DDRAWI_DDRAWSURFACE_LCL, lpGbl) == 4 &&
              offsetof(DDRAWI_DDRAWSURFACE_LCL, lpAttachList) == 12 &&
              offsetof(DDRAWI_DDRAWSURFACE_LCL, dwFlags) == 28 &&
              offsetof(DDRAWI_DDRAWSURFACE_LCL, ddsCaps) == 32 &&
              offsetof(DDRAWI_DDRAWSURFACE_LCL, lpDDPalette) == 36 &&
              offsetof(DDRAWI_DDRAWSURFACE_LCL, ddckCKSrcBlt) == 60 &&
              offsetof(DDRAWI_DDRAWSURFACE_LCL, dwReserved1) == 72);

inline constexpr DWORD DDRAWISURF_ATTACHED = 0x1, DDRAWISURF_IMPLICITCREATE = 0x2,
                       DDRAWISURF_ATTACHED_FROM = 0x8, DDRAWISURF_IMPLICITROOT = 0x10,
                       DDRAWISURF_PARTOFPRIMARYCHAIN = 0x20, DDRAWISURF_HASCKEYDESTBLT = 0x200,
                       DDRAWISURF_HASCKEYSRCBLT = 0x800, DDRAWISURF_HASPIXELFORMAT = 0x2000,
                       DDRAWISURF_HASOVERLAYDATA = 0x4000, DDRAWISURF_INVALID = 0x10000000;

struct DDRAWI_DDRAWPALETTE_INT {
    void* lpVtbl;
    DDRAWI_DDRAWPALETTE_LCL* lpLcl;
    DDRAWI_DDRAWPALETTE_INT* lpLink;
    DWORD dwIntRefCnt;
};
static_assert(sizeof(DDRAWI_DDRAWPALETTE_INT) == 16 &&
              offsetof(DDRAWI_DDRAWPALETTE_INT, lpLcl) == 4);

struct DDRAWI_DDRAWPALETTE_GBL {
    DWORD dwRefCnt, dwFlags;
    DDRAWI_DIRECTDRAW_LCL* lpDD_lcl;
    DWORD dwProcessId;
    PALETTEENTRY* lpColorTable;
    union {
        ULONG_PTR dwReserved1; // display driver's
        HANDLE hHELGDIPalette;
    };
    DWORD dwDriverReserved, dwContentsStamp, dwSaveStamp, dwHandle;
};
static_assert(sizeof(DDRAWI_DDRAWPALETTE_GBL) == 40 &&
              offsetof(DDRAWI_DDRAWPALETTE_GBL, dwFlags) == 4 &&
              offsetof(DDRAWI_DDRAWPALETTE_GBL, lpColorTable) == 16);

inline constexpr DWORD DDRAWIPAL_256 = 0x1, DDRAWIPAL_16 = 0x2;

struct DDRAWI_DDRAWPALETTE_LCL {
    DWORD lpPalMore;
    DDRAWI_DDRAWPALETTE_GBL* lpGbl;
    ULONG_PTR dwUnused0;
    DWORD dwLocalRefCnt;
    void* pUnkOuter;
    DDRAWI_DIRECTDRAW_LCL* lpDD_lcl;
    ULONG_PTR dwReserved1, dwDDRAWReserved1, dwDDRAWReserved2, dwDDRAWReserved3;
};
static_assert(sizeof(DDRAWI_DDRAWPALETTE_LCL) == 40 &&
              offsetof(DDRAWI_DDRAWPALETTE_LCL, lpGbl) == 4);

// Arguments of the callbacks. The member named after the callback is the entry being called.

struct DDHAL_CREATESURFACEDATA {
    DDRAWI_DIRECTDRAW_GBL* lpDD;
    DDSURFACEDESC* lpDDSurfaceDesc;
    DDRAWI_DDRAWSURFACE_LCL** lplpSList;
    DWORD dwSCnt;
    HRESULT ddRVal;
    LPDDHAL_CREATESURFACE CreateSurface;
};
static_assert(sizeof(DDHAL_CREATESURFACEDATA) == 24 &&
              offsetof(DDHAL_CREATESURFACEDATA, lplpSList) == 8 &&
              offsetof(DDHAL_CREATESURFACEDATA, dwSCnt) == 12 &&
              offsetof(DDHAL_CREATESURFACEDATA, ddRVal) == 16);

struct DDHAL_CANCREATESURFACEDATA {
    DDRAWI_DIRECTDRAW_GBL* lpDD;
    DDSURFACEDESC* lpDDSurfaceDesc;
    DWORD bIsDifferentPixelFormat;
    HRESULT ddRVal;
    LPDDHAL_CANCREATESURFACE CanCreateSurface;
};
static_assert(sizeof(DDHAL_CANCREATESURFACEDATA) == 20 &&
              offsetof(DDHAL_CANCREATESURFACEDATA, lpDDSurfaceDesc) == 4 &&
              offsetof(DDHAL_CANCREATESURFACEDATA, bIsDifferentPixelFormat) == 8 &&
              offsetof(DDHAL_CANCREATESURFACEDATA, ddRVal) == 12);

struct DDHAL_WAITFORVERTICALBLANKDATA {
    DDRAWI_DIRECTDRAW_GBL* lpDD;
    DWORD dwFlags, bIsInVB;
    ULONG_PTR hEvent;
    HRESULT ddRVal;
    LPDDHAL_WAITFORVERTICALBLANK WaitForVerticalBlank;
};
static_assert(sizeof(DDHAL_WAITFORVERTICALBLANKDATA) == 24 &&
              offsetof(DDHAL_WAITFORVERTICALBLANKDATA, dwFlags) == 4 &&
              offsetof(DDHAL_WAITFORVERTICALBLANKDATA, bIsInVB) == 8 &&
              offsetof(DDHAL_WAITFORVERTICALBLANKDATA, ddRVal) == 16);

struct DDHAL_GETSCANLINEDATA {
    DDRAWI_DIRECTDRAW_GBL* lpDD;
    DWORD dwScanLine;
    HRESULT ddRVal;
    LPDDHAL_GETSCANLINE GetScanLine;
};
static_assert(sizeof(DDHAL_GETSCANLINEDATA) == 16 &&
              offsetof(DDHAL_GETSCANLINEDATA, dwScanLine) == 4 &&
              offsetof(DDHAL_GETSCANLINEDATA, ddRVal) == 8);

struct DDHAL_DESTROYSURFACEDATA {
    DDRAWI_DIRECTDRAW_GBL* lpDD;
    DDRAWI_DDRAWSURFACE_LCL* lpDDSurface;
    HRESULT ddRVal;
    LPDDHALSURFCB_DESTROYSURFACE DestroySurface;
};
static_assert(sizeof(DDHAL_DESTROYSURFACEDATA) == 16 &&
              offsetof(DDHAL_DESTROYSURFACEDATA, lpDDSurface) == 4 &&
              offsetof(DDHAL_DESTROYSURFACEDATA, ddRVal) == 8);

struct DDHAL_FLIPDATA {
    DDRAWI_DIRECTDRAW_GBL* lpDD;
    DDRAWI_DDRAWSURFACE_LCL *lpSurfCurr, *lpSurfTarg;
    DWORD dwFlags;
    HRESULT ddRVal;
    LPDDHALSURFCB_FLIP Flip;
    DDRAWI_DDRAWSURFACE_LCL *lpSurfCurrLeft, *lpSurfTargLeft;
};
static_assert(sizeof(DDHAL_FLIPDATA) == 32 && offsetof(DDHAL_FLIPDATA, lpSurfCurr) == 4 &&
              offsetof(DDHAL_FLIPDATA, lpSurfTarg) == 8 &&
              offsetof(DDHAL_FLIPDATA, dwFlags) == 12 && offsetof(DDHAL_FLIPDATA, ddRVal) == 16);

struct DDHAL_LOCKDATA {
    DDRAWI_DIRECTDRAW_GBL* lpDD;
    DDRAWI_DDRAWSURFACE_LCL* lpDDSurface;
    DWORD bHasRect;
    RECTL rArea;
    void* lpSurfData;
    HRESULT ddRVal;
    LPDDHALSURFCB_LOCK Lock;
    DWORD dwFlags;
};
static_assert(sizeof(DDHAL_LOCKDATA) == 44 && offsetof(DDHAL_LOCKDATA, bHasRect) == 8 &&
              offsetof(DDHAL_LOCKDATA, rArea) == 12 && offsetof(DDHAL_LOCKDATA, lpSurfData) == 28 &&
              offsetof(DDHAL_LOCKDATA, ddRVal) == 32 && offsetof(DDHAL_LOCKDATA, dwFlags) == 40);

struct DDHAL_UNLOCKDATA {
    DDRAWI_DIRECTDRAW_GBL* lpDD;
    DDRAWI_DDRAWSURFACE_LCL* lpDDSurface;
    HRESULT ddRVal;
    LPDDHALSURFCB_UNLOCK Unlock;
};
static_assert(sizeof(DDHAL_UNLOCKDATA) == 16);

struct DDHAL_BLTDATA {
    DDRAWI_DIRECTDRAW_GBL* lpDD;
    DDRAWI_DDRAWSURFACE_LCL* lpDDDestSurface;
    RECTL rDest;
    DDRAWI_DDRAWSURFACE_LCL* lpDDSrcSurface;
    RECTL rSrc;
    DWORD dwFlags, dwROPFlags;
    DDBLTFX bltFX;
    HRESULT ddRVal;
    LPDDHALSURFCB_BLT Blt;
    BOOL IsClipped;
    RECTL rOrigDest, rOrigSrc;
    DWORD dwRectCnt;
    RECT* prDestRects;
};
static_assert(sizeof(DDHAL_BLTDATA) == 204 && offsetof(DDHAL_BLTDATA, lpDDDestSurface) == 4 &&
              offsetof(DDHAL_BLTDATA, rDest) == 8 &&
              offsetof(DDHAL_BLTDATA, lpDDSrcSurface) == 24 &&
              offsetof(DDHAL_BLTDATA, rSrc) == 28 && offsetof(DDHAL_BLTDATA, dwFlags) == 44 &&
              offsetof(DDHAL_BLTDATA, bltFX) == 52 && offsetof(DDHAL_BLTDATA, ddRVal) == 152);

struct DDHAL_SETCOLORKEYDATA {
    DDRAWI_DIRECTDRAW_GBL* lpDD;
    DDRAWI_DDRAWSURFACE_LCL* lpDDSurface;
    DWORD dwFlags;
    DDCOLORKEY ckNew;
    HRESULT ddRVal;
    LPDDHALSURFCB_SETCOLORKEY SetColorKey;
};
static_assert(sizeof(DDHAL_SETCOLORKEYDATA) == 28 && offsetof(DDHAL_SETCOLORKEYDATA, ckNew) == 12 &&
              offsetof(DDHAL_SETCOLORKEYDATA, ddRVal) == 20);

struct DDHAL_GETBLTSTATUSDATA {
    DDRAWI_DIRECTDRAW_GBL* lpDD;
    DDRAWI_DDRAWSURFACE_LCL* lpDDSurface;
    DWORD dwFlags;
    HRESULT ddRVal;
    LPDDHALSURFCB_GETBLTSTATUS GetBltStatus;
};
static_assert(sizeof(DDHAL_GETBLTSTATUSDATA) == 20 &&
              offsetof(DDHAL_GETBLTSTATUSDATA, lpDDSurface) == 4 &&
              offsetof(DDHAL_GETBLTSTATUSDATA, dwFlags) == 8 &&
              offsetof(DDHAL_GETBLTSTATUSDATA, ddRVal) == 12);

struct DDHAL_GETFLIPSTATUSDATA {
    DDRAWI_DIRECTDRAW_GBL* lpDD;
    DDRAWI_DDRAWSURFACE_LCL* lpDDSurface;
    DWORD dwFlags;
    HRESULT ddRVal;
    LPDDHALSURFCB_GETFLIPSTATUS GetFlipStatus;
};
static_assert(sizeof(DDHAL_GETFLIPSTATUSDATA) == 20 &&
              offsetof(DDHAL_GETFLIPSTATUSDATA, dwFlags) == 8 &&
              offsetof(DDHAL_GETFLIPSTATUSDATA, ddRVal) == 12);

struct DDHAL_UPDATEOVERLAYDATA {
    DDRAWI_DIRECTDRAW_GBL* lpDD;
    DDRAWI_DDRAWSURFACE_LCL* lpDDDestSurface;
    RECTL rDest;
    DDRAWI_DDRAWSURFACE_LCL* lpDDSrcSurface;
    RECTL rSrc;
    DWORD dwFlags;
    DDOVERLAYFX overlayFX;
    HRESULT ddRVal;
    LPDDHALSURFCB_UPDATEOVERLAY UpdateOverlay;
};
static_assert(sizeof(DDHAL_UPDATEOVERLAYDATA) == 112 &&
              offsetof(DDHAL_UPDATEOVERLAYDATA, ddRVal) == 104);

struct SURFACEALIGNMENT {
    struct LINEAR {
        DWORD dwStartAlignment, dwPitchAlignment, dwFlags, dwReserved2; // bytes
    };
    struct RECTANGULAR {
        DWORD dwXAlignment, dwYAlignment, dwFlags, dwReserved2;
    };
    union {
        LINEAR Linear;
        RECTANGULAR Rectangular;
    };
};
static_assert(sizeof(SURFACEALIGNMENT) == 16);

struct HEAPALIGNMENT {
    DWORD dwSize;
    DDSCAPS ddsCaps; // which of the alignments below are given
    DWORD dwReserved;
    SURFACEALIGNMENT ExecuteBuffer, Overlay, Texture, ZBuffer, AlphaBuffer, Offscreen, FlipTarget;
};
static_assert(sizeof(HEAPALIGNMENT) == 124 && offsetof(HEAPALIGNMENT, ddsCaps) == 4 &&
              offsetof(HEAPALIGNMENT, FlipTarget) == 108);

struct DDHAL_GETHEAPALIGNMENTDATA {
    ULONG_PTR dwInstance; // dwReserved3 of the DirectDraw global object
    DWORD dwHeap;
    HRESULT ddRVal;
    LPDDHAL_GETHEAPALIGNMENT GetHeapAlignment;
    HEAPALIGNMENT Alignment;
};
static_assert(sizeof(DDHAL_GETHEAPALIGNMENTDATA) == 140 &&
              offsetof(DDHAL_GETHEAPALIGNMENTDATA, dwHeap) == 4 &&
              offsetof(DDHAL_GETHEAPALIGNMENTDATA, ddRVal) == 8 &&
              offsetof(DDHAL_GETHEAPALIGNMENTDATA, Alignment) == 16);

struct DDHAL_UPDATENONLOCALHEAPDATA {
    DDRAWI_DIRECTDRAW_GBL* lpDD;
    DWORD dwHeap;
    FLATPTR fpGARTLin, fpGARTDev; // linear and bus address of the heap's start
    ULONG_PTR ulPolicyMaxBytes;
    HRESULT ddRVal;
    LPDDHAL_UPDATENONLOCALHEAP UpdateNonLocalHeap;
};
static_assert(sizeof(DDHAL_UPDATENONLOCALHEAPDATA) == 28 &&
              offsetof(DDHAL_UPDATENONLOCALHEAPDATA, fpGARTLin) == 8 &&
              offsetof(DDHAL_UPDATENONLOCALHEAPDATA, fpGARTDev) == 12 &&
              offsetof(DDHAL_UPDATENONLOCALHEAPDATA, ddRVal) == 20);

struct DDHAL_GETAVAILDRIVERMEMORYDATA {
    DDRAWI_DIRECTDRAW_GBL* lpDD;
    DDSCAPS DDSCaps;
    DWORD dwTotal, dwFree; // bytes
    HRESULT ddRVal;
    LPDDHAL_GETAVAILDRIVERMEMORY GetAvailDriverMemory;
    DDSCAPSEX ddsCapsEx;
};
static_assert(sizeof(DDHAL_GETAVAILDRIVERMEMORYDATA) == 36 &&
              offsetof(DDHAL_GETAVAILDRIVERMEMORYDATA, DDSCaps) == 4 &&
              offsetof(DDHAL_GETAVAILDRIVERMEMORYDATA, dwTotal) == 8 &&
              offsetof(DDHAL_GETAVAILDRIVERMEMORYDATA, dwFree) == 12 &&
              offsetof(DDHAL_GETAVAILDRIVERMEMORYDATA, ddRVal) == 16);

struct DDHAL_SYNCSURFACEDATA {
    DWORD dwSize;
    DDRAWI_DIRECTDRAW_LCL* lpDD;
    DDRAWI_DDRAWSURFACE_LCL* lpDDSurface;
    DWORD dwSurfaceOffset;
    ULONG_PTR fpLockPtr;
    LONG lPitch;
    DWORD dwOverlayOffset;
    DWORD dwOverlaySrcWidth, dwOverlaySrcHeight, dwOverlayDestWidth, dwOverlayDestHeight;
    ULONG_PTR dwDriverReserved1, dwDriverReserved2, dwDriverReserved3;
    HRESULT ddRVal;
};
static_assert(sizeof(DDHAL_SYNCSURFACEDATA) == 60 && offsetof(DDHAL_SYNCSURFACEDATA, ddRVal) == 56);

struct DDHAL_SYNCVIDEOPORTDATA {
    DWORD dwSize;
    DDRAWI_DIRECTDRAW_LCL* lpDD;
    DDRAWI_DDVIDEOPORT_LCL* lpVideoPort;
    DWORD dwOriginOffset, dwHeight, dwVBIHeight;
    ULONG_PTR dwDriverReserved1, dwDriverReserved2, dwDriverReserved3;
    HRESULT ddRVal;
};
static_assert(sizeof(DDHAL_SYNCVIDEOPORTDATA) == 40 &&
              offsetof(DDHAL_SYNCVIDEOPORTDATA, ddRVal) == 36);
