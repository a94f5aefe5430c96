// The records of driver/platform/ against those of the toolchain's own headers: same size, and
// every field at the same offset with the same size. Compiling is the test.
#include <cstddef>
#include <cstdint>

// The two sides have C functions of the same names with differently spelled types; ours step aside.
#define CreateFileA Ours_CreateFileA
#define DeviceIoControl Ours_DeviceIoControl
#define CloseHandle Ours_CloseHandle
#define GetSystemInfo Ours_GetSystemInfo
#define HeapCreate Ours_HeapCreate
#define HeapAlloc Ours_HeapAlloc
#define HeapFree Ours_HeapFree
#define GetModuleHandleA Ours_GetModuleHandleA
#define DisableThreadLibraryCalls Ours_DisableThreadLibraryCalls
#define lstrcpyA Ours_lstrcpyA
#define lstrcatA Ours_lstrcatA
#define OpenSemaphoreA Ours_OpenSemaphoreA
#define WaitForSingleObject Ours_WaitForSingleObject
#define ReleaseSemaphore Ours_ReleaseSemaphore
#define OpenFileMappingA Ours_OpenFileMappingA
#define MapViewOfFile Ours_MapViewOfFile
#define UnmapViewOfFile Ours_UnmapViewOfFile
#define timeGetTime Ours_timeGetTime
#define RegOpenKeyExA Ours_RegOpenKeyExA
#define RegQueryValueExA Ours_RegQueryValueExA
#define RegSetValueExA Ours_RegSetValueExA
#define DCIBeginAccess Ours_DCIBeginAccess
#define DCIEndAccess Ours_DCIEndAccess
namespace ours {
#include "driver/platform/d3dhal.h"
}
#undef CreateFileA
#undef DeviceIoControl
#undef CloseHandle
#undef GetSystemInfo
#undef HeapCreate
#undef HeapAlloc
#undef HeapFree
#undef GetModuleHandleA
#undef DisableThreadLibraryCalls
#undef lstrcpyA
#undef lstrcatA
#undef OpenSemaphoreA
#undef WaitForSingleObject
#undef ReleaseSemaphore
#undef OpenFileMappingA
#undef MapViewOfFile
#undef UnmapViewOfFile
#undef timeGetTime
#undef RegOpenKeyExA
#undef RegQueryValueExA
#undef RegSetValueExA
#undef DCIBeginAccess
#undef DCIEndAccess
#undef INVALID_HANDLE_VALUE
#undef HKEY_LOCAL_MACHINE

// Each of these builds on those before it.
// clang-format off
#include <windows.h>
#include <mmsystem.h>
#include <ddraw.h>
#include <dmemmgr.h>
#include <ddrawi.h>
#include <d3d.h>
#include <d3dhal.h>
#include <dciman.h>
// clang-format on

namespace {

struct Extent {
    size_t offset, size;
};

// True if the fields leave no byte of the record out, so that none is missing from its list.
template <size_t Bytes, size_t Count>
constexpr bool Cover(const Extent (&fields)[Count]) {
    bool seen[Bytes]{};
    for (const Extent& field : fields) {
        for (size_t i = 0; i < field.size; ++i) {
            seen[field.offset + i] = true;
        }
    }
    for (bool byte : seen) {
        if (!byte) {
            return false;
        }
    }
    return true;
}

} // namespace

// Calls M(record, field) for each field.
#define KORV_PARENS ()
#define KORV_EXPAND(...) KORV_EXPAND3(KORV_EXPAND3(KORV_EXPAND3(KORV_EXPAND3(__VA_ARGS__))))
#define KORV_EXPAND3(...) KORV_EXPAND2(KORV_EXPAND2(KORV_EXPAND2(KORV_EXPAND2(__VA_ARGS__))))
#define KORV_EXPAND2(...) KORV_EXPAND1(KORV_EXPAND1(KORV_EXPAND1(KORV_EXPAND1(__VA_ARGS__))))
#define KORV_EXPAND1(...) KORV_EXPAND0(KORV_EXPAND0(__VA_ARGS__))
#define KORV_EXPAND0(...) __VA_ARGS__
#define KORV_EACH(M, record, ...) __VA_OPT__(KORV_EXPAND(KORV_EACH1(M, record, __VA_ARGS__)))
#define KORV_EACH1(M, record, field, ...)                                                          \
    M(record, field) __VA_OPT__(KORV_EACH2 KORV_PARENS(M, record, __VA_ARGS__))
#define KORV_EACH2() KORV_EACH1

#define KORV_UNWRAP(...) __VA_ARGS__
#define KORV_SAME_FIELD(records, field) KORV_SAME_FIELD_OF(KORV_UNWRAP records, field)
#define KORV_SAME_FIELD_OF(...) KORV_SAME_FIELD_IN(__VA_ARGS__)
#define KORV_SAME_FIELD_IN(record, published, field)                                               \
    static_assert(offsetof(ours::record, field) == offsetof(published, field));                    \
    static_assert(sizeof(ours::record::field) == sizeof(published::field));
#define KORV_EXTENT(record, field)                                                                 \
    Extent{offsetof(ours::record, field), sizeof(ours::record::field)},
// A record that the published headers know under another name.
#define SAME_AS(record, published, ...)                                                            \
    static_assert(sizeof(ours::record) == sizeof(published));                                      \
    static_assert(alignof(ours::record) == alignof(published));                                    \
    KORV_EACH(KORV_SAME_FIELD, (record, published), __VA_ARGS__)                                   \
    static_assert(Cover<sizeof(ours::record)>({KORV_EACH(KORV_EXTENT, record, __VA_ARGS__)}));
#define SAME(record, ...) SAME_AS(record, record, __VA_ARGS__)

// Not compared, as the published headers only name them or lack them: D3DHAL_CLEARDATA,
// D3DHAL_RENDERPRIMITIVEDATA, D3DHAL_RENDERSTATEDATA, D3DHAL_TEXTURECREATEDATA,
// D3DHAL_TEXTUREDESTROYDATA, D3DHAL_TEXTUREGETSURFDATA, D3DHAL_TEXTURESWAPDATA,
// DDHAL_DDKERNELCALLBACKS, DDHAL_GETAVAILDRIVERMEMORYDATA, DDHAL_GETBLTSTATUSDATA,
// DDHAL_GETFLIPSTATUSDATA, DDHAL_GETSCANLINEDATA, DDHAL_SETCOLORKEYDATA, DDHAL_SYNCSURFACEDATA,
// DDHAL_SYNCVIDEOPORTDATA, DDHAL_UPDATENONLOCALHEAPDATA, DDHAL_WAITFORVERTICALBLANKDATA.

SAME(GUID, Data1, Data2, Data3, Data4)
SAME(POINT, x, y)
SAME(RECT, left, top, right, bottom)
SAME(PALETTEENTRY, peRed, peGreen, peBlue, peFlags)
SAME(SYSTEM_INFO, dwOemId, dwPageSize, lpMinimumApplicationAddress, lpMaximumApplicationAddress,
     dwActiveProcessorMask, dwNumberOfProcessors, dwProcessorType, dwAllocationGranularity,
     wProcessorLevel, wProcessorRevision)
SAME(DCISURFACEINFO, dwSize, dwDCICaps, dwCompression, dwMask, dwWidth, dwHeight, lStride,
     dwBitCount, dwOffSurface, wSelSurface, wReserved, dwReserved1, dwReserved2, dwReserved3,
     BeginAccess, EndAccess, DestroySurface)
SAME(DDSCAPS, dwCaps)
SAME(DDSCAPSEX, dwCaps2, dwCaps3, dwCaps4, dwVolumeDepth)
SAME(DDCOLORKEY, dwColorSpaceLowValue, dwColorSpaceHighValue)
SAME(DDPIXELFORMAT, dwSize, dwFlags, dwFourCC, dwRGBBitCount, dwYUVBitCount, dwZBufferBitDepth,
     dwAlphaBitDepth, dwRBitMask, dwYBitMask, dwStencilBitDepth, dwGBitMask, dwUBitMask, dwZBitMask,
     dwBBitMask, dwVBitMask, dwStencilBitMask, dwRGBAlphaBitMask, dwYUVAlphaBitMask, dwRGBZBitMask,
     dwYUVZBitMask)
SAME(DDSURFACEDESC, dwSize, dwFlags, dwHeight, dwWidth, lPitch, dwLinearSize, dwBackBufferCount,
     dwMipMapCount, dwZBufferBitDepth, dwRefreshRate, dwAlphaBitDepth, dwReserved, lpSurface,
     ddckCKDestOverlay, ddckCKDestBlt, ddckCKSrcOverlay, ddckCKSrcBlt, ddpfPixelFormat, ddsCaps)
SAME(DDBLTFX, dwSize, dwDDFX, dwROP, dwDDROP, dwRotationAngle, dwZBufferOpCode, dwZBufferLow,
     dwZBufferHigh, dwZBufferBaseDest, dwZDestConstBitDepth, dwZDestConst, lpDDSZBufferDest,
     dwZSrcConstBitDepth, dwZSrcConst, lpDDSZBufferSrc, dwAlphaEdgeBlendBitDepth, dwAlphaEdgeBlend,
     dwReserved, dwAlphaDestConstBitDepth, dwAlphaDestConst, lpDDSAlphaDest,
     dwAlphaSrcConstBitDepth, dwAlphaSrcConst, lpDDSAlphaSrc, dwFillColor, dwFillDepth, dwFillPixel,
     lpDDSPattern, ddckDestColorkey, ddckSrcColorkey)
SAME(DDOVERLAYFX, dwSize, dwAlphaEdgeBlendBitDepth, dwAlphaEdgeBlend, dwReserved,
     dwAlphaDestConstBitDepth, dwAlphaDestConst, lpDDSAlphaDest, dwAlphaSrcConstBitDepth,
     dwAlphaSrcConst, lpDDSAlphaSrc, dckDestColorkey, dckSrcColorkey, dwDDFX, dwFlags)
SAME(DDHALMODEINFO, dwWidth, dwHeight, lPitch, dwBPP, wFlags, wRefreshRate, dwRBitMask, dwGBitMask,
     dwBBitMask, dwAlphaBitMask)
SAME(VIDMEM, dwFlags, fpStart, fpEnd, dwWidth, ddsCaps, ddsCapsAlt, lpHeap, dwHeight)
SAME(VIDMEMINFO, fpPrimary, dwFlags, dwDisplayWidth, dwDisplayHeight, lDisplayPitch, ddpfDisplay,
     dwOffscreenAlign, dwOverlayAlign, dwTextureAlign, dwZBufferAlign, dwAlphaAlign, dwNumHeaps,
     pvmList)
SAME(DDCORECAPS, dwSize, dwCaps, dwCaps2, dwCKeyCaps, dwFXCaps, dwFXAlphaCaps, dwPalCaps, dwSVCaps,
     dwAlphaBltConstBitDepths, dwAlphaBltPixelBitDepths, dwAlphaBltSurfaceBitDepths,
     dwAlphaOverlayConstBitDepths, dwAlphaOverlayPixelBitDepths, dwAlphaOverlaySurfaceBitDepths,
     dwZBufferBitDepths, dwVidMemTotal, dwVidMemFree, dwMaxVisibleOverlays, dwCurrVisibleOverlays,
     dwNumFourCCCodes, dwAlignBoundarySrc, dwAlignSizeSrc, dwAlignBoundaryDest, dwAlignSizeDest,
     dwAlignStrideAlign, dwRops, ddsCaps, dwMinOverlayStretch, dwMaxOverlayStretch,
     dwMinLiveVideoStretch, dwMaxLiveVideoStretch, dwMinHwCodecStretch, dwMaxHwCodecStretch,
     dwReserved1, dwReserved2, dwReserved3, dwSVBCaps, dwSVBCKeyCaps, dwSVBFXCaps, dwSVBRops,
     dwVSBCaps, dwVSBCKeyCaps, dwVSBFXCaps, dwVSBRops, dwSSBCaps, dwSSBCKeyCaps, dwSSBFXCaps,
     dwSSBRops, dwMaxVideoPorts, dwCurrVideoPorts, dwSVBCaps2)
SAME(DDHAL_DDCALLBACKS, dwSize, dwFlags, DestroyDriver, CreateSurface, SetColorKey, SetMode,
     WaitForVerticalBlank, CanCreateSurface, CreatePalette, GetScanLine, SetExclusiveMode,
     FlipToGDISurface)
SAME(DDHAL_DDSURFACECALLBACKS, dwSize, dwFlags, DestroySurface, Flip, SetClipList, Lock, Unlock,
     Blt, SetColorKey, AddAttachedSurface, GetBltStatus, GetFlipStatus, UpdateOverlay,
     SetOverlayPosition, reserved4, SetPalette)
SAME(DDHAL_DDPALETTECALLBACKS, dwSize, dwFlags, DestroyPalette, SetEntries)
SAME(DDHAL_DDEXEBUFCALLBACKS, dwSize, dwFlags, CanCreateExecuteBuffer, CreateExecuteBuffer,
     DestroyExecuteBuffer, LockExecuteBuffer, UnlockExecuteBuffer)
SAME(DDHAL_DDMISCELLANEOUSCALLBACKS, dwSize, dwFlags, GetAvailDriverMemory, UpdateNonLocalHeap,
     GetHeapAlignment, GetSysmemBltStatus)
SAME(DDHAL_GETDRIVERINFODATA, dwSize, dwFlags, guidInfo, dwExpectedSize, lpvData, dwActualSize,
     ddRVal, dwContext)
SAME(DDHALINFO, dwSize, lpDDCallbacks, lpDDSurfaceCallbacks, lpDDPaletteCallbacks, vmiData, ddCaps,
     dwMonitorFrequency, GetDriverInfo, dwModeIndex, lpdwFourCC, dwNumModes, lpModeInfo, dwFlags,
     lpPDevice, hInstance, lpD3DGlobalDriverData, lpD3DHALCallbacks, lpDDExeBufCallbacks)
SAME(PROCESS_LIST, lpLink, dwProcessId, dwRefCnt, dwAlphaDepth, dwZDepth)
SAME(ATTACHLIST, dwFlags, lpLink, lpAttached, lpIAttached)
SAME(DBLNODE, next, prev, object, object_int)
SAME(DDRAWI_DIRECTDRAW_INT, lpVtbl, lpLcl, lpLink, dwIntRefCnt)
SAME(DDRAWI_DIRECTDRAW_LCL, lpDDMore, lpGbl, dwUnused0, dwLocalFlags, dwLocalRefCnt, dwProcessId,
     pUnkOuter, dwObsolete1, hWnd, hDC, dwErrorMode, lpPrimary, lpCB, dwPreferredMode, hD3DInstance,
     pD3DIUnknown, lpDDCB, hDDVxd, dwAppHackFlags, hFocusWnd, dwHotTracking, dwIMEState, hWndPopup,
     hDD, hGammaCalibrator, lpGammaCalibrator)
SAME(DDRAWI_DIRECTDRAW_GBL, dwRefCnt, dwFlags, fpPrimaryOrig, ddCaps, dwInternal1, dwUnused1,
     lpDDCBtmp, dsList, palList, clipperList, lp16DD, dwMaxOverlays, dwCurrOverlays,
     dwMonitorFrequency, ddHELCaps, dwUnused2, ddckCKDestOverlay, ddckCKSrcOverlay, vmiData,
     lpDriverHandle, lpExclusiveOwner, dwModeIndex, dwModeIndexOrig, dwNumFourCC, lpdwFourCC,
     dwNumModes, lpModeInfo, plProcessList, dwSurfaceLockCount, dwAliasedLockCnt, dwReserved3, hDD,
     cObsolete, dwReserved1, dwReserved2, dbnOverlayRoot, lpwPDeviceFlags, dwPDevice,
     dwWin16LockCnt, dwUnused3, hInstance, dwEvent16, dwSaveNumModes, lpD3DGlobalDriverData,
     lpD3DHALCallbacks, ddBothCaps, lpDDVideoPortCaps, dvpList, lpD3DHALCallbacks2, rectDevice,
     cMonitors, gpbmiSrc, gpbmiDest, phaiHeapAliases, hKernelHandle, pfnNotifyProc, lpDDKernelCaps,
     lpddNLVCaps, lpddNLVHELCaps, lpddNLVBothCaps, lpD3DExtendedCaps, dwDOSBoxEvent, rectDesktop,
     cDriverName, lpD3DHALCallbacks3, dwNumZPixelFormats, lpZPixelFormats, mcList, hDDVxd,
     ddsCapsMore)
SAME(DDRAWI_DDRAWSURFACE_INT, lpVtbl, lpLcl, lpLink, dwIntRefCnt)
SAME(DDRAWI_DDRAWSURFACE_GBL, dwRefCnt, dwGlobalFlags, lpRectList, dwBlockSizeY, lpVidMemHeap,
     dwBlockSizeX, lpDD, lpDDHandle, fpVidMem, lPitch, dwLinearSize, wHeight, wWidth, dwUsageCount,
     dwReserved1, ddpfSurface)
SAME(DDRAWI_DDRAWSURFACE_GBL_MORE, dwSize, dwPhysicalPageTable, fpPhysicalVidMem, pPageTable,
     cPages, dwSavedDCContext, fpAliasedVidMem, dwDriverReserved, dwHELReserved, cPageUnlocks,
     hKernelSurface, dwKernelRefCnt, lpColorInfo, fpNTAlias, dwContentsStamp,
     lpvUnswappedDriverReserved, lpDDRAWReserved2, dwDDRAWReserved1, dwDDRAWReserved2,
     fpAliasOfVidMem)
SAME(DDRAWI_DDRAWSURFACE_MORE, dwSize, lpIUnknowns, lpDD_lcl, dwPageLockCount, dwBytesAllocated,
     lpDD_int, dwMipMapCount, lpDDIClipper, lpHeapAliasInfo, dwOverlayFlags, rgjunc, lpVideoPort,
     lpddOverlayFX, ddsCapsEx, dwTextureStage, lpDDRAWReserved, lpDDRAWReserved2, lpDDrawReserved3,
     dwDDrawReserved4, lpDDrawReserved5, lpGammaRamp, lpOriginalGammaRamp, lpDDrawReserved6,
     dwSurfaceHandle, qwDDrawReserved8, lpDDrawReserved9, cSurfaces, pCreatedDDSurfaceDesc2, slist,
     dwFVF, lpVB)
SAME(DDRAWI_DDRAWSURFACE_LCL, lpSurfMore, lpGbl, hDDSurface, lpAttachList, lpAttachListFrom,
     dwLocalRefCnt, dwProcessId, dwFlags, ddsCaps, lpDDPalette, lpDDClipper, dwModeCreatedIn,
     dwBackBufferCount, ddckCKDestBlt, ddckCKSrcBlt, hDC, dwReserved1, ddckCKSrcOverlay,
     ddckCKDestOverlay, lpSurfaceOverlaying, dbnOverlayNode, rcOverlaySrc, rcOverlayDest,
     dwClrXparent, dwAlpha, lOverlayX, lOverlayY)
SAME(DDRAWI_DDRAWPALETTE_INT, lpVtbl, lpLcl, lpLink, dwIntRefCnt)
SAME(DDRAWI_DDRAWPALETTE_GBL, dwRefCnt, dwFlags, lpDD_lcl, dwProcessId, lpColorTable, dwReserved1,
     hHELGDIPalette, dwDriverReserved, dwContentsStamp, dwSaveStamp, dwHandle)
SAME(DDRAWI_DDRAWPALETTE_LCL, lpPalMore, lpGbl, dwUnused0, dwLocalRefCnt, pUnkOuter, lpDD_lcl,
     dwReserved1, dwDDRAWReserved1, dwDDRAWReserved2, dwDDRAWReserved3)
SAME(DDHAL_CREATESURFACEDATA, lpDD, lpDDSurfaceDesc, lplpSList, dwSCnt, ddRVal, CreateSurface)
SAME(DDHAL_CANCREATESURFACEDATA, lpDD, lpDDSurfaceDesc, bIsDifferentPixelFormat, ddRVal,
     CanCreateSurface)
SAME(DDHAL_DESTROYSURFACEDATA, lpDD, lpDDSurface, ddRVal, DestroySurface)
SAME(DDHAL_FLIPDATA, lpDD, lpSurfCurr, lpSurfTarg, dwFlags, ddRVal, Flip, lpSurfCurrLeft,
     lpSurfTargLeft)
SAME(DDHAL_LOCKDATA, lpDD, lpDDSurface, bHasRect, rArea, lpSurfData, ddRVal, Lock, dwFlags)
SAME(DDHAL_UNLOCKDATA, lpDD, lpDDSurface, ddRVal, Unlock)
SAME(DDHAL_BLTDATA, lpDD, lpDDDestSurface, rDest, lpDDSrcSurface, rSrc, dwFlags, dwROPFlags, bltFX,
     ddRVal, Blt, IsClipped, rOrigDest, rOrigSrc, dwRectCnt, prDestRects)
SAME(DDHAL_UPDATEOVERLAYDATA, lpDD, lpDDDestSurface, rDest, lpDDSrcSurface, rSrc, dwFlags,
     overlayFX, ddRVal, UpdateOverlay)
SAME(SURFACEALIGNMENT, Linear, Rectangular)
SAME(HEAPALIGNMENT, dwSize, ddsCaps, dwReserved, ExecuteBuffer, Overlay, Texture, ZBuffer,
     AlphaBuffer, Offscreen, FlipTarget)
SAME_AS(DDHAL_GETHEAPALIGNMENTDATA, DD_GETHEAPALIGNMENTDATA, dwInstance, dwHeap, ddRVal,
        GetHeapAlignment, Alignment)
SAME(D3DRECT, x1, y1, x2, y2)
SAME(D3DINSTRUCTION, bOpcode, bSize, wCount)
SAME(D3DTLVERTEX, sx, sy, sz, rhw, color, specular, tu, tv)
SAME(D3DTRIANGLE, v1, wV1, v2, wV2, v3, wV3, wFlags)
SAME(D3DLINE, v1, wV1, v2, wV2)
SAME(D3DPOINT, wCount, wFirst)
SAME(D3DSTATE, drstRenderStateType, dwArg, dvArg)
SAME(D3DTRANSFORMCAPS, dwSize, dwCaps)
SAME(D3DLIGHTINGCAPS, dwSize, dwCaps, dwLightingModel, dwNumLights)
SAME(D3DPRIMCAPS, dwSize, dwMiscCaps, dwRasterCaps, dwZCmpCaps, dwSrcBlendCaps, dwDestBlendCaps,
     dwAlphaCmpCaps, dwShadeCaps, dwTextureCaps, dwTextureFilterCaps, dwTextureBlendCaps,
     dwTextureAddressCaps, dwStippleWidth, dwStippleHeight)
SAME_AS(D3DDEVICEDESC, D3DDEVICEDESC_V1, dwSize, dwFlags, dcmColorModel, dwDevCaps,
        dtcTransformCaps, bClipping, dlcLightingCaps, dpcLineCaps, dpcTriCaps,
        dwDeviceRenderBitDepth, dwDeviceZBufferBitDepth, dwMaxBufferSize, dwMaxVertexCount)
SAME(D3DHAL_GLOBALDRIVERDATA, dwSize, hwCaps, dwNumVertices, dwNumClipVertices, dwNumTextureFormats,
     lpTextureFormats)
SAME(D3DHAL_CONTEXTCREATEDATA, lpDDGbl, lpDDLcl, lpDDS, lpDDSLcl, lpDDSZ, lpDDSZLcl, dwPID,
     dwrstates, dwhContext, ddrval)
SAME(D3DHAL_CONTEXTDESTROYDATA, dwhContext, ddrval)
SAME(D3DHAL_CONTEXTDESTROYALLDATA, dwPID, ddrval)
SAME(D3DHAL_SCENECAPTUREDATA, dwhContext, dwFlag, ddrval)
SAME(D3DHAL_SETRENDERTARGETDATA, dwhContext, lpDDS, lpDDSLcl, lpDDSZ, lpDDSZLcl, ddrval)
SAME(D3DHAL_CALLBACKS, dwSize, ContextCreate, ContextDestroy, ContextDestroyAll, SceneCapture,
     lpReserved10, lpReserved11, RenderState, RenderPrimitive, dwReserved, TextureCreate,
     TextureDestroy, TextureSwap, TextureGetSurf, lpReserved12, lpReserved13, lpReserved14,
     lpReserved15, lpReserved16, lpReserved17, lpReserved18, lpReserved19, lpReserved20,
     lpReserved21, GetState, dwReserved0, dwReserved1, dwReserved2, dwReserved3, dwReserved4,
     dwReserved5, dwReserved6, dwReserved7, dwReserved8, dwReserved9)
SAME(D3DHAL_CALLBACKS2, dwSize, dwFlags, SetRenderTarget, Clear, DrawOnePrimitive,
     DrawOneIndexedPrimitive, DrawPrimitives)
