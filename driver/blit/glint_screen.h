#pragma once
// What the Glint family's blits of the screen share, whether their words go by the stream or by the
// mapped registers.
#include "driver/blit/fill_word.h"
#include "driver/core/rectangle.h"

#include <cstdint>

// Reserved for a fill, 14 pairs at most, and for a copy or stretch, 26 pairs at most.
inline constexpr uint32_t kFillBytes = 200;
inline constexpr uint32_t kCopyBytes = 280;

// A trapezoid that the mode bits of the Render words have no part in.
inline constexpr uint32_t kRenderPlain = field::Render_Primitive.Put(0, 1);

// The signed way in pixels from a pixel of the destination to its source. `relative` is the way
// from the one memory's start to the other's.
inline int32_t SourceDistance(const RECTL& source, const RECTL& dest, int32_t stride,
                              int32_t relative) {
    return (source.top - dest.top) * stride + source.left + relative - dest.left;
}

// Fills a rectangle of the window at `offset`, in the display's depth. Waits for what it writes.
template <class Sink>
inline void FillScreen(Sink& out, const DriverData* driver, const RECTL& rect, uint32_t offset,
                       uint32_t fill) {
    const uint32_t render = driver->RenderSolid;
    int32_t left = rect.left;
    int32_t right = rect.right;
    out.Wait(12);
    if ((render & field::Render_FastFill.Mask()) == 0) {
        out.Tag(tag::FBWriteData, fill);
    } else {
        out.Tag(tag::FBBlockColor, ReplicateFill(fill, driver->PixelSize));
        if (IsSX(driver->ChipInfo)) {
            // Block fills on SX start from an aligned window.
            constexpr uint32_t kMisaligned = 0x1F;
            left += static_cast<int32_t>(offset & kMisaligned);
            right += static_cast<int32_t>(offset & kMisaligned);
            offset &= ~kMisaligned;
        }
    }
    out.Tag(tag::FBReadMode, driver->PartialProducts);
    WriteColumns(out, BlitDirection::Forward, left, right);
    out.Tag(tag::LogicalOpMode, field::LogicalOpMode_ConstantColour.Mask());
    out.Tag(tag::FBWindowBase, offset);
    DrawRows(out, rect.top, HeightOf(rect), render);
    out.Tag(tag::LogicalOpMode, 0);
}
