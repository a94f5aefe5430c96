#include "stream/wires.h"

#include "stream/error.h"

#include <algorithm>

namespace stream {

void Wires::Mark(const board::Plane& pixels, int64_t x, int64_t y) {
    // Beside the rows lie other rows.
    const int64_t place = pixels.Index(x, y) * pixels.bytesPerElement;
    if (x < 0 || x >= pixels.pitch || place < 0 || place >= static_cast<int64_t>(lines_.size())) {
        return;
    }
    lines_[static_cast<size_t>(place)] = 1;
    latest_.push_back(static_cast<uint32_t>(place));
}

void Wires::MarkRow(const board::Plane& pixels, int64_t y, int64_t left, int64_t right) {
    for (int64_t x = std::max<int64_t>(left, 0); x < std::min(right, pixels.pitch); ++x) {
        Mark(pixels, x, y);
    }
}

void Wires::EndPrimitive() {
    if (row_) {
        MarkRow(row_->pixels, row_->y, row_->left, row_->right);
        row_.reset();
    }
}

void Wires::OnPrimitive(board::PrimitiveKind) {
    EndPrimitive();
    latest_.clear();
    first_ = true;
}

bool Wires::Wants(const board::PixelRow& row) {
    if (row.columns || row.pixels == nullptr || row.left >= row.right) {
        return false;
    }
    if (first_) {
        MarkRow(*row.pixels, row.y, row.left, row.right);
        first_ = false;
    } else {
        Mark(*row.pixels, row.left, row.y);
        Mark(*row.pixels, row.right - 1, row.y);
    }
    row_ = {*row.pixels, row.y, row.left, row.right};
    return false;
}

std::vector<Wires::Line> Wires::Of(const SurfaceLayout& surface) {
    EndPrimitive();
    const uint64_t pitch = static_cast<uint32_t>(std::max(surface.pitch, 0));
    const uint64_t row = (uint64_t{surface.width} * surface.bits + 7) / 8;
    if (surface.memory != Memory::FrameBuffer || surface.width == 0 || surface.height == 0 ||
        pitch < row || surface.offset + (surface.height - 1) * pitch + row > lines_.size()) {
        throw StreamError("'" + surface.name + "' is not in the board's frame buffer");
    }
    std::vector<Line> lines;
    lines.reserve(size_t{surface.width} * surface.height);
    const auto byteOf = [&](uint32_t x, uint32_t y) {
        return surface.offset + static_cast<size_t>(y) * pitch + size_t{x} * surface.bits / 8;
    };
    std::vector<uint32_t> latest = latest_;
    std::ranges::sort(latest);
    for (uint32_t y = 0; y < surface.height; ++y) {
        for (uint32_t x = 0; x < surface.width; ++x) {
            const size_t byte = byteOf(x, y);
            const bool last = std::ranges::binary_search(latest, static_cast<uint32_t>(byte));
            lines.push_back(last ? Line::Latest : lines_[byte] != 0 ? Line::Wire : Line::None);
        }
    }
    return lines;
}

} // namespace stream
