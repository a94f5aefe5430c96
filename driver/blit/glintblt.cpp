#include "driver/blit/glintblt.h"

#include "driver/blit/glint_screen.h"
#include "driver/blit/pmblit32.h"
#include "driver/core/glintutl.h"

namespace {

constexpr uint32_t kLogicOpCopy = 3;

// FBHardwareWriteMask for the right and the left pixel of a word, and for both.
constexpr uint32_t kRightPixel = 0xFFFF0000;
constexpr uint32_t kLeftPixel = 0x0000FFFF;
constexpr uint32_t kBothPixels = 0xFFFFFFFF;

void WriteLogicOp(MappedWriter& out, const DriverData* driver, uint32_t logicOp) {
    uint32_t readMode = driver->PartialProducts | field::FBReadMode_ReadSource.Mask();
    uint32_t mode = 0;
    if (logicOp != kLogicOpCopy) {
        mode = logicOp * 2 + field::LogicalOpMode_Enable.Mask();
        readMode |= LogicopReadDest[logicOp];
    }
    out.Tag(tag::LogicalOpMode, mode);
    out.Tag(tag::FBReadMode, readMode);
}

// The column of the word in which 16-bit pixel `x` lies, in 16.16.
constexpr uint32_t WordColumn(int32_t x) {
    return static_cast<uint32_t>(x & ~1) << 15;
}

// Draws the rows that are set up between two columns in 16.16.
void DrawColumns(MappedWriter& out, uint32_t from, uint32_t to, uint32_t render) {
    out.Tag(tag::StartXDom, from);
    out.Tag(tag::StartXSub, to);
    out.Tag(tag::Render, render);
}

} // namespace

void vGlintSolidBlt(DriverData* driver, RECTL* rect, uint32_t offset, uint32_t colour) {
    MatchFBDepth(driver);
    MappedWriter out(driver);
    FillScreen(out, driver, *rect, offset, colour);
}

void vGlintCopyBltNative(DriverData* driver, RECTL* destRect, RECTL* srcRect, int32_t stride,
                         uint32_t destOffset, int32_t srcRelative, uint32_t logicOp) {
    MappedWriter out(driver);
    out.Wait(10);
    WriteLogicOp(out, driver, logicOp);
    out.Tag(tag::FBSourceOffset,
            static_cast<uint32_t>(SourceDistance(*srcRect, *destRect, stride, srcRelative)));
    out.Tag(tag::FBWindowBase, destOffset);
    DrawRectangle(out, BlitDirection::Forward, *destRect, driver->RenderCopy);
}

void vGlintCopyBlt16(DriverData* driver, RECTL* destRect, RECTL* srcRect, int32_t stride,
                     uint32_t destOffset, int32_t srcRelative, uint32_t logicOp) {
    const RECTL& dest = *destRect;
    const int32_t distance = SourceDistance(*srcRect, dest, stride, srcRelative);
    if ((distance & 1) != 0) {
        const bool permedia = driver->ChipInfo->Family == FamilyPermedia;
        const auto copy = permedia ? vPermediaCopyBlt : vGlintCopyBltNative;
        copy(driver, destRect, srcRect, stride, destOffset, srcRelative, logicOp);
        return;
    }
    const uint32_t first = WordColumn(dest.left);
    const uint32_t left = WordColumn(dest.left + 1);
    const uint32_t right = WordColumn(dest.right);
    const uint32_t last = WordColumn(dest.right + 1);
    const uint32_t render = driver->RenderCopy;
    if (driver->FBDepth != PixelSize32) {
        vGlintChangeFBDepth(driver, PixelSize32);
    }
    MappedWriter out(driver);
    out.Wait(11);
    WriteLogicOp(out, driver, logicOp);
    out.Tag(tag::FBSourceOffset, static_cast<uint32_t>(distance >> 1));
    out.Tag(tag::FBWindowBase, destOffset >> 1);
    out.Tag(tag::StartY, Fixed16(dest.top));
    out.Tag(tag::dY, Fixed16(1));
    out.Tag(tag::Count, static_cast<uint32_t>(HeightOf(dest)));
    if (first != left) {
        out.Tag(tag::FBHardwareWriteMask, kRightPixel);
        DrawColumns(out, first, left, render);
        out.Wait(4);
        out.Tag(tag::FBHardwareWriteMask, kBothPixels);
    }
    if (left != right) {
        DrawColumns(out, left, right, render);
    }
    if (right != last) {
        out.Wait(5);
        out.Tag(tag::FBHardwareWriteMask, kLeftPixel);
        DrawColumns(out, right, last, render);
        out.Tag(tag::FBHardwareWriteMask, kBothPixels);
    }
}
