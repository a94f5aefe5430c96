#include "driver/texture/txdownld.h"

#include "driver/core/bits.h"
#include "driver/core/glintutl.h"
#include "driver/texture/download.h"

namespace {

// A trapezoid whose pixels come from the host, several to a word.
constexpr uint32_t kRenderWordsFromHost =
    field::Render_BlockFillKind.Mask() | field::Render_SyncOnHostData.Mask() |
    field::Render_FastFill.Mask() | field::Render_Primitive.Put(0, 1);

constexpr uint32_t kScissorOn =
    field::ScissorMode_UserEnable.Mask() | field::ScissorMode_ScreenEnable.Mask();

// LBReadMode while a patched texture is loaded: of the pitch, in bytes, it takes bits 8 and up.
uint32_t PatchedReadMode(int32_t pitch) {
    constexpr Field kPitch = field::LBReadMode_Unknown22;
    return field::LBReadMode_Patched.Mask() |
           (static_cast<uint32_t>(pitch) << (kPitch.low - 8) & kPitch.Mask());
}

int32_t WordsPerLine(uint32_t pixelSize, int32_t width) {
    switch (pixelSize) {
    case PixelSize8:
        return width >> 2;
    case PixelSize16:
        return width >> 1;
    case PixelSize32:
        return width;
    case PixelSize4:
        return width >> 3;
    default: // 24-bit textures don't exist on these chips
        return 0;
    }
}

// Where the lines of a packed load start, in pixels, and how many words each takes.
struct WordLines {
    int32_t First;
    int32_t Words;
};

// The start is widened by the pixels that lie before the source's left in its first word.
WordLines WordLinesOf(uint32_t pixelSize, int32_t sourceLeft, int32_t left, int32_t right) {
    switch (pixelSize) {
    case PixelSize32:
        return {left, right - left};
    case PixelSize8: {
        const int32_t first = left - (sourceLeft & 3);
        return {first, (right - first + 3) >> 2};
    }
    default: {
        const int32_t first = left - (sourceLeft & 1);
        return {first, (right - first + 1) >> 1};
    }
    }
}

} // namespace

void TXPatchedTextureDownload(DriverData* driver, PrivateSurfaceData* destPrivate,
                              DDRAWI_DDRAWSURFACE_LCL* source, RECTL*,
                              DDRAWI_DDRAWSURFACE_LCL* dest, RECTL* destRect) {
    const int32_t height = HeightOf(*destRect);
    const auto localBuffer = reinterpret_cast<uint32_t>(driver->LocalBufferBase);
    StreamWriter<DriverData> out(driver);
    out.Reserve(kPatchedSetupBytes);
    BeginDisconnect(driver);
    out.Tag(tag::LBWindowBase, (dest->lpGbl->fpVidMem - localBuffer) >> 2);
    out.Tag(tag::TextureCacheControl, field::TextureCacheControl_Unknown0.Mask());
    out.Tag(tag::TextureDownloadOffset, 0);
    const bool patched = (destPrivate->Flags & SURFACE_PATCHED) != 0;
    AssignBits(destPrivate->Flags, SURFACE_PATCHED_NOW, patched);
    out.Tag(tag::LBReadMode, patched ? PatchedReadMode(dest->lpGbl->lPitch) : 0);
    out.Store();
    SendLines<RawWords>(driver, tag::TextureData, LineOf(source, 0), source->lpGbl->lPitch, height,
                        WordsPerLine(destPrivate->PixelSize, WidthOf(*destRect)));
    ContinueUnreserved(driver, out);
    out.Tag(tag::WaitForCompletion, 0);
    out.Store();
    EndDisconnect(driver);
}

void TXPackedDownload(DriverData* driver, PrivateSurfaceData* destPrivate,
                      DDRAWI_DDRAWSURFACE_LCL* source, RECTL* sourceRect,
                      DDRAWI_DDRAWSURFACE_LCL* dest, RECTL* destRect) {
    CopyRects at;
    if (!ClipToSource(*sourceRect, *destRect, at)) {
        return;
    }
    MatchFBDepth(driver);
    const uint32_t pixelSize = destPrivate->PixelSize;
    const int32_t height = HeightOf(at.Dest);
    // The columns are those of the rectangles as they came, also where the source is clipped.
    const WordLines lines =
        WordLinesOf(pixelSize, sourceRect->left, destRect->left, destRect->right);
    StreamWriter<DriverData> out(driver);
    out.Reserve(kPackedSetupBytes);
    BeginDisconnect(driver);
    if (pixelSize != PixelSize32) {
        // Holds back the pixels that the widened start brings in.
        out.Tag(tag::ScissorMode, kScissorOn);
        out.Tag(tag::ScissorMinXY, static_cast<uint32_t>(destRect->left));
    }
    out.Tag(tag::LogicalOpMode, 0);
    out.Tag(tag::FBReadMode, destPrivate->PPCode);
    out.Tag(tag::FBPixelOffset, 0);
    out.Tag(tag::FBWindowBase, FrameBufferOffset(driver, dest) >> pixelSize);
    out.Tag(tag::StartXDom, Fixed16(lines.First));
    out.Tag(tag::StartXSub, Fixed16(destRect->right));
    DrawRows(out, at.Dest.top, height, kRenderWordsFromHost);
    out.Store();
    // The source does not move with the widened start.
    SendLines<RawWords>(driver, tag::Color,
                        LineOf(source, at.Source.top) + (at.Source.left << pixelSize),
                        source->lpGbl->lPitch, height, lines.Words);
    ContinueUnreserved(driver, out);
    out.Tag(tag::ScissorMode, 0);
    out.Tag(tag::WaitForCompletion, 0);
    out.Store();
    EndDisconnect(driver);
    // Ahead of the guard of the blit that called.
    ClearFlag(driver->ChipInfo, CursorExclude);
}
