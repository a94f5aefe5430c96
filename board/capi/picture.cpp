// Pictures of rectangles in the frame buffer.
#include "board/capi/handle.h"
#include "board/values/format.h"
#include "board/values/memory.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace {

using board::Colour;
using board::PixelFormat;

constexpr uint32_t kLongestSide = 16384; // of a side
constexpr uint32_t kBytesOfFormat[] = {1, 1, 2, 2, 2, 3, 4};
constexpr uint32_t kBytesOfPicture[] = {3, 4, 4};
constexpr Colour kOutside{0, 0, 0, 0};

// Red is in the high bits throughout. By korv_board_format; INDEX8 has no channels.
constexpr PixelFormat kFormats[] = {
    {},
    {{5, 3}, {2, 3}, {0, 2}, {8, 0}},
    {{10, 5}, {5, 5}, {0, 5}, {15, 1}},
    {{11, 5}, {5, 6}, {0, 5}, {16, 0}},
    {{8, 4}, {4, 4}, {0, 4}, {12, 4}},
    {{16, 8}, {8, 8}, {0, 8}, {24, 0}},
    {{16, 8}, {8, 8}, {0, 8}, {24, 8}},
};

uint32_t LoadPixel(const uint8_t* place, uint32_t bytes) {
    uint32_t pixel = 0;
    std::memcpy(&pixel, place, bytes);
    return pixel;
}

Colour Indexed(const uint32_t* palette, uint32_t index) {
    const uint32_t entry = palette != nullptr ? palette[index] : index * 0x010101u;
    return {static_cast<int32_t>(entry >> 16 & 0xFF), static_cast<int32_t>(entry >> 8 & 0xFF),
            static_cast<int32_t>(entry & 0xFF), 255};
}

void Store(Colour colour, uint32_t format, uint8_t* to) {
    const bool blueFirst = format == KORV_BOARD_BYTES_BGRA;
    to[0] = static_cast<uint8_t>(blueFirst ? colour.blue : colour.red);
    to[1] = static_cast<uint8_t>(colour.green);
    to[2] = static_cast<uint8_t>(blueFirst ? colour.red : colour.blue);
    if (format != KORV_BOARD_BYTES_RGB) {
        to[3] = static_cast<uint8_t>(colour.alpha);
    }
}

void ReadPicture(std::span<const uint8_t> memory, const korv_board_picture& of, uint8_t* to,
                 size_t toPitch) {
    const uint32_t bytes = kBytesOfFormat[of.format];
    for (uint32_t y = 0; y < of.height; ++y) {
        uint8_t* place = to + toPitch * y;
        const uint64_t row = uint64_t{of.base} + (uint64_t{of.top} + y) * of.pitch;
        for (uint32_t x = 0; x < of.width; ++x, place += kBytesOfPicture[of.picture_format]) {
            const uint64_t from = row + (uint64_t{of.left} + x) * bytes;
            Colour colour = kOutside;
            if (from + bytes <= memory.size()) {
                const uint32_t pixel = LoadPixel(&memory[static_cast<size_t>(from)], bytes);
                colour = of.format == KORV_BOARD_INDEX8
                             ? Indexed(of.palette, pixel)
                             : board::ExpandPixel(kFormats[of.format], pixel);
            }
            Store(colour, of.picture_format, place);
        }
    }
}

} // namespace

korv_board_status korv_board_read_picture(korv_board* board, const korv_board_picture* picture,
                                          void* to, size_t to_pitch) {
    return board::capi::Call(board, [&] {
        // Every field of the first version is needed.
        if (picture == nullptr || picture->size < sizeof *picture || to == nullptr) {
            return board->Fail(KORV_BOARD_BAD_ARGUMENT);
        }
        if (picture->format >= std::size(kBytesOfFormat) ||
            picture->picture_format >= std::size(kBytesOfPicture)) {
            return board->Fail(KORV_BOARD_BAD_ARGUMENT, "no such pixel format");
        }
        if (picture->width > kLongestSide || picture->height > kLongestSide ||
            to_pitch < size_t{picture->width} * kBytesOfPicture[picture->picture_format]) {
            return board->Fail(KORV_BOARD_BAD_ARGUMENT,
                               "a picture that large, or rows that short, cannot be read");
        }
        ReadPicture(board->board.FrameBuffer(), *picture, static_cast<uint8_t*>(to), to_pitch);
        return KORV_BOARD_OK;
    });
}
