// Fills, and Direct3D's clear, which is made of them.
#include "driver/blit/fill_word.h"
#include "driver/blit/pmblit32.h"
#include "driver/core/rectangle.h"
#include "driver/core/units.h"
#include "driver/d3d/execute.h"

namespace {

constexpr uint32_t kFillReserveBytes = 200;
constexpr uint32_t kClearReserveBytes = 512;

// Writes FBWriteData instead of a fragment's colour.
constexpr uint32_t kWriteConstant = field::LogicalOpMode_ConstantColour.Mask();
static_assert(kWriteConstant == 0x20);

constexpr uint32_t kBlockFill = field::Render_FastFill.Mask();

// The driver's record of a surface that can be filled, or null.
const PrivateSurfaceData* FillablePrivateOf(const DDRAWI_DDRAWSURFACE_GBL* surface) {
    const PrivateSurfaceData* record = PrivateOf(surface);
    return record != nullptr && (record->Flags & SURFACE_READY) != 0 ? record : nullptr;
}

// Block fills write words, where the bytes of 24-bit pixels have no fixed place.
bool AllowsBlockFill(uint32_t fill, uint32_t pixelSize) {
    const uint32_t low = fill & 0xFF;
    return pixelSize != PixelSize24 || (fill & 0xFFFFFF) == low * 0x010101;
}

// Units that would touch a fill's pixels, on every chip.
constexpr uint16_t kFragmentUnits[] = {
    tag::ColorDDAMode,
    tag::FogMode,
    tag::AlphaTestMode,
    tag::LBReadMode,
};
constexpr uint16_t kPixelUnits[] = {
    tag::DitherMode,
    tag::LogicalOpMode,
    tag::AlphaBlendMode,
};
// Unlike where all units are quieted, the texture base stays.
constexpr uint16_t kPermedia2ClearUnits[] = {
    tag::TexelLUTIndex,
    tag::TexelLUTTransfer,
};

// What a Direct3D context left on.
void QuietUnits(DriverData* driver) {
    const ChipInfo* chip = driver->ChipInfo;
    StreamWriter<DriverData> out(driver);
    out.Reserve(kClearReserveBytes);
    out.Wait(16);
    WriteZeros(out, kFragmentUnits);
    out.Wait(16);
    WriteZeros(out, kPixelUnits);
    out.Wait(16);
    if (chip->Family == FamilyPermedia) {
        WriteZeros(out, kPermediaTextureUnits);
        out.Tag(tag::AStart, kOpaqueAlpha);
        if (IsPermedia2(chip)) {
            WriteZeros(out, kPermedia2ClearUnits);
        }
    } else if (chip->Family == FamilyGlint) {
        WriteZeros(out, kGlintTextureUnits);
        if (IsMX(chip)) {
            WriteZeros(out, kMXUnits);
        }
    }
    out.Store();
}

// The fills of the request. They are the same on every family.
void FillRectangles(const D3DContext* ctx, const D3DHAL_CLEARDATA* data) {
    const DDRAWI_DDRAWSURFACE_LCL* target =
        (data->dwFlags & D3DCLEAR_TARGET) != 0 ? ctx->RenderTargetSurface : nullptr;
    const DDRAWI_DDRAWSURFACE_LCL* depth =
        (data->dwFlags & D3DCLEAR_ZBUFFER) != 0 ? ctx->ZBufferSurface : nullptr;
    for (DWORD i = data->dwNumRects; i-- != 0;) {
        const D3DRECT& area = data->lpRects[i];
        RECTL rect = {area.x1, area.y1, area.x2, area.y2};
        if (target != nullptr) {
            FastPermediaClear(ctx->Driver, target->lpGbl, &rect, ctx->WindowBaseColour,
                              data->dwFillColor);
        }
        if (depth != nullptr) {
            FastLBPermediaClear(ctx->Driver, depth->lpGbl, &rect, ctx->WindowBaseDepth,
                                data->dwFillDepth);
        }
    }
}

void ClearContext(D3DContext* ctx, const D3DHAL_CLEARDATA* data) {
    ChipInfo* chip = ctx->Driver->ChipInfo;
    const uint32_t noted = chip->CurrentContext;
    SynchroniseContext(ctx);
    QuietUnits(ctx->Driver);
    FillRectangles(ctx, data);
    // All but the renderers goes to the chip again.
    ctx->DirtyFlags |= DIRTY_BLEND | DIRTY_Z | DIRTY_TEXTURE | DIRTY_TARGET;
    if (ctx->Stream.CommandMode == kCommandModeFIFO && chip->CurrentContext != noted) {
        SwitchFIFOContext(ctx, noted);
    }
}

} // namespace

void FastPermediaClear(DriverData* driver, DDRAWI_DDRAWSURFACE_GBL* surface, RECTL* destRect,
                       uint32_t offset, uint32_t fill) {
    const PrivateSurfaceData* record = FillablePrivateOf(surface);
    if (record == nullptr) {
        return;
    }
    const uint32_t word = ReplicateFill(fill, record->PixelSize);
    const bool blockFill =
        (driver->RenderClear & kBlockFill) != 0 && AllowsBlockFill(word, record->PixelSize);
    StreamWriter<DriverData> out(driver);
    out.Reserve(kFillReserveBytes);
    out.Wait(12);
    out.Tag(blockFill ? tag::FBBlockColor : tag::FBWriteData, word);
    out.Tag(tag::FBReadMode, record->PPCode);
    out.Tag(tag::LogicalOpMode, kWriteConstant);
    out.Tag(tag::FBWindowBase, offset);
    DrawRectangle(out, BlitDirection::Forward, *destRect,
                  blockFill ? driver->RenderClear : driver->RenderClear & ~kBlockFill);
    out.Tag(tag::FBReadPixel, driver->PixelSize);
    out.Tag(tag::LogicalOpMode, 0);
    out.Store();
}

void FastLBPermediaClear(DriverData* driver, DDRAWI_DDRAWSURFACE_GBL* surface, RECTL* destRect,
                         uint32_t offset, uint32_t fill) {
    const PrivateSurfaceData* record = FillablePrivateOf(surface);
    if (record == nullptr) {
        return;
    }
    const uint32_t word = ReplicateFill(fill, PixelSize16);
    const bool blockFill = (driver->RenderClear & kBlockFill) != 0;
    StreamWriter<DriverData> out(driver);
    out.Reserve(kFillReserveBytes);
    out.Wait(5);
    out.Tag(blockFill ? tag::FBBlockColor : tag::FBWriteData, word);
    out.Tag(tag::FBReadMode, record->PPCode);
    out.Tag(tag::FBReadPixel, PixelSize16);
    out.Tag(tag::LogicalOpMode, kWriteConstant);
    out.Tag(tag::FBWindowBase, offset);
    // Without block fill the columns are those of 32-bit pixels, although the chip is told 16.
    const int32_t divisor = blockFill ? 1 : 2;
    out.Wait(9);
    out.Word(burst::Rectangle);
    out.Word(Fixed16(destRect->left / divisor));
    out.Word(Fixed16(destRect->right / divisor));
    out.Word(Fixed16(destRect->top));
    out.Word(Fixed16(1));
    out.Word(static_cast<uint32_t>(HeightOf(*destRect)));
    out.Word(driver->RenderClear);
    out.Tag(tag::FBReadPixel, driver->PixelSize);
    out.Tag(tag::LogicalOpMode, 0);
    out.Store();
}

DWORD KORV_STDCALL Clear32(D3DHAL_CLEARDATA* data) {
    if ((data->dwFlags & (D3DCLEAR_TARGET | D3DCLEAR_ZBUFFER)) != 0 && data->dwNumRects != 0) {
        if (D3DContext* ctx = LiveContext(data->dwhContext)) {
            ClearContext(ctx, data);
        }
    }
    data->ddrval = DD_OK;
    return DDHAL_DRIVER_HANDLED;
}
