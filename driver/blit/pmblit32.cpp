#include "driver/blit/pmblit32.h"

#include "driver/core/bits.h"
#include "driver/core/glintutl.h"
#include "driver/core/rectangle.h"
#include "driver/core/source_clip.h"

namespace {

// Bits of FBReadMode for the source's side, and of FBWriteConfig, which is laid out alike, for the
// destination's.
constexpr uint32_t kReadSource = field::FBReadMode_ReadSource.Mask();
constexpr uint32_t kPacked = field::FBReadMode_Packed.Mask();
constexpr uint32_t kPatched =
    field::FBReadMode_Patched.Mask() | field::FBReadMode_PatchKind.Put(0, 1);
static_assert((kReadSource | kPacked) == 0x80200 && kPatched == 0x2040000);

constexpr uint32_t kRelativeMask = 7; // the field of the relative offset

constexpr uint32_t kReserveBytes = 200;
constexpr uint32_t kCopyEntries = 12;
constexpr uint32_t kScreenCopyEntries = 10;

// Clips, and brings the chip to the display's depth. False if nothing is to be copied.
bool BeginCopy(DriverData* driver, const RECTL& sourceRect, const RECTL& destRect, CopyRects& at) {
    if (!ClipToSource(sourceRect, destRect, at)) {
        return false;
    }
    MatchFBDepth(driver);
    return true;
}

// Signed pixels from a pixel of the destination to its source. Columns count from the start of
// their word, whose pixels are numbered by `pixelMask`.
int32_t DistanceToSource(const CopyRects& at, int32_t stride, int32_t pixelMask,
                         int32_t sourceRelative) {
    return (at.Source.top - at.Dest.top) * stride + (at.Source.left & ~pixelMask) -
           (at.Dest.left & ~pixelMask) + sourceRelative;
}

// The same between surfaces. The pixels of a word are those of the destination, not the display's.
int32_t DistanceToSource(const CopyRects& at, int32_t stride, const PrivateSurfaceData* dest,
                         int32_t sourceRelative) {
    return DistanceToSource(at, stride, 3 >> dest->PixelSize, sourceRelative);
}

// A source in front of the destination is walked from its end, in both axes.
BlitDirection DirectionOf(int32_t distance) {
    return distance >= 0 ? BlitDirection::Forward : BlitDirection::Backward;
}

// Where the chip's words lie against the pixels of a packed copy.
struct PackedColumns {
    int32_t First; // in words
    int32_t Last;
    uint32_t Relative; // how far the pixel within a word differs between the two sides
};

PackedColumns PackedColumnsOf(const DriverData* driver, const CopyRects& at) {
    const auto mask = static_cast<int32_t>(driver->PixelsPerWordMask);
    const uint32_t shift = driver->PixelsPerWordShift;
    const int32_t relative = (mask & at.Dest.left) - (mask & at.Source.left);
    return {at.Dest.left >> shift, (at.Dest.right >> shift) + mask,
            static_cast<uint32_t>(relative) & kRelativeMask};
}

// Three words hold four pixels of three bytes.
PackedColumns PackedColumnsOf24Bit(const CopyRects& at) {
    const int32_t from = at.Source.left;
    const int32_t to = at.Dest.left;
    const int32_t relative = 3 * from / 4 * 4 / 3 - to / 4 * 4 + to - from;
    return {3 * to / 4, 3 * at.Dest.right / 4 + 1, static_cast<uint32_t>(relative) & kRelativeMask};
}

// Mode word bits of either side of a packed copy.
uint32_t PackedMode(uint32_t products, const PackedColumns& columns) {
    return products | field::FBReadMode_RelativeOffset.Put(0, columns.Relative) | kPacked |
           kReadSource;
}

// Draws `rect` by words; the chip masks the partial ones at both edges by the pixels themselves.
template <class Sink>
void DrawPacked(Sink& out, BlitDirection direction, const RECTL& rect, const PackedColumns& columns,
                uint32_t render) {
    const bool forward = direction == BlitDirection::Forward;
    const auto first = static_cast<uint32_t>(forward ? rect.left : rect.right);
    const auto last = static_cast<uint32_t>(forward ? rect.right : rect.left);
    WriteColumns(out, direction, columns.First, columns.Last);
    out.Tag(tag::PackedDataLimits, (columns.Relative << 13 | last) << 16 | first);
    DrawRows(out, direction, rect.top, HeightOf(rect), render);
}

void CopyPacked(DriverData* driver, const PrivateSurfaceData* dest,
                const PrivateSurfaceData* source, const RECTL& rect, uint32_t destOffset,
                int32_t distance, const PackedColumns& columns) {
    StreamWriter<DriverData> out(driver);
    out.Reserve(kReserveBytes);
    out.Wait(kCopyEntries);
    out.Tag(tag::FBWindowBase, destOffset);
    out.Tag(tag::FBReadMode, PackedMode(source->PPCode, columns));
    out.Tag(tag::FBWriteConfig, PackedMode(dest->PPCode, columns));
    out.Tag(tag::LogicalOpMode, 0);
    out.Tag(tag::FBSourceOffset, static_cast<uint32_t>(distance));
    DrawPacked(out, DirectionOf(distance), rect, columns, driver->RenderCopy);
    out.Store();
}

} // namespace

void PackedPermediaCopyBlt(DriverData* driver, int32_t, int32_t srcStride,
                           PrivateSurfaceData* destPriv, PrivateSurfaceData* srcPriv,
                           RECTL* destRect, RECTL* srcRect, uint32_t destOffset,
                           int32_t srcRelative, uint32_t) {
    CopyRects at;
    if (!BeginCopy(driver, *srcRect, *destRect, at)) {
        return;
    }
    CopyPacked(driver, destPriv, srcPriv, at.Dest, destOffset,
               DistanceToSource(at, srcStride, destPriv, srcRelative), PackedColumnsOf(driver, at));
}

void Packed24BitPermediaCopyBlt(DriverData* driver, int32_t, int32_t srcStride,
                                PrivateSurfaceData* destPriv, PrivateSurfaceData* srcPriv,
                                RECTL* destRect, RECTL* srcRect, uint32_t destOffset,
                                int32_t srcRelative, uint32_t) {
    CopyRects at;
    if (!BeginCopy(driver, *srcRect, *destRect, at)) {
        return;
    }
    // Only the destination's column counts from the start of its group of four.
    const int32_t distance = (at.Source.top - at.Dest.top) * srcStride - at.Dest.left / 4 * 4 +
                             srcRelative + at.Source.left;
    CopyPacked(driver, destPriv, srcPriv, at.Dest, destOffset, distance, PackedColumnsOf24Bit(at));
}

void PatchedPermediaCopyBlt(DriverData* driver, int32_t, int32_t srcStride,
                            PrivateSurfaceData* destPriv, PrivateSurfaceData* srcPriv,
                            RECTL* destRect, RECTL* srcRect, uint32_t destOffset,
                            int32_t srcRelative, uint32_t) {
    CopyRects at;
    if (!BeginCopy(driver, *srcRect, *destRect, at)) {
        return;
    }
    const int32_t distance = DistanceToSource(at, srcStride, destPriv, srcRelative);
    const bool intoPatched = (destPriv->Flags & SURFACE_PATCHED) != 0;
    AssignBits(destPriv->Flags, SURFACE_PATCHED_NOW, intoPatched);
    StreamWriter<DriverData> out(driver);
    out.Reserve(kReserveBytes);
    out.Wait(kCopyEntries);
    out.Tag(tag::FBWindowBase, destOffset);
    out.Tag(tag::FBReadMode, srcPriv->PPCode | kReadSource | (intoPatched ? 0 : kPatched));
    out.Tag(tag::FBWriteConfig, destPriv->PPCode | (intoPatched ? kPatched : 0));
    out.Tag(tag::LogicalOpMode, 0);
    out.Tag(tag::FBSourceOffset, static_cast<uint32_t>(distance));
    DrawRectangle(out, DirectionOf(distance), at.Dest, driver->RenderCopy);
    out.Store();
}

void vPermediaCopyBlt(DriverData* driver, RECTL* destRect, RECTL* srcRect, int32_t stride,
                      uint32_t destOffset, int32_t srcRelative, uint32_t) {
    CopyRects at;
    if (!BeginCopy(driver, *srcRect, *destRect, at)) {
        return;
    }
    const PackedColumns columns = PackedColumnsOf(driver, at);
    const int32_t distance =
        DistanceToSource(at, stride, static_cast<int32_t>(driver->PixelsPerWordMask), srcRelative);
    MappedWriter out(driver);
    out.Wait(kScreenCopyEntries);
    out.Tag(tag::FBWindowBase, destOffset);
    // No FBWriteConfig is sent here: both sides go by the one word.
    out.Tag(tag::FBReadMode, PackedMode(driver->PartialProducts, columns));
    out.Tag(tag::FBSourceOffset, static_cast<uint32_t>(distance));
    // Whatever the sign of the distance.
    DrawPacked(out, BlitDirection::Forward, at.Dest, columns, driver->RenderCopy);
}
