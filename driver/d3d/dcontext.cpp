#include "driver/d3d/dcontext.h"

#include "driver/core/cursor.h"
#include "driver/core/dma.h"
#include "driver/core/records/private_surface.h"
#include "driver/core/registry.h"
#include "driver/d3d/dcontext_setup.h"
#include "driver/diag/korvtrace.h"
#include "driver/heap/linalloc.h"
#include "driver/services/context.h"
#include "driver/texture/textures.h"

D3DContextNode* lpD3DContextList;

namespace {

constexpr uint32_t kNoSlot = 0;
constexpr uint32_t kFewestSubBuffers = 2;

uint32_t FindFreeSlot() {
    for (uint32_t slot = 1; slot != kContextSlots; ++slot) {
        if (ContextSlots[slot] == nullptr) {
            return slot;
        }
    }
    return kNoSlot;
}

D3DContext* AllocateContext(DriverData* driver) {
    uint32_t handle;
    void* linear;
    if (AllocMem(&handle, &linear, sizeof(D3DContext)) == 0) {
        return nullptr;
    }
    auto* ctx = static_cast<D3DContext*>(linear);
    __builtin_memset(ctx, 0, sizeof(D3DContext));
    ctx->MemHandle = handle;
    ctx->MemAddress = ctx;
    ctx->Magic = kContextMagic;
    ctx->Driver = driver;
    return ctx;
}

// Cuts a DMA buffer into the ring's equal pieces.
void SetupDMAStream(D3DContext* ctx, const DMABufferRecord& buffer, uint32_t subBuffers) {
    CommandStream& stream = ctx->Stream;
    stream.CommandMode = kCommandModeDMA;
    stream.StartDMA = ctx->TraceEnabled != 0 ? StartDMA_Trace : StartDMA;
    stream.SubBufferCount = subBuffers;
    stream.SubBufferWords = buffer.Size / subBuffers / 4;
    stream.SubBufferFlushWords =
        stream.SubBufferWords < kSceneFlushWords ? stream.SubBufferWords : kSceneFlushWords;
    for (uint32_t i = 0; i != subBuffers; ++i) {
        const uint32_t offset = i * stream.SubBufferWords * 4;
        auto* first = reinterpret_cast<uint32_t*>(buffer.Linear + offset);
        stream.SubBuffers[i] = {buffer.Physical + offset, first, first + stream.SubBufferWords - 1};
    }
    stream.SubBufferIndex = 0;
    stream.WritePointer = stream.SubBuffers[0].Linear;
}

// Makes the context's stream: a ring in a DMA buffer if there is one to be had, else the FIFO
// window. The result is the queue length for its hardware context.
uint16_t SetupStream(D3DContext* ctx) {
    DriverData* driver = ctx->Driver;
    const uint32_t subBuffers = SubBufferCountFor(driver->ChipInfo);
    DMABufferRecord buffer;
    const int32_t index =
        RegistrySwitchIsOne("Direct3DHAL.NoDMA") ? -1 : GetDMABuffer(driver, &buffer);
    if (index == -1) {
        SetupFIFOStream(ctx->Stream, driver->Registers);
        return 0;
    }
    ctx->DMABufferHandle = index;
    SetupDMAStream(ctx, buffer, subBuffers);
    // Two sub-buffers run without the interrupt queue.
    return static_cast<uint16_t>(subBuffers > 2 ? subBuffers - 1 : 0);
}

uint32_t SetupUnitInUse(const ChipInfo* chip) {
    // Only the first Permedia can be told to do without.
    if (IsFirstPermedia(chip) && RegistrySwitchIsOne("Direct3DHAL.DisableDelta")) {
        return 0;
    }
    return (chip->Flags & DeltaPresent) != 0 || IsPermedia2(chip) ? 1 : 0;
}

HRESULT CreateContextOn(DriverData* driver, D3DHAL_CONTEXTCREATEDATA* data) {
    DDRAWI_DDRAWSURFACE_LCL* target = LocalSurfaceOf(data->lpDDS);
    DDRAWI_DDRAWSURFACE_LCL* zbuffer = LocalSurfaceOf(data->lpDDSZ);
    if (zbuffer != nullptr && PrivateOf(zbuffer) == nullptr) {
        return D3DHAL_OUTOFCONTEXTS;
    }
    PrivateSurfaceData* targetRecord = target != nullptr ? PrivateOf(target) : nullptr;
    if (targetRecord == nullptr) {
        return D3DHAL_OUTOFCONTEXTS;
    }
    const uint32_t slot = FindFreeSlot();
    if (slot == kNoSlot) {
        return D3DHAL_OUTOFCONTEXTS;
    }
    D3DContext* ctx = AllocateContext(driver);
    if (ctx == nullptr) {
        return DDERR_OUTOFMEMORY;
    }
    targetRecord->OwnerContext = nullptr;

    ChipInfo* chip = driver->ChipInfo;
    const uint16_t endIndex = SetupStream(ctx);
    const uint32_t hardwareContext =
        CreateContext(driver, chip, kContextTypeDirect3D, ctx->MemHandle,
                      reinterpret_cast<uint32_t>(ctx->MemAddress));
    if (hardwareContext == 0xFFFFFFFF) {
        CleanDirect3DContext(ctx); // the record itself is not given back here
        return DDERR_OUTOFMEMORY;
    }
    ctx->Stream.HardwareContext = hardwareContext;
    SetEndIndex(chip, hardwareContext, endIndex);
    ctx->RenderTargetSurface = target;
    ctx->ZBufferSurface = zbuffer;
    data->dwhContext = slot;
    ctx->ContextHandle = slot;
    ContextSlots[slot] = ctx;
    ctx->TextureHandle = 0;
    InitTextureHashTable(ctx);
    ctx->UseDelta = SetupUnitInUse(chip);
    ctx->ProcessId = data->dwPID;

    {
        const CursorAway away(chip);
        SetupContext(ctx);
    }

    ctx->CullMode = D3DCULL_CCW;
    ctx->TextureValid = 1;
    ctx->StippleIndex = kNoStipplePattern;
    ctx->ModeStamp = driver->ModeChangeCount;
    return DD_OK;
}

// The record of a slot on the delete paths, its magic repaired; null if there is none or it is not
// a context.
D3DContext* DeletableContext(uint32_t slot) {
    D3DContext* ctx = ContextOf(slot);
    if (ctx != nullptr && ctx->Magic == kContextMagicStale) {
        ctx->Magic = kContextMagic;
    }
    return LiveContext(slot);
}

// Everything of a context, its record and its slot.
void EndContext(uint32_t slot) {
    D3DContext* ctx = ContextSlots[slot];
    CleanDirect3DContext(ctx);
    FreeMem(ctx->MemHandle, ctx->MemAddress);
    ContextSlots[slot] = nullptr;
}

bool IsTextureOf(const TextureRecord* texture, const D3DContext* ctx) {
    return (texture->Magic == kTextureMagic || texture->Magic == kTextureMagicUnusable) &&
           texture->Context == ctx->ContextHandle;
}

void FreeBucket(D3DContext* ctx, TextureRecord*& head) {
    TextureRecord* texture = head;
    while (texture != nullptr) {
        if (!IsTextureOf(texture, ctx)) {
            texture = texture->Next;
            continue;
        }
        TextureRecord*& link = texture->Prev != nullptr ? texture->Prev->Next : head;
        link = texture->Next;
        if (texture->Next != nullptr) {
            texture->Next->Prev = texture->Prev;
        }
        HeapFree(DXGlobals.Heap, 0, texture);
        texture = head;
    }
}

} // namespace

uint32_t SubBufferCountFor(const ChipInfo* chip) {
    if ((chip->Flags & TwoSubBuffers) != 0) {
        return kFewestSubBuffers;
    }
    constexpr uint32_t kDefault = 8;
    uint32_t count;
    bGlintQueryRegistryValueUlong("Direct3DHAL.SubBuffers", &count);
    if (count == 0) {
        return kDefault;
    }
    if (count > kMaxSubBuffers) {
        return kMaxSubBuffers;
    }
    return count < kFewestSubBuffers ? kFewestSubBuffers : count;
}

DWORD KORV_STDCALL CreateDirect3DContext(D3DHAL_CONTEXTCREATEDATA* data) {
    data->ddrval = CreateContextOn(DriverOf(data->lpDDGbl), data);
    return DDHAL_DRIVER_HANDLED;
}

DWORD KORV_STDCALL DeleteDirect3DContext(D3DHAL_CONTEXTDESTROYDATA* data) {
    D3DContext* ctx = DeletableContext(data->dwhContext);
    if (ctx == nullptr) {
        data->ddrval = D3DHAL_CONTEXT_BAD;
        return DDHAL_DRIVER_HANDLED;
    }
    SyncChip(ctx->Driver);
    EndContext(data->dwhContext);
    data->ddrval = DD_OK;
    return DDHAL_DRIVER_HANDLED;
}

DWORD KORV_STDCALL DeleteBadProcess(D3DHAL_CONTEXTDESTROYALLDATA* data) {
    // No application is left to care, so the chip is not waited for.
    for (uint32_t slot = 1; slot != kContextSlots; ++slot) {
        const D3DContext* ctx = DeletableContext(slot);
        if (ctx != nullptr && ctx->ProcessId == data->dwPID) {
            EndContext(slot);
        }
    }
    data->ddrval = DD_OK;
    return DDHAL_DRIVER_HANDLED;
}

void CleanDirect3DContext(D3DContext* ctx) {
    TermTrace();
    ctx->TraceEnabled = 0;
    if (ctx->Stream.CommandMode == kCommandModeFIFO) {
        ctx->Stream.SubBuffers[0].Linear = nullptr;
    } else if (ctx->Stream.SubBuffers[0].Linear != nullptr && ctx->SharedBuffers == 0) {
        FreeDMABuffer(ctx->Driver, ctx->DMABufferHandle);
    }
    if (ctx->Stream.HardwareContext != 0) {
        DeleteContext(ctx->Driver, ctx->Driver->ChipInfo, ctx->Stream.HardwareContext);
    }
    // The surfaces behind the textures are DirectDraw's.
    for (TextureRecord*& head : ctx->TextureBuckets) {
        FreeBucket(ctx, head);
    }
}

DWORD KORV_STDCALL AddDirect3DContext(D3DHAL_CONTEXTCREATEDATA* data) {
    CreateDirect3DContext(data);
    // A refused creation is listed as well.
    auto* node = static_cast<D3DContextNode*>(HeapAlloc(DXGlobals.Heap, 0, sizeof(D3DContextNode)));
    if (node != nullptr) {
        *node = {data->dwhContext, lpD3DContextList};
        lpD3DContextList = node;
    }
    return DDHAL_DRIVER_HANDLED;
}

DWORD KORV_STDCALL RemoveDirect3DContext(D3DHAL_CONTEXTDESTROYDATA* data) {
    DeleteDirect3DContext(data);
    for (D3DContextNode** link = &lpD3DContextList; *link != nullptr; link = &(*link)->Next) {
        D3DContextNode* node = *link;
        if (node->Handle == data->dwhContext) {
            *link = node->Next;
            HeapFree(DXGlobals.Heap, 0, node);
            break;
        }
    }
    return DDHAL_DRIVER_HANDLED;
}
