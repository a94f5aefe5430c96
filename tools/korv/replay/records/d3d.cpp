#include "tools/korv/replay/records/fields.h"

namespace korv {

KORV_RECORD(D3DINSTRUCTION, KORV_FIELD(bOpcode), KORV_FIELD(bSize), KORV_FIELD(wCount))
KORV_RECORD(D3DTRANSFORMCAPS, KORV_FIELD(dwSize), KORV_FIELD(dwCaps))
KORV_RECORD(D3DLIGHTINGCAPS, KORV_FIELD(dwSize), KORV_FIELD(dwCaps), KORV_FIELD(dwLightingModel),
            KORV_FIELD(dwNumLights))
KORV_RECORD(D3DPRIMCAPS, KORV_FIELD(dwSize), KORV_FIELD(dwMiscCaps), KORV_FIELD(dwRasterCaps),
            KORV_FIELD(dwZCmpCaps), KORV_FIELD(dwSrcBlendCaps), KORV_FIELD(dwDestBlendCaps),
            KORV_FIELD(dwAlphaCmpCaps), KORV_FIELD(dwShadeCaps), KORV_FIELD(dwTextureCaps),
            KORV_FIELD(dwTextureFilterCaps), KORV_FIELD(dwTextureBlendCaps),
            KORV_FIELD(dwTextureAddressCaps), KORV_FIELD(dwStippleWidth),
            KORV_FIELD(dwStippleHeight))
KORV_RECORD(D3DDEVICEDESC, KORV_FIELD(dwSize), KORV_FIELD(dwFlags), KORV_FIELD(dcmColorModel),
            KORV_FIELD(dwDevCaps), KORV_FIELD(dtcTransformCaps), KORV_FIELD(bClipping),
            KORV_FIELD(dlcLightingCaps), KORV_FIELD(dpcLineCaps), KORV_FIELD(dpcTriCaps),
            KORV_FIELD(dwDeviceRenderBitDepth), KORV_FIELD(dwDeviceZBufferBitDepth),
            KORV_FIELD(dwMaxBufferSize), KORV_FIELD(dwMaxVertexCount))
KORV_RECORD(D3DHAL_GLOBALDRIVERDATA, KORV_FIELD(dwSize), KORV_FIELD(hwCaps),
            KORV_FIELD(dwNumVertices), KORV_FIELD(dwNumClipVertices),
            KORV_FIELD(dwNumTextureFormats), KORV_FIELD(lpTextureFormats))
KORV_RECORD(D3DHAL_CONTEXTCREATEDATA, KORV_FIELD(lpDDGbl), KORV_FIELD(lpDDLcl), KORV_FIELD(lpDDS),
            KORV_FIELD(lpDDSLcl), KORV_FIELD(lpDDSZ), KORV_FIELD(lpDDSZLcl), KORV_FIELD(dwPID),
            KORV_FIELD(dwrstates), KORV_FIELD(dwhContext), KORV_FIELD(ddrval))
KORV_RECORD(D3DHAL_CONTEXTDESTROYDATA, KORV_FIELD(dwhContext), KORV_FIELD(ddrval))
KORV_RECORD(D3DHAL_CONTEXTDESTROYALLDATA, KORV_FIELD(dwPID), KORV_FIELD(ddrval))
KORV_RECORD(D3DHAL_SCENECAPTUREDATA, KORV_FIELD(dwhContext), KORV_FIELD(dwFlag), KORV_FIELD(ddrval))
KORV_RECORD(D3DHAL_RENDERSTATEDATA, KORV_FIELD(dwhContext), KORV_FIELD(dwOffset),
            KORV_FIELD(dwCount), KORV_FIELD(lpExeBuf), KORV_FIELD(lpExeBufLcl), KORV_FIELD(ddrval))
KORV_RECORD(D3DHAL_RENDERPRIMITIVEDATA, KORV_FIELD(dwhContext), KORV_FIELD(dwOffset),
            KORV_FIELD(dwStatus), KORV_FIELD(lpExeBuf), KORV_FIELD(lpExeBufLcl),
            KORV_FIELD(dwTLOffset), KORV_FIELD(lpTLBuf), KORV_FIELD(lpTLBufLcl),
            KORV_FIELD(diInstruction), KORV_FIELD(ddrval))
KORV_RECORD(D3DHAL_TEXTURECREATEDATA, KORV_FIELD(dwhContext), KORV_FIELD(lpDDS),
            KORV_FIELD(lpDDSLcl), KORV_FIELD(dwHandle), KORV_FIELD(ddrval))
KORV_RECORD(D3DHAL_TEXTUREDESTROYDATA, KORV_FIELD(dwhContext), KORV_FIELD(dwHandle),
            KORV_FIELD(ddrval))
KORV_RECORD(D3DHAL_TEXTURESWAPDATA, KORV_FIELD(dwhContext), KORV_FIELD(dwHandle1),
            KORV_FIELD(dwHandle2), KORV_FIELD(ddrval))
KORV_RECORD(D3DHAL_TEXTUREGETSURFDATA, KORV_FIELD(dwhContext), KORV_FIELD(lpDDS),
            KORV_FIELD(dwHandle), KORV_FIELD(ddrval))
KORV_RECORD(D3DHAL_CALLBACKS, KORV_FIELD(dwSize), KORV_FIELD(ContextCreate),
            KORV_FIELD(ContextDestroy), KORV_FIELD(ContextDestroyAll), KORV_FIELD(SceneCapture),
            KORV_FIELD(RenderState), KORV_FIELD(RenderPrimitive), KORV_FIELD(TextureCreate),
            KORV_FIELD(TextureDestroy), KORV_FIELD(TextureSwap), KORV_FIELD(TextureGetSurf),
            KORV_FIELD(GetState))
KORV_RECORD(D3DHAL_CALLBACKS2, KORV_FIELD(dwSize), KORV_FIELD(dwFlags), KORV_FIELD(SetRenderTarget),
            KORV_FIELD(Clear), KORV_FIELD(DrawOnePrimitive), KORV_FIELD(DrawOneIndexedPrimitive),
            KORV_FIELD(DrawPrimitives))

} // namespace korv
