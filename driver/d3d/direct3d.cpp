#include "driver/d3d/direct3d.h"

#include "driver/core/registry.h"
#include "driver/d3d/dcontext.h"
#include "driver/d3d/execute.h"
#include "driver/d3d/states.h"
#include "driver/heap/linalloc.h"
#include "driver/texture/textures.h"

DDHAL_DDEXEBUFCALLBACKS myD3DExeBufCallbacks = {
    .dwSize = sizeof(DDHAL_DDEXEBUFCALLBACKS),
    .dwFlags = 0,
    .CanCreateExecuteBuffer = nullptr,
    .CreateExecuteBuffer = nullptr,
    .DestroyExecuteBuffer = nullptr,
    .LockExecuteBuffer = nullptr,
    .UnlockExecuteBuffer = nullptr,
};

namespace {

constexpr DWORD kMipFilterCaps = D3DPTFILTERCAPS_MIPNEAREST | D3DPTFILTERCAPS_MIPLINEAR |
                                 D3DPTFILTERCAPS_LINEARMIPNEAREST | D3DPTFILTERCAPS_LINEARMIPLINEAR;

bool HasTextures(const ChipInfo* chip) {
    return chip->Family == FamilyPermedia || IsGlintWithTextures(chip);
}

const D3DDEVICEDESC& TunedPermediaCaps(const ChipInfo* chip) {
    if (RegistrySwitchIsOne("Direct3DHAL.PermediaMip")) {
        PermediaCaps.dpcTriCaps.dwTextureFilterCaps |= kMipFilterCaps;
    }
    if (IsPermedia2(chip)) {
        PermediaCaps.dwDeviceRenderBitDepth |= DDBD_24;
        PermediaCaps.dwDevCaps |= D3DDEVCAPS_TEXTURENONLOCALVIDMEM;
    }
    return PermediaCaps;
}

const D3DDEVICEDESC& TunedTXCaps(const ChipInfo* chip) {
    if (IsMX(chip)) {
        TXCaps.dpcTriCaps.dwTextureFilterCaps |= kMipFilterCaps;
    }
    return TXCaps;
}

void FillGlobalData(DriverData* driver, D3DHAL_GLOBALDRIVERDATA* globalData) {
    const ChipInfo* chip = driver->ChipInfo;
    *globalData = {};
    globalData->dwSize = sizeof(*globalData);
    if (chip->Family == FamilyPermedia) {
        globalData->hwCaps = TunedPermediaCaps(chip);
        globalData->dwNumTextureFormats = BuildTextureFormatsPermedia(driver);
    } else if (IsSX(chip)) {
        globalData->hwCaps = SXCaps;
    } else if (IsGlintWithTextures(chip)) {
        globalData->hwCaps = TunedTXCaps(chip);
        globalData->dwNumTextureFormats = BuildTextureFormatsTX(driver);
    }
    if (HasTextures(chip)) {
        globalData->lpTextureFormats = driver->TextureFormats;
    }
}

void FillCallbacks(DriverData* driver, D3DHAL_CALLBACKS* callbacks) {
    const bool listed = DXGlobals.AdvancedDebug != 0;
    *callbacks = {};
    callbacks->dwSize = sizeof(*callbacks);
    callbacks->ContextCreate = listed ? AddDirect3DContext : CreateDirect3DContext;
    callbacks->ContextDestroy = listed ? RemoveDirect3DContext : DeleteDirect3DContext;
    callbacks->ContextDestroyAll = DeleteBadProcess;
    callbacks->SceneCapture = SceneCapture;
    callbacks->RenderState = RenderState32;
    callbacks->RenderPrimitive = RenderPrimitive;
    if (HasTextures(driver->ChipInfo)) {
        callbacks->TextureCreate = TextureCreate;
        callbacks->TextureDestroy = TextureDestroy;
        callbacks->TextureSwap = TextureSwap;
        callbacks->TextureGetSurf = TextureGetSurf;
    }
}

} // namespace

void D3DHALCreateDriver(DriverData* driver, D3DHAL_GLOBALDRIVERDATA** globalData,
                        D3DHAL_CALLBACKS** callbacks, DDHAL_DDEXEBUFCALLBACKS** exeBufCallbacks) {
    *globalData = nullptr;
    *callbacks = nullptr;
    *exeBufCallbacks = nullptr;
    if (D3DInitialised == 0) {
        // Once, for all displays.
        for (D3DContext*& slot : ContextSlots) {
            slot = nullptr;
        }
        D3DInitialised = 1;
    }
    if (RegistrySwitchIsOne("Direct3DHAL.Disable")) {
        return;
    }
    uint32_t globalHandle;
    void* globalBlock;
    if (AllocMem(&globalHandle, &globalBlock, sizeof(D3DHAL_GLOBALDRIVERDATA)) == 0) {
        return;
    }
    uint32_t callbacksHandle;
    void* callbacksBlock;
    if (AllocMem(&callbacksHandle, &callbacksBlock, sizeof(D3DHAL_CALLBACKS)) == 0) {
        FreeMem(globalHandle, globalBlock);
        return;
    }
    driver->D3DGlobalDataHandle = globalHandle;
    driver->D3DCallbacksHandle = callbacksHandle;
    *globalData = static_cast<D3DHAL_GLOBALDRIVERDATA*>(globalBlock);
    *callbacks = static_cast<D3DHAL_CALLBACKS*>(callbacksBlock);
    FillGlobalData(driver, *globalData);
    FillCallbacks(driver, *callbacks);
}
