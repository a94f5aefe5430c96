#include "driver/blit/txblit32.h"

#include "driver/blit/glint_screen.h"
#include "driver/core/glintutl.h"
#include "driver/core/source_clip.h"
#include "driver/heap/surface_format.h"

namespace {

// Window while the local buffer is copied, and otherwise: what is written comes from the source or
// from the depth register.
constexpr uint32_t kWindowCopying = field::Window_ForceUpdate.Mask();
constexpr uint32_t kWindowIdle = kWindowCopying | field::Window_UpdateFromRegister.Mask();
static_assert(kWindowIdle == 0x18);

// Runs `write` on each line's pixel or word in one column of the surface's memory.
template <class Unit, class Write>
void EditColumn(const DDRAWI_DDRAWSURFACE_LCL* surface, const RECTL& rect, int32_t column,
                Write write) {
    const DDRAWI_DDRAWSURFACE_GBL* global = surface->lpGbl;
    const int32_t stride = global->lPitch / static_cast<int32_t>(sizeof(Unit));
    auto* at = reinterpret_cast<Unit*>(global->fpVidMem) + rect.top * stride + column;
    for (int32_t line = rect.top; line < rect.bottom; ++line) {
        write(*at);
        at += stride;
    }
}

// Fills the pixels of 16 bits at the edges, and makes `rect` count words.
void FillEdges16(const DDRAWI_DDRAWSURFACE_LCL* surface, RECTL& rect, uint32_t fill) {
    const auto fillColumn = [&](int32_t column) {
        EditColumn<uint16_t>(surface, rect, column,
                             [&](uint16_t& pixel) { pixel = static_cast<uint16_t>(fill); });
    };
    const bool oddLeft = (rect.left & 1) != 0;
    if (oddLeft) {
        fillColumn(rect.left);
    }
    // From an even left the last column is filled here also when the chip will fill it again.
    if (!oddLeft || (rect.right & 1) != 0) {
        fillColumn(rect.right - 1);
    }
    rect.left = (rect.left + 1) >> 1;
    rect.right = rect.right >> 1;
}

// The same for pixels of 8 bits. `fill` is a whole word.
void FillEdges8(const DDRAWI_DDRAWSURFACE_LCL* surface, RECTL& rect, uint32_t fill) {
    const auto mergeColumn = [&](int32_t column, uint32_t mask) {
        EditColumn<uint32_t>(surface, rect, column,
                             [&](uint32_t& word) { word = (word & ~mask) | (fill & mask); });
    };
    if ((rect.left & 3) != 0) {
        mergeColumn(rect.left >> 2, sMasks[rect.left & 3]);
    }
    if ((rect.right & 3) != 0) {
        mergeColumn(rect.right >> 2, eMasks[rect.right & 3]);
    }
    rect.left = (rect.left + 3) >> 2;
    rect.right = rect.right >> 2;
}

// Pixels to 32-bit words, as a shift.
uint32_t WordShift(uint32_t pixelSize) {
    switch (pixelSize) {
    case PixelSize8:
        return 2;
    case PixelSize16:
        return 1;
    case PixelSize4:
        return 3;
    default:
        return 0;
    }
}

void ToWords(RECTL& rect, uint32_t shift) {
    rect.left >>= shift;
    rect.right >>= shift;
}

} // namespace

void FastGlintClear(DriverData* driver, RECTL* destRect, uint32_t destOffset, uint32_t fill) {
    MatchFBDepth(driver);
    StreamWriter<DriverData> out(driver);
    out.Reserve(kFillBytes);
    FillScreen(out, driver, *destRect, destOffset, fill);
    out.Store();
}

void FastLBGlintClear(DriverData* driver, DDRAWI_DDRAWSURFACE_LCL* surface, RECTL* destRect,
                      uint32_t offset, uint32_t fill) {
    RECTL words = *destRect;
    // Z buffers hold a word a pixel, whatever their format says.
    switch (HasCaps(surface, DDSCAPS_TEXTURE) ? PixelFormatOf(surface)->dwRGBBitCount : 32) {
    case 32:
        break;
    case 16:
        FillEdges16(surface, words, fill);
        fill |= fill << 16;
        break;
    case 8:
        fill = ReplicateFill(fill, PixelSize8);
        FillEdges8(surface, words, fill);
        break;
    default:
        return;
    }
    const PrivateSurfaceData* priv = PrivateOf(surface);
    if (priv == nullptr || (priv->Flags & SURFACE_READY) == 0) {
        return;
    }
    StreamWriter<DriverData> out(driver);
    out.Reserve(kFillBytes);
    out.Wait(14);
    out.Tag(tag::LBReadMode, priv->PPCode);
    out.Tag(tag::FBReadMode, driver->PartialProducts);
    out.Tag(tag::FBWriteMode, 0);
    out.Tag(tag::LBWriteMode, field::LBWriteMode_Enable.Mask());
    out.Tag(tag::LBWindowBase, offset);
    out.Tag(tag::Depth, fill);
    DrawRectangle(out, BlitDirection::Forward, words, driver->RenderClear);
    out.Tag(tag::FBWriteMode, driver->FBWriteMode);
    out.Tag(tag::LBWriteMode, 0);
    out.Store();
}

void PackedTXCopyBlt(DriverData* driver, RECTL* destRect, RECTL* srcRect, int32_t stride,
                     uint32_t destOffset, int32_t srcRelative, uint32_t /*logicOp*/) {
    CopyRects at;
    if (!ClipToSource(*srcRect, *destRect, at)) {
        return;
    }
    MatchFBDepth(driver);
    StreamWriter<DriverData> out(driver);
    out.Reserve(kCopyBytes);
    out.Wait(11);
    out.Tag(tag::FBReadMode, driver->PartialProducts | field::FBReadMode_ReadSource.Mask());
    out.Tag(tag::LogicalOpMode, 0);
    out.Tag(tag::FBSourceOffset,
            static_cast<uint32_t>(SourceDistance(at.Source, at.Dest, stride, srcRelative)));
    out.Tag(tag::FBWindowBase, destOffset);
    DrawRectangle(out, BlitDirection::Forward, at.Dest, driver->RenderCopy);
    out.Store();
}

void vGlintLBCopyBltNative(DriverData* driver, int32_t /*destStride*/, int32_t srcStride,
                           PrivateSurfaceData* /*destPriv*/, PrivateSurfaceData* srcPriv,
                           RECTL* destRect, RECTL* srcRect, uint32_t destOffset,
                           int32_t srcRelative, uint32_t /*logicOp*/) {
    CopyRects at;
    if (!ClipToSource(*srcRect, *destRect, at)) {
        return;
    }
    MatchFBDepth(driver);
    const uint32_t shift = WordShift(srcPriv->PixelSize);
    ToWords(at.Source, shift);
    ToWords(at.Dest, shift);
    MappedWriter out(driver);
    out.Wait(16);
    out.Tag(tag::LogicalOpMode, 0);
    out.Tag(tag::LBReadMode, srcPriv->PackedPPCode | field::LBReadMode_ReadSource.Mask());
    out.Tag(tag::LBWriteMode, field::LBWriteMode_Enable.Mask());
    out.Tag(tag::LBSourceOffset,
            static_cast<uint32_t>(
                SourceDistance(at.Source, at.Dest, srcStride >> shift, srcRelative >> shift)));
    out.Tag(tag::LBWindowBase, destOffset >> shift);
    out.Tag(tag::FBWriteMode, 0);
    out.Tag(tag::FBReadMode, 0);
    out.Tag(tag::Window, kWindowCopying);
    DrawRectangle(out, BlitDirection::Forward, at.Dest, kRenderPlain);
    out.Tag(tag::LBWriteMode, 0);
    out.Tag(tag::Window, kWindowIdle);
    out.Wait(2);
    out.Tag(tag::FBReadMode, driver->PartialProducts);
    out.Tag(tag::FBWriteMode, driver->FBWriteMode);
}
