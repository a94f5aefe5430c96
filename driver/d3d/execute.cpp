#include "driver/d3d/execute.h"

#include "driver/core/cursor.h"
#include "driver/core/dma.h"
#include "driver/core/records/private_surface.h"
#include "driver/services/context.h"

namespace {

// Reserved for the five pairs that a change of context does not keep.
constexpr uint32_t kHeldWordsBytes = 64;
// Reserved for the bases of a target and its depth, two pairs.
constexpr uint32_t kBasesBytes = 128;

} // namespace

void SwitchFIFOContext(D3DContext* ctx, uint32_t id) {
    ChipInfo* chip = ctx->Driver->ChipInfo;
    ChangeContext(ctx->Driver, chip, id);
    if (!IsFirstPermedia(chip)) {
        return;
    }
    StateWriter out(ctx);
    out.Reserve(kHeldWordsBytes);
    out.Wait(5); // counts pairs, where other context code counts words
    out.Tag(tag::FogMode, ctx->Copies.FogMode);
    out.Tag(tag::FogColor, HeldFogColor(ctx));
    out.Tag(tag::TextureColorMode, ctx->Copies.TextureColorMode);
    out.Tag(tag::TextureAddressMode, ctx->Copies.TextureAddressMode);
    out.Tag(tag::AlphaBlendMode, ctx->AlphaBlendModeOut);
    out.Store();
}

void SynchroniseContext(D3DContext* ctx) {
    if (ctx->Stream.CommandMode != kCommandModeDMA &&
        ctx->Driver->ChipInfo->CurrentContext != ctx->Stream.HardwareContext) {
        SwitchFIFOContext(ctx, ctx->Stream.HardwareContext);
    }
}

void FlipSurfaces(DriverData* driver, D3DContext* ctx) {
    StateWriter out(ctx);
    out.Reserve(kBasesBytes);
    out.Wait(4);

    // The flag is the display's: the first context to draw consumes it for all.
    driver->TargetLost = 0;

    const DDRAWI_DDRAWSURFACE_LCL* target = ctx->RenderTargetSurface;
    const auto frameBuffer = reinterpret_cast<uint32_t>(driver->FrameBufferBase);
    ctx->WindowBaseColour = (target->lpGbl->fpVidMem - frameBuffer) / ctx->BytesPerPixel;
    out.Tag(tag::FBPixelOffset, ctx->WindowBaseColour);
    if (PrivateSurfaceData* record = PrivateOf(target)) {
        record->OwnerContext = ctx;
    }

    if (ctx->ZBufferSurface != nullptr) {
        const uint32_t depth = ctx->ZBufferSurface->lpGbl->fpVidMem;
        if (driver->ChipInfo->Family == FamilyPermedia) {
            ctx->WindowBaseDepth = (depth - frameBuffer) >> 1; // 16-bit Z in the frame buffer
        } else if (driver->ChipInfo->Family == FamilyGlint) {
            // 32-bit local buffer in its own aperture.
            ctx->WindowBaseDepth =
                (depth - reinterpret_cast<uint32_t>(driver->LocalBufferBase)) >> 2;
        }
        out.Tag(tag::LBWindowBase, ctx->WindowBaseDepth);
    }
    out.Store();
}

// Draws the instruction at hand with the renderer of its kind.
static void Dispatch(D3DContext* ctx, D3DHAL_RENDERPRIMITIVEDATA* data) {
    void* records = BufferDataOf(data->lpExeBuf) + data->dwOffset;
    auto* vertices = reinterpret_cast<D3DTLVERTEX*>(BufferDataOf(data->lpTLBuf) + data->dwTLOffset);
    switch (data->diInstruction.bOpcode) {
    case D3DOP_TRIANGLE:
        ctx->TriangleRenderer(ctx, &data->diInstruction, vertices, records);
        break;
    case D3DOP_LINE:
        ctx->LineRenderer(ctx, &data->diInstruction, vertices, records);
        break;
    case D3DOP_POINT:
        ctx->PointRenderer(ctx, &data->diInstruction, vertices, records);
        break;
    default:
        break;
    }
}

// The part of a drawing call that runs with the cursor kept away: dirty state, then the records.
static HRESULT DrawInstruction(DriverData* driver, D3DContext* ctx,
                               D3DHAL_RENDERPRIMITIVEDATA* data) {
    if (driver->TargetLost != 0) {
        ctx->DirtyFlags |= DIRTY_TARGET;
    }
    if (ctx->ZVisibleMode != 0) {
        // Everything counts as visible and nothing is drawn; dirty state stays pending.
        data->dwStatus &= ~D3DSTATUS_ZNOTVISIBLE;
        return DD_OK;
    }
    if (ctx->DirtyFlags != 0) {
        ctx->HandleDirtyState(driver, ctx);
        ctx->DirtyFlags = 0;
        if (ctx->TextureValid == 0) {
            // The chip cannot read system memory. Each further primitive tries the binding again.
            ctx->DirtyFlags = DIRTY_TEXTURE;
            return DDERR_INVALIDPARAMS;
        }
    }
    Dispatch(ctx, data);
    return DD_OK;
}

DWORD KORV_STDCALL RenderPrimitive(D3DHAL_RENDERPRIMITIVEDATA* data) {
    // An empty instruction succeeds on any handle.
    if (data->diInstruction.wCount == 0) {
        data->ddrval = DD_OK;
        return DDHAL_DRIVER_HANDLED;
    }
    D3DContext* ctx = LiveContext(data->dwhContext);
    if (ctx == nullptr) {
        data->ddrval = D3DHAL_CONTEXT_BAD;
        return DDHAL_DRIVER_HANDLED;
    }
    DriverData* driver = ctx->Driver;
    if (ctx->ModeStamp != driver->ModeChangeCount) {
        ctx->ModeStamp = driver->ModeChangeCount;
        driver->TargetLost = 1;
    }
    SynchroniseContext(ctx);

    const CursorAway away(driver->ChipInfo);
    data->ddrval = DrawInstruction(driver, ctx, data);
    return DDHAL_DRIVER_HANDLED;
}

DWORD KORV_STDCALL SceneCapture(D3DHAL_SCENECAPTUREDATA* data) {
    D3DContext* ctx = LiveContext(data->dwhContext);
    if (ctx == nullptr) {
        data->ddrval = D3DHAL_CONTEXT_BAD;
        return DDHAL_DRIVER_HANDLED;
    }
    if (data->dwFlag == D3DHAL_SCENE_CAPTURE_START) {
        // Not capped by the sub-buffer's size here; the next overflow caps it.
        ctx->Stream.SubBufferFlushWords = kSceneFlushWords;
    } else if (data->dwFlag == D3DHAL_SCENE_CAPTURE_END &&
               ctx->Stream.CommandMode == kCommandModeDMA) {
        FlushSubBuffer(ctx);
    }
    data->ddrval = DD_OK;
    return DDHAL_DRIVER_HANDLED;
}
