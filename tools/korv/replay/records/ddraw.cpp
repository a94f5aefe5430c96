#include "tools/korv/replay/records/fields.h"

namespace korv {

KORV_RECORD(RECT, KORV_FIELD(left), KORV_FIELD(top), KORV_FIELD(right), KORV_FIELD(bottom))
KORV_RECORD(DDSCAPS, KORV_FIELD(dwCaps))
KORV_RECORD(DDSCAPSEX, KORV_FIELD(dwCaps2), KORV_FIELD(dwCaps3), KORV_FIELD(dwCaps4),
            KORV_FIELD(dwVolumeDepth))
KORV_RECORD(DDCOLORKEY, KORV_FIELD(dwColorSpaceLowValue), KORV_FIELD(dwColorSpaceHighValue))
KORV_RECORD(DDPIXELFORMAT, KORV_FIELD(dwSize), KORV_FIELD(dwFlags), KORV_FIELD(dwFourCC),
            KORV_FIELD(dwRGBBitCount), KORV_FIELD(dwYUVBitCount), KORV_FIELD(dwZBufferBitDepth),
            KORV_FIELD(dwAlphaBitDepth), KORV_FIELD(dwRBitMask), KORV_FIELD(dwYBitMask),
            KORV_FIELD(dwStencilBitDepth), KORV_FIELD(dwGBitMask), KORV_FIELD(dwUBitMask),
            KORV_FIELD(dwZBitMask), KORV_FIELD(dwBBitMask), KORV_FIELD(dwVBitMask),
            KORV_FIELD(dwStencilBitMask), KORV_FIELD(dwRGBAlphaBitMask),
            KORV_FIELD(dwYUVAlphaBitMask), KORV_FIELD(dwRGBZBitMask), KORV_FIELD(dwYUVZBitMask))
KORV_RECORD(DDSURFACEDESC, KORV_FIELD(dwSize), KORV_FIELD(dwFlags), KORV_FIELD(dwHeight),
            KORV_FIELD(dwWidth), KORV_FIELD(lPitch), KORV_FIELD(dwLinearSize),
            KORV_FIELD(dwBackBufferCount), KORV_FIELD(dwMipMapCount), KORV_FIELD(dwZBufferBitDepth),
            KORV_FIELD(dwRefreshRate), KORV_FIELD(dwAlphaBitDepth), KORV_FIELD(dwReserved),
            KORV_FIELD(lpSurface), KORV_FIELD(ddckCKDestOverlay), KORV_FIELD(ddckCKDestBlt),
            KORV_FIELD(ddckCKSrcOverlay), KORV_FIELD(ddckCKSrcBlt), KORV_FIELD(ddpfPixelFormat),
            KORV_FIELD(ddsCaps))
KORV_RECORD(DDBLTFX, KORV_FIELD(dwSize), KORV_FIELD(dwDDFX), KORV_FIELD(dwROP), KORV_FIELD(dwDDROP),
            KORV_FIELD(dwRotationAngle), KORV_FIELD(dwZBufferOpCode), KORV_FIELD(dwZBufferLow),
            KORV_FIELD(dwZBufferHigh), KORV_FIELD(dwZBufferBaseDest),
            KORV_FIELD(dwZDestConstBitDepth), KORV_FIELD(dwZDestConst),
            KORV_FIELD(lpDDSZBufferDest), KORV_FIELD(dwZSrcConstBitDepth), KORV_FIELD(dwZSrcConst),
            KORV_FIELD(lpDDSZBufferSrc), KORV_FIELD(dwAlphaEdgeBlendBitDepth),
            KORV_FIELD(dwAlphaEdgeBlend), KORV_FIELD(dwReserved),
            KORV_FIELD(dwAlphaDestConstBitDepth), KORV_FIELD(dwAlphaDestConst),
            KORV_FIELD(lpDDSAlphaDest), KORV_FIELD(dwAlphaSrcConstBitDepth),
            KORV_FIELD(dwAlphaSrcConst), KORV_FIELD(lpDDSAlphaSrc), KORV_FIELD(dwFillColor),
            KORV_FIELD(dwFillDepth), KORV_FIELD(dwFillPixel), KORV_FIELD(lpDDSPattern),
            KORV_FIELD(ddckDestColorkey), KORV_FIELD(ddckSrcColorkey))
KORV_RECORD(DDOVERLAYFX, KORV_FIELD(dwSize), KORV_FIELD(dwAlphaEdgeBlendBitDepth),
            KORV_FIELD(dwAlphaEdgeBlend), KORV_FIELD(dwReserved),
            KORV_FIELD(dwAlphaDestConstBitDepth), KORV_FIELD(dwAlphaDestConst),
            KORV_FIELD(lpDDSAlphaDest), KORV_FIELD(dwAlphaSrcConstBitDepth),
            KORV_FIELD(dwAlphaSrcConst), KORV_FIELD(lpDDSAlphaSrc), KORV_FIELD(dckDestColorkey),
            KORV_FIELD(dckSrcColorkey), KORV_FIELD(dwDDFX), KORV_FIELD(dwFlags))
KORV_RECORD(VIDMEMINFO, KORV_FIELD(fpPrimary), KORV_FIELD(dwFlags), KORV_FIELD(dwDisplayWidth),
            KORV_FIELD(dwDisplayHeight), KORV_FIELD(lDisplayPitch), KORV_FIELD(ddpfDisplay),
            KORV_FIELD(dwOffscreenAlign), KORV_FIELD(dwOverlayAlign), KORV_FIELD(dwTextureAlign),
            KORV_FIELD(dwZBufferAlign), KORV_FIELD(dwAlphaAlign), KORV_FIELD(dwNumHeaps),
            KORV_FIELD(pvmList))
KORV_RECORD(DDCORECAPS, KORV_FIELD(dwSize), KORV_FIELD(dwCaps), KORV_FIELD(dwCaps2),
            KORV_FIELD(dwCKeyCaps), KORV_FIELD(dwFXCaps), KORV_FIELD(dwFXAlphaCaps),
            KORV_FIELD(dwPalCaps), KORV_FIELD(dwSVCaps), KORV_FIELD(dwAlphaBltConstBitDepths),
            KORV_FIELD(dwAlphaBltPixelBitDepths), KORV_FIELD(dwAlphaBltSurfaceBitDepths),
            KORV_FIELD(dwAlphaOverlayConstBitDepths), KORV_FIELD(dwAlphaOverlayPixelBitDepths),
            KORV_FIELD(dwAlphaOverlaySurfaceBitDepths), KORV_FIELD(dwZBufferBitDepths),
            KORV_FIELD(dwVidMemTotal), KORV_FIELD(dwVidMemFree), KORV_FIELD(dwMaxVisibleOverlays),
            KORV_FIELD(dwCurrVisibleOverlays), KORV_FIELD(dwNumFourCCCodes),
            KORV_FIELD(dwAlignBoundarySrc), KORV_FIELD(dwAlignSizeSrc),
            KORV_FIELD(dwAlignBoundaryDest), KORV_FIELD(dwAlignSizeDest),
            KORV_FIELD(dwAlignStrideAlign), KORV_FIELD(dwRops), KORV_FIELD(ddsCaps),
            KORV_FIELD(dwMinOverlayStretch), KORV_FIELD(dwMaxOverlayStretch),
            KORV_FIELD(dwMinLiveVideoStretch), KORV_FIELD(dwMaxLiveVideoStretch),
            KORV_FIELD(dwMinHwCodecStretch), KORV_FIELD(dwMaxHwCodecStretch),
            KORV_FIELD(dwReserved1), KORV_FIELD(dwReserved2), KORV_FIELD(dwReserved3),
            KORV_FIELD(dwSVBCaps), KORV_FIELD(dwSVBCKeyCaps), KORV_FIELD(dwSVBFXCaps),
            KORV_FIELD(dwSVBRops), KORV_FIELD(dwVSBCaps), KORV_FIELD(dwVSBCKeyCaps),
            KORV_FIELD(dwVSBFXCaps), KORV_FIELD(dwVSBRops), KORV_FIELD(dwSSBCaps),
            KORV_FIELD(dwSSBCKeyCaps), KORV_FIELD(dwSSBFXCaps), KORV_FIELD(dwSSBRops),
            KORV_FIELD(dwMaxVideoPorts), KORV_FIELD(dwCurrVideoPorts), KORV_FIELD(dwSVBCaps2))
KORV_RECORD(DDHAL_DDCALLBACKS, KORV_FIELD(dwSize), KORV_FIELD(dwFlags), KORV_FIELD(DestroyDriver),
            KORV_FIELD(CreateSurface), KORV_FIELD(SetColorKey), KORV_FIELD(SetMode),
            KORV_FIELD(WaitForVerticalBlank), KORV_FIELD(CanCreateSurface),
            KORV_FIELD(CreatePalette), KORV_FIELD(GetScanLine), KORV_FIELD(SetExclusiveMode),
            KORV_FIELD(FlipToGDISurface))
KORV_RECORD(DDHAL_DDSURFACECALLBACKS, KORV_FIELD(dwSize), KORV_FIELD(dwFlags),
            KORV_FIELD(DestroySurface), KORV_FIELD(Flip), KORV_FIELD(SetClipList), KORV_FIELD(Lock),
            KORV_FIELD(Unlock), KORV_FIELD(Blt), KORV_FIELD(SetColorKey),
            KORV_FIELD(AddAttachedSurface), KORV_FIELD(GetBltStatus), KORV_FIELD(GetFlipStatus),
            KORV_FIELD(UpdateOverlay), KORV_FIELD(SetOverlayPosition), KORV_FIELD(SetPalette))
KORV_RECORD(DDHAL_DDMISCELLANEOUSCALLBACKS, KORV_FIELD(dwSize), KORV_FIELD(dwFlags),
            KORV_FIELD(GetAvailDriverMemory), KORV_FIELD(UpdateNonLocalHeap),
            KORV_FIELD(GetHeapAlignment), KORV_FIELD(GetSysmemBltStatus))
KORV_RECORD(DDHAL_DDKERNELCALLBACKS, KORV_FIELD(dwSize), KORV_FIELD(dwFlags),
            KORV_FIELD(SyncSurfaceData), KORV_FIELD(SyncVideoPortData))
KORV_RECORD(DDHALINFO, KORV_FIELD(dwSize), KORV_FIELD(lpDDCallbacks),
            KORV_FIELD(lpDDSurfaceCallbacks), KORV_FIELD(lpDDPaletteCallbacks), KORV_FIELD(vmiData),
            KORV_FIELD(ddCaps), KORV_FIELD(dwMonitorFrequency), KORV_FIELD(GetDriverInfo),
            KORV_FIELD(dwModeIndex), KORV_FIELD(lpdwFourCC), KORV_FIELD(dwNumModes),
            KORV_FIELD(lpModeInfo), KORV_FIELD(dwFlags), KORV_FIELD(lpPDevice),
            KORV_FIELD(hInstance), KORV_FIELD(lpD3DGlobalDriverData), KORV_FIELD(lpD3DHALCallbacks),
            KORV_FIELD(lpDDExeBufCallbacks))
KORV_RECORD(DBLNODE, KORV_FIELD(next), KORV_FIELD(prev), KORV_FIELD(object), KORV_FIELD(object_int))
KORV_RECORD(DDRAWI_DDRAWSURFACE_LCL, KORV_FIELD(lpSurfMore), KORV_FIELD(lpGbl),
            KORV_FIELD(hDDSurface), KORV_FIELD(lpAttachList), KORV_FIELD(lpAttachListFrom),
            KORV_FIELD(dwLocalRefCnt), KORV_FIELD(dwProcessId), KORV_FIELD(dwFlags),
            KORV_FIELD(ddsCaps), KORV_FIELD(lpDDPalette), KORV_FIELD(lpDDClipper),
            KORV_FIELD(dwModeCreatedIn), KORV_FIELD(dwBackBufferCount), KORV_FIELD(ddckCKDestBlt),
            KORV_FIELD(ddckCKSrcBlt), KORV_FIELD(hDC), KORV_FIELD(dwReserved1),
            KORV_FIELD(ddckCKSrcOverlay), KORV_FIELD(ddckCKDestOverlay),
            KORV_FIELD(lpSurfaceOverlaying), KORV_FIELD(dbnOverlayNode), KORV_FIELD(rcOverlaySrc),
            KORV_FIELD(rcOverlayDest), KORV_FIELD(dwClrXparent), KORV_FIELD(dwAlpha),
            KORV_FIELD(lOverlayX), KORV_FIELD(lOverlayY))
KORV_RECORD(DCISURFACEINFO, KORV_FIELD(dwSize), KORV_FIELD(dwDCICaps), KORV_FIELD(dwCompression),
            KORV_FIELD(dwMask), KORV_FIELD(dwWidth), KORV_FIELD(dwHeight), KORV_FIELD(lStride),
            KORV_FIELD(dwBitCount), KORV_FIELD(dwOffSurface), KORV_FIELD(wSelSurface),
            KORV_FIELD(wReserved), KORV_FIELD(dwReserved1), KORV_FIELD(dwReserved2),
            KORV_FIELD(dwReserved3), KORV_FIELD(BeginAccess), KORV_FIELD(EndAccess),
            KORV_FIELD(DestroySurface))
KORV_RECORD(DDRAWI_DDRAWSURFACE_GBL, KORV_FIELD(dwRefCnt), KORV_FIELD(dwGlobalFlags),
            KORV_FIELD(lpRectList), KORV_FIELD(dwBlockSizeY), KORV_FIELD(lpVidMemHeap),
            KORV_FIELD(dwBlockSizeX), KORV_FIELD(lpDD), KORV_FIELD(lpDDHandle),
            KORV_FIELD(fpVidMem), KORV_FIELD(lPitch), KORV_FIELD(dwLinearSize), KORV_FIELD(wHeight),
            KORV_FIELD(wWidth), KORV_FIELD(dwUsageCount), KORV_FIELD(dwReserved1),
            KORV_FIELD(ddpfSurface))
KORV_RECORD(DDRAWI_DDRAWSURFACE_GBL_MORE, KORV_FIELD(dwSize), KORV_FIELD(dwPhysicalPageTable),
            KORV_FIELD(fpPhysicalVidMem), KORV_FIELD(pPageTable), KORV_FIELD(cPages),
            KORV_FIELD(dwSavedDCContext), KORV_FIELD(fpAliasedVidMem), KORV_FIELD(dwDriverReserved),
            KORV_FIELD(dwHELReserved), KORV_FIELD(cPageUnlocks), KORV_FIELD(hKernelSurface),
            KORV_FIELD(dwKernelRefCnt), KORV_FIELD(lpColorInfo), KORV_FIELD(fpNTAlias),
            KORV_FIELD(dwContentsStamp), KORV_FIELD(lpvUnswappedDriverReserved),
            KORV_FIELD(lpDDRAWReserved2), KORV_FIELD(dwDDRAWReserved1),
            KORV_FIELD(dwDDRAWReserved2), KORV_FIELD(fpAliasOfVidMem))
KORV_RECORD(DDHAL_CREATESURFACEDATA, KORV_FIELD(lpDD), KORV_FIELD(lpDDSurfaceDesc),
            KORV_FIELD(lplpSList), KORV_FIELD(dwSCnt), KORV_FIELD(ddRVal),
            KORV_FIELD(CreateSurface))
KORV_RECORD(DDHAL_CANCREATESURFACEDATA, KORV_FIELD(lpDD), KORV_FIELD(lpDDSurfaceDesc),
            KORV_FIELD(bIsDifferentPixelFormat), KORV_FIELD(ddRVal), KORV_FIELD(CanCreateSurface))
KORV_RECORD(DDHAL_WAITFORVERTICALBLANKDATA, KORV_FIELD(lpDD), KORV_FIELD(dwFlags),
            KORV_FIELD(bIsInVB), KORV_FIELD(hEvent), KORV_FIELD(ddRVal),
            KORV_FIELD(WaitForVerticalBlank))
KORV_RECORD(DDHAL_GETSCANLINEDATA, KORV_FIELD(lpDD), KORV_FIELD(dwScanLine), KORV_FIELD(ddRVal),
            KORV_FIELD(GetScanLine))
KORV_RECORD(DDHAL_DESTROYSURFACEDATA, KORV_FIELD(lpDD), KORV_FIELD(lpDDSurface), KORV_FIELD(ddRVal),
            KORV_FIELD(DestroySurface))
KORV_RECORD(DDHAL_FLIPDATA, KORV_FIELD(lpDD), KORV_FIELD(lpSurfCurr), KORV_FIELD(lpSurfTarg),
            KORV_FIELD(dwFlags), KORV_FIELD(ddRVal), KORV_FIELD(Flip), KORV_FIELD(lpSurfCurrLeft),
            KORV_FIELD(lpSurfTargLeft))
KORV_RECORD(DDHAL_LOCKDATA, KORV_FIELD(lpDD), KORV_FIELD(lpDDSurface), KORV_FIELD(bHasRect),
            KORV_FIELD(rArea), KORV_FIELD(lpSurfData), KORV_FIELD(ddRVal), KORV_FIELD(Lock),
            KORV_FIELD(dwFlags))
KORV_RECORD(DDHAL_UNLOCKDATA, KORV_FIELD(lpDD), KORV_FIELD(lpDDSurface), KORV_FIELD(ddRVal),
            KORV_FIELD(Unlock))
KORV_RECORD(DDHAL_BLTDATA, KORV_FIELD(lpDD), KORV_FIELD(lpDDDestSurface), KORV_FIELD(rDest),
            KORV_FIELD(lpDDSrcSurface), KORV_FIELD(rSrc), KORV_FIELD(dwFlags),
            KORV_FIELD(dwROPFlags), KORV_FIELD(bltFX), KORV_FIELD(ddRVal), KORV_FIELD(Blt),
            KORV_FIELD(IsClipped), KORV_FIELD(rOrigDest), KORV_FIELD(rOrigSrc),
            KORV_FIELD(dwRectCnt), KORV_FIELD(prDestRects))
KORV_RECORD(DDHAL_SETCOLORKEYDATA, KORV_FIELD(lpDD), KORV_FIELD(lpDDSurface), KORV_FIELD(dwFlags),
            KORV_FIELD(ckNew), KORV_FIELD(ddRVal), KORV_FIELD(SetColorKey))
KORV_RECORD(DDHAL_GETBLTSTATUSDATA, KORV_FIELD(lpDD), KORV_FIELD(lpDDSurface), KORV_FIELD(dwFlags),
            KORV_FIELD(ddRVal), KORV_FIELD(GetBltStatus))
KORV_RECORD(DDHAL_GETFLIPSTATUSDATA, KORV_FIELD(lpDD), KORV_FIELD(lpDDSurface), KORV_FIELD(dwFlags),
            KORV_FIELD(ddRVal), KORV_FIELD(GetFlipStatus))
KORV_RECORD(DDHAL_UPDATEOVERLAYDATA, KORV_FIELD(lpDD), KORV_FIELD(lpDDDestSurface),
            KORV_FIELD(rDest), KORV_FIELD(lpDDSrcSurface), KORV_FIELD(rSrc), KORV_FIELD(dwFlags),
            KORV_FIELD(overlayFX), KORV_FIELD(ddRVal), KORV_FIELD(UpdateOverlay))
KORV_RECORD(SURFACEALIGNMENT::LINEAR, KORV_FIELD(dwStartAlignment), KORV_FIELD(dwPitchAlignment),
            KORV_FIELD(dwFlags))
KORV_RECORD(SURFACEALIGNMENT, KORV_FIELD(Linear))
KORV_RECORD(HEAPALIGNMENT, KORV_FIELD(dwSize), KORV_FIELD(ddsCaps), KORV_FIELD(dwReserved),
            KORV_FIELD(ExecuteBuffer), KORV_FIELD(Overlay), KORV_FIELD(Texture),
            KORV_FIELD(ZBuffer), KORV_FIELD(AlphaBuffer), KORV_FIELD(Offscreen),
            KORV_FIELD(FlipTarget))
KORV_RECORD(DDHAL_GETHEAPALIGNMENTDATA, KORV_FIELD(dwInstance), KORV_FIELD(dwHeap),
            KORV_FIELD(ddRVal), KORV_FIELD(GetHeapAlignment), KORV_FIELD(Alignment))
KORV_RECORD(DDHAL_UPDATENONLOCALHEAPDATA, KORV_FIELD(lpDD), KORV_FIELD(dwHeap),
            KORV_FIELD(fpGARTLin), KORV_FIELD(fpGARTDev), KORV_FIELD(ulPolicyMaxBytes),
            KORV_FIELD(ddRVal), KORV_FIELD(UpdateNonLocalHeap))
KORV_RECORD(DDHAL_GETAVAILDRIVERMEMORYDATA, KORV_FIELD(lpDD), KORV_FIELD(DDSCaps),
            KORV_FIELD(dwTotal), KORV_FIELD(dwFree), KORV_FIELD(ddRVal),
            KORV_FIELD(GetAvailDriverMemory), KORV_FIELD(ddsCapsEx))
KORV_RECORD(DDHAL_SYNCSURFACEDATA, KORV_FIELD(dwSize), KORV_FIELD(lpDD), KORV_FIELD(lpDDSurface),
            KORV_FIELD(dwSurfaceOffset), KORV_FIELD(fpLockPtr), KORV_FIELD(lPitch),
            KORV_FIELD(dwOverlayOffset), KORV_FIELD(dwOverlaySrcWidth),
            KORV_FIELD(dwOverlaySrcHeight), KORV_FIELD(dwOverlayDestWidth),
            KORV_FIELD(dwOverlayDestHeight), KORV_FIELD(dwDriverReserved1),
            KORV_FIELD(dwDriverReserved2), KORV_FIELD(dwDriverReserved3), KORV_FIELD(ddRVal))
KORV_RECORD(GUID, KORV_FIELD(Data1), KORV_FIELD(Data2), KORV_FIELD(Data3), KORV_FIELD(Data4))
KORV_RECORD(DDVIDEOPORTCONNECT, KORV_FIELD(dwSize), KORV_FIELD(dwPortWidth), KORV_FIELD(guidTypeID),
            KORV_FIELD(dwFlags))
KORV_RECORD(DDVIDEOPORTDESC, KORV_FIELD(dwSize), KORV_FIELD(dwFieldWidth), KORV_FIELD(dwVBIWidth),
            KORV_FIELD(dwFieldHeight), KORV_FIELD(dwMicrosecondsPerField),
            KORV_FIELD(dwMaxPixelsPerSecond), KORV_FIELD(dwVideoPortID), KORV_FIELD(dwReserved1),
            KORV_FIELD(VideoPortType), KORV_FIELD(dwReserved2), KORV_FIELD(dwReserved3),
            KORV_FIELD(dwReserved4))
KORV_RECORD(DDHAL_SYNCVIDEOPORTDATA, KORV_FIELD(dwSize), KORV_FIELD(lpDD), KORV_FIELD(lpVideoPort),
            KORV_FIELD(dwOriginOffset), KORV_FIELD(dwHeight), KORV_FIELD(dwVBIHeight),
            KORV_FIELD(dwDriverReserved1), KORV_FIELD(dwDriverReserved2),
            KORV_FIELD(dwDriverReserved3), KORV_FIELD(ddRVal))

} // namespace korv
