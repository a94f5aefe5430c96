#include "tools/korv/capture/layout_picture.h"

#include "board/board.h"
#include "host/ddraw/format.h"
#include "tools/korv/base/errors.h"

#include <fmt/format.h>

#include <array>
#include <cstdlib>
#include <stdexcept>

namespace korv {

namespace {

DDPIXELFORMAT FormatOf(const stream::SurfaceLayout& surface) {
    if (surface.format == "depth") {
        return host::DepthFormat(surface.bits);
    }
    if (surface.format == "indexed") {
        return host::PaletteFormat(surface.bits);
    }
    if (surface.format == "rgb") {
        return host::RgbFormat(surface.bits, surface.red, surface.green, surface.blue,
                               surface.alpha);
    }
    return {};
}

} // namespace

host::Picture PictureOf(board::Board& board, const stream::SurfaceLayout& surface,
                        const std::vector<uint8_t>& palette) {
    const auto memory = surface.memory == stream::Memory::FrameBuffer   ? board.FrameBuffer()
                        : surface.memory == stream::Memory::LocalBuffer ? board.LocalBuffer()
                                                                        : std::span<uint8_t>();
    const uint64_t row = (uint64_t{surface.width} * surface.bits + 7) / 8;
    const uint64_t bytes =
        surface.height == 0
            ? 0
            : uint64_t{surface.height - 1} * static_cast<uint32_t>(std::abs(surface.pitch)) + row;
    if (bytes == 0 || surface.pitch < 0 || surface.offset + bytes > memory.size()) {
        throw UserError(fmt::format("'{}' is not in the board's memories", surface.name));
    }
    std::array<PALETTEENTRY, 256> entries{};
    for (size_t i = 0; i * 3 + 3 <= palette.size() && i < entries.size(); ++i) {
        entries[i].peRed = palette[3 * i];
        entries[i].peGreen = palette[3 * i + 1];
        entries[i].peBlue = palette[3 * i + 2];
    }
    try {
        return host::ReadPicture(memory.data() + surface.offset, surface.pitch, surface.width,
                                 surface.height, FormatOf(surface),
                                 palette.empty() ? nullptr : entries.data());
    } catch (const std::invalid_argument& error) {
        throw UserError(fmt::format("'{}' ({}, {} bits a pixel): {}", surface.name, surface.format,
                                    surface.bits, error.what()));
    }
}

} // namespace korv
