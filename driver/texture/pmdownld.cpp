#include "driver/texture/pmdownld.h"

#include "driver/core/bits.h"
#include "driver/heap/surface_pitch.h"
#include "driver/texture/download.h"

namespace {

// A trapezoid whose pixels come from the host.
constexpr uint32_t kRenderFromHost =
    field::Render_SyncOnHostData.Mask() | field::Render_Primitive.Put(0, 1);

// FBReadMode of a patched destination, by the chip's own pixel size and by that of 4-bit pixels.
constexpr uint32_t kReadPatched =
    field::FBReadMode_Patched.Mask() | field::FBReadMode_PatchKind.Put(0, 1);
constexpr uint32_t kReadPatched4Bit =
    field::FBReadMode_Patched.Mask() | field::FBReadMode_PatchKind.Put(0, 2);

// Pixels in the chip's Color form, 8:8:8:8. Bits below a short field stay 0.
constexpr uint32_t ColorOf8Bit(uint8_t pixel) {
    return pixel * 0x010101u;
}
constexpr uint32_t ColorOfTwo4Bit(uint8_t pixels) {
    return pixels;
}
constexpr uint32_t ColorOf1555(uint16_t pixel) {
    return (pixel & 0x001Fu) << 3 | (pixel & 0x03E0u) << 6 | (pixel & 0x7C00u) << 9 |
           (pixel & 0x8000u) << 16;
}
constexpr uint32_t ColorOf4444(uint16_t pixel) {
    return (pixel & 0x000Fu) << 4 | (pixel & 0x00F0u) << 8 | (pixel & 0x0F00u) << 12 |
           (pixel & 0xF000u) << 16;
}
constexpr uint32_t ColorOf565(uint16_t pixel) {
    return (pixel & 0x001Fu) << 3 | (pixel & 0x07E0u) << 5 | (pixel & 0xF800u) << 8;
}

// The conversions of 16-bit pixels only move bits, so each half of a pixel can be looked up.
struct HalfTables {
    uint32_t Low[256];
    uint32_t High[256];
};

template <uint32_t (*Convert)(uint16_t)>
constexpr HalfTables MakeHalfTables() {
    HalfTables tables{};
    for (uint32_t half = 0; half != 256; ++half) {
        tables.Low[half] = Convert(static_cast<uint16_t>(half));
        tables.High[half] = Convert(static_cast<uint16_t>(half << 8));
    }
    return tables;
}

template <uint32_t (*Convert)(uint16_t)>
constexpr HalfTables kHalfTables = MakeHalfTables<Convert>();

template <uint32_t (*Convert)(uint16_t)>
inline uint32_t LookUp(uint16_t pixel) {
    return kHalfTables<Convert>.Low[pixel & 0xFF] | kHalfTables<Convert>.High[pixel >> 8];
}

// The words of a patched load. A load of more than eight bits is one stretch: the source's pitch is
// not looked at.
void SendPixels(DriverData* driver, const PrivateSurfaceData* destPrivate,
                const DDRAWI_DDRAWSURFACE_LCL* source, int32_t width, int32_t height,
                int32_t pixels) {
    const uint8_t* from = LineOf(source, 0);
    const int32_t pitch = source->lpGbl->lPitch;
    switch (destPrivate->PixelSize) {
    case PixelSize8:
        SendLines<ConvertedWords<uint8_t, ColorOf8Bit>>(driver, tag::Color, from, pitch, height,
                                                        width);
        break;
    case PixelSize4:
        SendLines<ConvertedWords<uint8_t, ColorOfTwo4Bit>>(driver, tag::Color, from, pitch, height,
                                                           width);
        break;
    case PixelSize16:
        switch (destPrivate->RedMask) {
        case 0x7C00:
            SendRuns(driver, tag::Color, pixels,
                     ConvertedWords<uint16_t, LookUp<ColorOf1555>>(from));
            break;
        case 0xF00:
            SendRuns(driver, tag::Color, pixels,
                     ConvertedWords<uint16_t, LookUp<ColorOf4444>>(from));
            break;
        default:
            SendRuns(driver, tag::Color, pixels,
                     ConvertedWords<uint16_t, LookUp<ColorOf565>>(from));
            break;
        }
        break;
    default:
        SendRuns(driver, tag::Color, pixels, RawWords(from));
        break;
    }
}

// How the destination is drawn.
struct PatchedTarget {
    uint32_t Offset;    // FBWindowBase
    uint32_t Code;      // partial products
    uint32_t ReadPixel; // FBReadPixel
    uint32_t ReadPatched;
};

PatchedTarget TargetOf(DriverData* driver, const PrivateSurfaceData* destPrivate,
                       const DDRAWI_DDRAWSURFACE_LCL* dest) {
    const uint32_t offset = FrameBufferOffset(driver, dest);
    const uint32_t pixelSize = destPrivate->PixelSize;
    switch (pixelSize) {
    case PixelSize4: {
        // Drawn as 8-bit pixels of two, whose pitch in pixels is the one in bytes.
        uint32_t pp0, pp1, pp2, pp3;
        DeterminePPCode(driver, static_cast<uint32_t>(dest->lpGbl->lPitch), &pp0, &pp1, &pp2, &pp3);
        return {offset, PartialProductCode(pp0, pp1, pp2), PixelSize8, kReadPatched4Bit};
    }
    case PixelSize24:
        return {offset / 3, destPrivate->PPCode, PixelSize24, kReadPatched};
    default:
        return {offset >> pixelSize, destPrivate->PPCode, pixelSize, kReadPatched};
    }
}

// The dither unit is what converts to the destination's texel format.
uint32_t ConversionWord(const PrivateSurfaceData* destPrivate) {
    uint32_t word = field::DitherMode_UnitEnable.Mask();
    PutField(word, field::DitherMode_ColorFormat, destPrivate->Format);
    PutField(word, field::DitherMode_FormatExtension, destPrivate->FormatExtension);
    return word;
}

// 32-bit words that hold a line of a packed load.
struct WordColumns {
    int32_t First;
    int32_t Last;
};

WordColumns WordColumnsOf(uint32_t pixelSize, const RECTL& rect) {
    switch (pixelSize) {
    case PixelSize32:
        return {rect.left, rect.right};
    case PixelSize8:
        return {rect.left >> 2, (rect.right + 7) >> 2};
    default: // 4-bit and 24-bit pixels too
        return {rect.left >> 1, (rect.right + 3) >> 1};
    }
}

int32_t PixelsPerWord(uint32_t pixelSize) {
    switch (pixelSize) {
    case PixelSize8:
        return 4;
    case PixelSize16:
        return 2;
    case PixelSize4:
        return 8;
    default:
        return 1;
    }
}

// Sends the lines and leaves the chip as the two-dimensional path expects it.
void SendPackedLines(DriverData* driver, StreamWriter<DriverData>& out,
                     const DDRAWI_DDRAWSURFACE_LCL* source, const uint8_t* from, int32_t height,
                     int32_t words) {
    out.Store();
    SendLines<RawWords>(driver, tag::Color, from, source->lpGbl->lPitch, height, words);
    ContinueUnreserved(driver, out);
    out.Tag(tag::FBReadPixel, driver->PixelSize);
    out.Store();
    EndDisconnect(driver);
}

// 2^LogPerWord pixels are drawn as one of 32 bits. Partial words at the edges are not masked.
template <uint32_t LogPerWord>
void DownloadAsWords(DriverData* driver, PrivateSurfaceData* destPrivate,
                     DDRAWI_DDRAWSURFACE_LCL* source, const RECTL* sourceRect,
                     DDRAWI_DDRAWSURFACE_LCL* dest, const RECTL* destRect) {
    constexpr int32_t kWordMask = (1 << LogPerWord) - 1;
    const auto columnOf = [](int32_t x) {
        return static_cast<uint32_t>(x & ~kWordMask) << (16 - LogPerWord);
    };
    // Of the whole rectangle, also where the source is clipped.
    const int32_t words = WidthOf(*destRect) >> LogPerWord;
    const int32_t height = HeightOf(*destRect);
    CopyRects at;
    if (!ClipToSource(*sourceRect, *destRect, at)) {
        return;
    }
    StreamWriter<DriverData> out(driver);
    out.Reserve(kPackedSetupBytes);
    BeginDisconnect(driver);
    out.Tag(tag::LogicalOpMode, 0);
    out.Tag(tag::FBReadMode, destPrivate->PackedPPCode);
    out.Tag(tag::FBReadPixel, PixelSize32);
    out.Tag(tag::FBPixelOffset, 0);
    out.Tag(tag::FBWindowBase, FrameBufferOffset(driver, dest) >> PixelSize32);
    out.Tag(tag::StartXDom, columnOf(at.Dest.left));
    out.Tag(tag::StartXSub, columnOf(at.Dest.right));
    DrawRows(out, at.Dest.top, height, kRenderFromHost);
    SendPackedLines(driver, out, source,
                    LineOf(source, at.Source.top) + (at.Source.left << destPrivate->PixelSize),
                    height, words);
}

} // namespace

void PermediaPatchedTextureDownload(DriverData* driver, PrivateSurfaceData* destPrivate,
                                    DDRAWI_DDRAWSURFACE_LCL* source, RECTL*,
                                    DDRAWI_DDRAWSURFACE_LCL* dest, RECTL* destRect) {
    const uint32_t pixelSize = destPrivate->PixelSize;
    const int32_t height = HeightOf(*destRect);
    int32_t width = WidthOf(*destRect);
    int32_t pixels = width * height;
    if (pixelSize == PixelSize4) {
        pixels /= 2;
        width /= 2;
    }
    StreamWriter<DriverData> out(driver);
    out.Reserve(kPatchedSetupBytes);
    BeginDisconnect(driver);
    const PatchedTarget target = TargetOf(driver, destPrivate, dest);
    out.Tag(tag::FBReadPixel, target.ReadPixel);
    if (pixelSize == PixelSize4) {
        out.Tag(tag::DitherMode, 0);
    } else if (pixelSize != PixelSize8) {
        out.Tag(tag::DitherMode, ConversionWord(destPrivate));
    }
    out.Tag(tag::TextureColorMode, 0);
    out.Tag(tag::LogicalOpMode, 0);
    const bool patched = (destPrivate->Flags & SURFACE_PATCHED) != 0;
    AssignBits(destPrivate->Flags, SURFACE_PATCHED_NOW, patched);
    out.Tag(tag::FBReadMode, patched ? target.Code | target.ReadPatched : target.Code);
    out.Tag(tag::FBPixelOffset, 0);
    out.Tag(tag::FBWindowBase, target.Offset);
    out.Tag(tag::StartXDom, 0);
    out.Tag(tag::StartXSub, Fixed16(width));
    DrawRows(out, 0, height, kRenderFromHost);
    out.Store();
    SendPixels(driver, destPrivate, source, width, height, pixels);
    ContinueUnreserved(driver, out);
    if (pixelSize != PixelSize8) {
        out.Tag(tag::DitherMode, 0);
    }
    out.Tag(tag::FBReadPixel, driver->PixelSize);
    out.Tag(tag::WaitForCompletion, 0);
    out.Store();
    EndDisconnect(driver);
}

void PermediaPackedDownload(DriverData* driver, PrivateSurfaceData* destPrivate,
                            DDRAWI_DDRAWSURFACE_LCL* source, RECTL* sourceRect,
                            DDRAWI_DDRAWSURFACE_LCL* dest, RECTL* destRect) {
    CopyRects at;
    if (!ClipToSource(*sourceRect, *destRect, at)) {
        return;
    }
    const uint32_t pixelSize = destPrivate->PixelSize;
    const int32_t mask = 3 >> pixelSize;
    const auto relative =
        static_cast<uint32_t>((at.Dest.left & mask) - (at.Source.left & mask)) & 7;
    const WordColumns columns = WordColumnsOf(pixelSize, at.Dest);
    const int32_t height = HeightOf(at.Dest);
    StreamWriter<DriverData> out(driver);
    out.Reserve(kPackedSetupBytes);
    BeginDisconnect(driver);
    out.Tag(tag::LogicalOpMode, 0);
    out.Tag(tag::FBReadMode, destPrivate->PPCode |
                                 field::FBReadMode_RelativeOffset.Put(0, relative) |
                                 field::FBReadMode_Packed.Mask());
    out.Tag(tag::FBReadPixel, pixelSize);
    out.Tag(tag::FBPixelOffset, 0);
    out.Tag(tag::FBWindowBase, FrameBufferOffset(driver, dest) >> pixelSize);
    out.Tag(tag::StartXDom, Fixed16(columns.First));
    out.Tag(tag::StartXSub, Fixed16(columns.Last));
    // The chip masks the first and the last word by the pixels themselves.
    out.Tag(tag::PackedDataLimits, (relative << 13 | static_cast<uint32_t>(at.Dest.left)) << 16 |
                                       static_cast<uint32_t>(at.Dest.right));
    DrawRows(out, at.Dest.top, height, kRenderFromHost);
    // Whole words are read, so possibly pixels to the right of the rectangle too.
    const int32_t firstPixel = at.Source.left & ~(PixelsPerWord(pixelSize) - 1);
    SendPackedLines(driver, out, source, LineOf(source, at.Source.top) + (firstPixel << pixelSize),
                    height, columns.Last - columns.First);
}

void PermediaPacked16BitDownload(DriverData* driver, PrivateSurfaceData* destPrivate,
                                 DDRAWI_DDRAWSURFACE_LCL* source, RECTL* sourceRect,
                                 DDRAWI_DDRAWSURFACE_LCL* dest, RECTL* destRect) {
    DownloadAsWords<1>(driver, destPrivate, source, sourceRect, dest, destRect);
}

void PermediaPacked8BitDownload(DriverData* driver, PrivateSurfaceData* destPrivate,
                                DDRAWI_DDRAWSURFACE_LCL* source, RECTL* sourceRect,
                                DDRAWI_DDRAWSURFACE_LCL* dest, RECTL* destRect) {
    DownloadAsWords<2>(driver, destPrivate, source, sourceRect, dest, destRect);
}
