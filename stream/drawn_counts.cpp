#include "stream/drawn_counts.h"

namespace stream {

namespace {

constexpr DrawnKindRow kRows[] = {
    {"trapezoids", "trapezoids"},
    {"lines", "lines"},
    {"points", "points"},
    {"triangles of the setup unit", "triangles"},
    {"lines of the setup unit", "setupLines"},
    {"block fills", "fills"},
    {"copies", "copies"},
    {"packed copies", "packedCopies"},
    {"downloads of raw pixels", "downloads"},
    {"fills of the local buffer", "localFills"},
    {"copies in the local buffer", "localCopies"},
    {"words of texture data", "textureData"},
    {"video", "video"},
};
static_assert(std::size(kRows) == static_cast<size_t>(DrawnKind::kCount));

DrawnKind KindOf(board::PixelWay way, board::PrimitiveKind primitive) {
    using Way = board::PixelWay;
    switch (way) {
    case Way::Fragment:
        switch (primitive) {
        case board::PrimitiveKind::Trapezoid:
            return DrawnKind::Trapezoid;
        case board::PrimitiveKind::Line:
            return DrawnKind::Line;
        case board::PrimitiveKind::Point:
            return DrawnKind::Point;
        case board::PrimitiveKind::Triangle:
            return DrawnKind::Triangle;
        case board::PrimitiveKind::SetupLine:
            return DrawnKind::SetupLine;
        }
        return DrawnKind::Trapezoid;
    case Way::Fill:
        return DrawnKind::Fill;
    case Way::Copy:
        return DrawnKind::Copy;
    case Way::PackedCopy:
        return DrawnKind::PackedCopy;
    case Way::Download:
        return DrawnKind::Download;
    case Way::LocalFill:
        return DrawnKind::LocalFill;
    case Way::LocalCopy:
        return DrawnKind::LocalCopy;
    case Way::TextureData:
        return DrawnKind::TextureData;
    case Way::Video:
        return DrawnKind::Video;
    }
    return DrawnKind::Fill;
}

} // namespace

const DrawnKindRow& RowOf(DrawnKind kind) {
    return kRows[static_cast<size_t>(kind)];
}

PixelCounts& PixelCounts::operator+=(const PixelCounts& other) {
    cut += other.cut;
    tested += other.tested;
    passed += other.passed;
    written += other.written;
    return *this;
}

PixelCounts PixelCounts::operator-(const PixelCounts& other) const {
    return {cut - other.cut, tested - other.tested, passed - other.passed, written - other.written};
}

PixelCounts DrawnCounts::All() const {
    PixelCounts all;
    for (const PixelCounts& one : pixels) {
        all += one;
    }
    return all;
}

DrawnCounts DrawnCounts::operator-(const DrawnCounts& before) const {
    DrawnCounts difference;
    for (size_t i = 0; i < pixels.size(); ++i) {
        difference.pixels[i] = pixels[i] - before.pixels[i];
    }
    difference.frameBytes = frameBytes - before.frameBytes;
    difference.localBytes = localBytes - before.localBytes;
    return difference;
}

PixelCounts& DrawnCounter::Of(board::PixelWay way) {
    return counts_.pixels[static_cast<size_t>(KindOf(way, primitive_))];
}

void DrawnCounter::OnPixel(const board::PixelReport& pixel) {
    using board::PixelTest;
    for (const board::PixelElement* element : {&pixel.colour, &pixel.depth}) {
        if (element->written) {
            (element->local ? counts_.localBytes : counts_.frameBytes) += element->bytes;
        }
    }
    if (pixel.rest) {
        return;
    }
    PixelCounts& counts = Of(pixel.way);
    if (pixel.Failed(PixelTest::Limits) || pixel.Failed(PixelTest::Scissor) ||
        pixel.Failed(PixelTest::Memory)) {
        ++counts.cut;
        return;
    }
    ++counts.tested;
    counts.passed += pixel.Passed() ? 1 : 0;
    counts.written += pixel.colour.written || pixel.depth.written ? 1 : 0;
}

void DrawnCounter::OnCut(const board::CutPixels& run) {
    Of(run.way).cut += static_cast<uint64_t>(run.right - run.left);
}

} // namespace stream
