#include "driver/texture/textures.h"

#include "driver/core/cursor.h"
#include "driver/core/driverdata.h"
#include "driver/heap/surface_format.h"
#include "driver/heap/surface_pitch.h"

namespace {

// Address bit of a texture in AGP memory.
constexpr uint32_t kAGPAddressBit = 0x40000000;

TextureRecord*& BucketOf(D3DContext* ctx, uint32_t handle) {
    return ctx->TextureBuckets[handle % kTextureBuckets];
}

void Link(D3DContext* ctx, TextureRecord* record) {
    TextureRecord*& head = BucketOf(ctx, record->Handle);
    record->Prev = nullptr;
    record->Next = head;
    if (head != nullptr) {
        head->Prev = record;
    }
    head = record;
}

void Unlink(D3DContext* ctx, TextureRecord* record) {
    if (record->Prev != nullptr) {
        record->Prev->Next = record->Next;
    } else {
        BucketOf(ctx, record->Handle) = record->Next;
    }
    if (record->Next != nullptr) {
        record->Next->Prev = record->Prev;
    }
}

// The record behind a handle of a context that may not even be there.
TextureRecord* FindTexture(D3DContext* ctx, uint32_t handle) {
    return ctx != nullptr ? TextureHandleToPtr(handle, ctx) : nullptr;
}

TextureLocation LocationOf(const DDRAWI_DDRAWSURFACE_LCL* surface) {
    if ((surface->ddsCaps.dwCaps & DDSCAPS_VIDEOMEMORY) == 0) {
        return TextureInSystemMemory;
    }
    return (surface->ddsCaps.dwCaps & DDSCAPS_NONLOCALVIDMEM) != 0 ? TextureInAGP
                                                                   : TextureInVideoMemory;
}

// The next smaller level of a mip chain, or null at its end.
DDRAWI_DDRAWSURFACE_LCL* NextLevel(const DDRAWI_DDRAWSURFACE_LCL* surface) {
    return surface->lpAttachList != nullptr ? surface->lpAttachList->lpAttached : nullptr;
}

uint32_t FirstTexel(uint32_t byteOffset, uint32_t pixelSize) {
    switch (pixelSize) {
    case PixelSize8:
        return byteOffset;
    case PixelSize32:
        return byteOffset >> 2;
    case PixelSize4:
        return byteOffset * 2;
    case PixelSize24:
        return byteOffset / 3;
    default: // 16-bit, and whatever is unknown
        return byteOffset >> 1;
    }
}

uint32_t PitchInTexels(uint32_t pitchBytes, uint32_t pixelSize) {
    switch (pixelSize) {
    case PixelSize4:
        return pitchBytes * 2;
    case PixelSize24:
        return pitchBytes / 3;
    default:
        return pitchBytes >> pixelSize;
    }
}

void FillPermediaLevel(DriverData* driver, const TextureRecord* record, TextureLevel& level,
                       const DDRAWI_DDRAWSURFACE_LCL* surface) {
    const DDRAWI_DDRAWSURFACE_GBL* global = surface->lpGbl;
    const uint32_t byteOffset =
        record->Location == TextureInAGP
            ? GET_LPDDRAWSURFACE_GBL_MORE(global)->fpPhysicalVidMem - driver->NonLocalHeapPhysical
            : global->fpVidMem - reinterpret_cast<uint32_t>(driver->FrameBufferBase);
    level.Address = FirstTexel(byteOffset, record->Private.PixelSize);
    uint32_t pitch =
        PitchInTexels(static_cast<uint32_t>(global->lPitch), record->Private.PixelSize);
    if (pitch < kSmallestPitch) {
        pitch = kSmallestPitch;
    }
    uint32_t unused;
    DeterminePPCode(driver, pitch, &level.PP0, &level.PP1, &level.PP2, &unused);
    level.LogWidth = RoundedUpLog2(global->wWidth);
    level.LogHeight = RoundedUpLog2(global->wHeight);
    level.WidthScale = static_cast<float>(global->wWidth) * (1.0f / kTextureUnitSize);
    level.HeightScale = static_cast<float>(global->wHeight) * (1.0f / kTextureUnitSize);
}

void FillGlintLevel(DriverData* driver, const TextureRecord*, TextureLevel& level,
                    const DDRAWI_DDRAWSURFACE_LCL* surface) {
    level.Address =
        (surface->lpGbl->fpVidMem - reinterpret_cast<uint32_t>(driver->LocalBufferBase)) >> 2;
}

void CopyPermediaLevel(TextureLevel& to, const TextureLevel& from) {
    to = from;
}

void CopyGlintLevel(TextureLevel& to, const TextureLevel& from) {
    to.Address = from.Address;
}

template <auto FillLevel>
void DescribeSingleLevel(DriverData* driver, TextureRecord* record) {
    record->MipMapped = 0;
    record->LevelCount = 1;
    FillLevel(driver, record, record->Levels[0], record->Surface);
}

// Fills the levels from the surface's chain. Levels past the end of a short chain read its last
// one; a surface with no chain after all counts as one without mip map.
template <auto FillLevel, auto CopyLevel>
void DescribeChain(DriverData* driver, TextureRecord* record) {
    record->MipMapped = 1;
    uint32_t last = 0;
    const DDRAWI_DDRAWSURFACE_LCL* surface = record->Surface;
    for (uint32_t i = 0; surface != nullptr && i < record->LevelCount && i < kMaxTextureLevels;
         ++i) {
        FillLevel(driver, record, record->Levels[i], surface);
        last = i;
        surface = NextLevel(surface);
    }
    if (last == 0) {
        record->MipMapped = 0;
        record->LevelCount = 1;
    } else if (last < record->LevelCount - 1) {
        for (uint32_t i = last + 1; i < kMaxTextureLevels; ++i) {
            CopyLevel(record->Levels[i], record->Levels[last]);
        }
    }
}

void DescribePermediaLevels(DriverData* driver, TextureRecord* record) {
    if ((record->Surface->ddsCaps.dwCaps & DDSCAPS_MIPMAP) != 0) {
        DescribeChain<FillPermediaLevel, CopyPermediaLevel>(driver, record);
    } else {
        DescribeSingleLevel<FillPermediaLevel>(driver, record);
    }
    if (record->Location == TextureInAGP) {
        for (uint32_t i = 0; i < record->LevelCount && i < kMaxTextureLevels; ++i) {
            record->Levels[i].Address |= kAGPAddressBit;
        }
    }
}

void DescribeGlintLevels(DriverData* driver, TextureRecord* record) {
    const bool mipMap = (record->Surface->ddsCaps.dwCaps & DDSCAPS_MIPMAP) != 0;
    if (mipMap && !IsTX(driver->ChipInfo)) {
        DescribeChain<FillGlintLevel, CopyGlintLevel>(driver, record);
    } else {
        DescribeSingleLevel<FillGlintLevel>(driver, record);
    }
}

// Everything but the chain, Context and Handle of a zeroed record.
void Describe(DriverData* driver, TextureRecord* record, DDRAWI_DDRAWSURFACE_LCL* surface) {
    record->Surface = surface;
    if (const PrivateSurfaceData* own = PrivateOf(surface)) {
        record->Private = *own;
    } else {
        record->Private.MagicNo = kSurfaceMagic;
        SetupPrivateSurfaceData(driver, &record->Private, surface);
    }
    record->Width = surface->lpGbl->wWidth;
    record->Height = surface->lpGbl->wHeight;
    record->TexelCount = static_cast<float>(uint32_t{record->Width} * record->Height);
    record->Private.LogWidth = RoundedUpLog2(record->Width);
    record->Private.LogHeight = RoundedUpLog2(record->Height);
    record->Magic = kTextureMagic;
    const uint32_t longer = record->Width > record->Height ? record->Width : record->Height;
    record->LevelCount = RoundedUpLog2(longer) + 1;
    record->Location = LocationOf(surface);
    if (driver->ChipInfo->Family == FamilyPermedia) {
        DescribePermediaLevels(driver, record);
    } else {
        DescribeGlintLevels(driver, record);
    }
}

HRESULT CreateTexture(D3DHAL_TEXTURECREATEDATA* data) {
    D3DContext* ctx = LiveContext(data->dwhContext);
    if (ctx == nullptr) {
        return D3DHAL_CONTEXT_BAD;
    }
    const uint32_t handle = GetNewTextureHandle(ctx);
    auto* record = static_cast<TextureRecord*>(
        HeapAlloc(DXGlobals.Heap, HEAP_ZERO_MEMORY, sizeof(TextureRecord)));
    if (record == nullptr) {
        return DDERR_OUTOFMEMORY;
    }
    record->Handle = handle;
    Describe(ctx->Driver, record, LocalSurfaceOf(data->lpDDS));
    Link(ctx, record);
    if (ctx->TextureHandle == handle) {
        ctx->DirtyFlags |= DIRTY_TEXTURE;
    }
    record->Context = data->dwhContext;
    data->dwHandle = handle;
    return DD_OK;
}

HRESULT DestroyTexture(const D3DHAL_TEXTUREDESTROYDATA* data) {
    D3DContext* ctx = ContextOf(data->dwhContext);
    TextureRecord* record = FindTexture(ctx, data->dwHandle);
    if (ctx == nullptr) {
        return D3DHAL_CONTEXT_BAD;
    }
    if (ctx->Magic == kContextMagicStale) {
        ctx->Magic = kContextMagic;
    }
    if (ctx->Magic != kContextMagic || record == nullptr) {
        return D3DHAL_CONTEXT_BAD;
    }
    if (record->Magic == kTextureMagicUnusable) {
        // The repair lands on the context, which is invalid from here on. The record stays as it
        // is, and the test below refuses it.
        ctx->Magic = kTextureMagic;
    }
    if (!IsTextureUsable(record)) {
        return D3DHAL_CONTEXT_BAD;
    }
    Unlink(ctx, record);
    if (ctx->CurrentTexture == record) {
        // The chip keeps reading the texture, at the level it was left at.
        ctx->CurrentTexture = nullptr;
        if ((ctx->RenderFlags & RF_MIPMAP) != 0) {
            ctx->RenderFlags &= ~RF_MIPMAP;
            ctx->DirtyFlags |= DIRTY_RENDERERS;
        }
    }
    HeapFree(DXGlobals.Heap, 0, record);
    if (ctx->TextureHandle == data->dwHandle) {
        // TextureHandle stays: the next flush finds no record behind it.
        ctx->DirtyFlags |= DIRTY_TEXTURE;
    }
    return DD_OK;
}

// Exchanges the records' contents; the places in the chains and the handles stay.
void ExchangeRecords(TextureRecord* a, TextureRecord* b) {
    const TextureRecord wasA = *a;
    const TextureRecord wasB = *b;
    *a = wasB;
    *b = wasA;
    a->Handle = wasA.Handle;
    a->Next = wasA.Next;
    a->Prev = wasA.Prev;
    b->Handle = wasB.Handle;
    b->Next = wasB.Next;
    b->Prev = wasB.Prev;
}

HRESULT SwapTextures(const D3DHAL_TEXTURESWAPDATA* data) {
    D3DContext* ctx = LiveContext(data->dwhContext);
    if (ctx == nullptr) {
        return D3DHAL_CONTEXT_BAD;
    }
    TextureRecord* first = TextureHandleToPtr(data->dwHandle1, ctx);
    TextureRecord* second = TextureHandleToPtr(data->dwHandle2, ctx);
    if (first == nullptr || second == nullptr || !IsTextureUsable(first) ||
        !IsTextureUsable(second)) {
        return DDERR_INVALIDPARAMS;
    }
    const CursorAway away(ctx->Driver->ChipInfo);
    ExchangeRecords(first, second);
    if (ctx->TextureHandle != 0 &&
        (ctx->TextureHandle == data->dwHandle1 || ctx->TextureHandle == data->dwHandle2)) {
        ctx->DirtyFlags |= DIRTY_TEXTURE;
    }
    return DD_OK;
}

} // namespace

void InitTextureHashTable(D3DContext* ctx) {
    ctx->NextTextureHandle = 0;
    for (TextureRecord*& head : ctx->TextureBuckets) {
        head = nullptr;
    }
}

uint32_t GetNewTextureHandle(D3DContext* ctx) {
    return ++ctx->NextTextureHandle;
}

TextureRecord* TextureHandleToPtr(uint32_t handle, D3DContext* ctx) {
    TextureRecord* record = BucketOf(ctx, handle);
    while (record != nullptr && record->Handle != handle) {
        record = record->Next;
    }
    return record;
}

DWORD KORV_STDCALL TextureCreate(D3DHAL_TEXTURECREATEDATA* data) {
    data->ddrval = CreateTexture(data);
    return DDHAL_DRIVER_HANDLED;
}

DWORD KORV_STDCALL TextureDestroy(D3DHAL_TEXTUREDESTROYDATA* data) {
    data->ddrval = DestroyTexture(data);
    return DDHAL_DRIVER_HANDLED;
}

DWORD KORV_STDCALL TextureSwap(D3DHAL_TEXTURESWAPDATA* data) {
    data->ddrval = SwapTextures(data);
    return DDHAL_DRIVER_HANDLED;
}

DWORD KORV_STDCALL TextureGetSurf(D3DHAL_TEXTUREGETSURFDATA* data) {
    // The context's magic is not looked at.
    const TextureRecord* record = FindTexture(ContextOf(data->dwhContext), data->dwHandle);
    if (record == nullptr || !IsTextureUsable(record)) {
        data->ddrval = D3DHAL_CONTEXT_BAD;
        return DDHAL_DRIVER_HANDLED;
    }
    data->lpDDS = reinterpret_cast<ULONG_PTR>(record->Surface);
    data->ddrval = DD_OK;
    return DDHAL_DRIVER_HANDLED;
}
