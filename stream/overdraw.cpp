#include "stream/overdraw.h"

#include "stream/error.h"

#include <algorithm>

namespace stream {

void Overdraw::Clear() {
    std::ranges::fill(frame_, uint16_t{0});
    std::ranges::fill(local_, uint16_t{0});
}

void Overdraw::OnPixel(const board::PixelReport& pixel) {
    if (!counting_) {
        return;
    }
    for (const board::PixelElement* element : {&pixel.colour, &pixel.depth}) {
        if (element->written) {
            uint16_t* counts =
                (element->local ? local_ : frame_).data() + static_cast<size_t>(element->place);
            for (uint32_t i = 0; i < element->bytes; ++i) {
                counts[i] = std::max(counts[i], static_cast<uint16_t>(counts[i] + 1));
            }
        }
    }
}

std::vector<uint16_t> Overdraw::Of(const SurfaceLayout& surface) const {
    const std::vector<uint16_t> none;
    const std::vector<uint16_t>& memory = surface.memory == Memory::FrameBuffer   ? frame_
                                          : surface.memory == Memory::LocalBuffer ? local_
                                                                                  : none;
    const uint64_t pitch = static_cast<uint32_t>(std::max(surface.pitch, 0));
    const uint64_t row = (uint64_t{surface.width} * surface.bits + 7) / 8;
    if (surface.width == 0 || surface.height == 0 || pitch < row ||
        surface.offset + (surface.height - 1) * pitch + row > memory.size()) {
        throw StreamError("'" + surface.name + "' is not in the board's memories");
    }
    std::vector<uint16_t> counts;
    counts.reserve(size_t{surface.width} * surface.height);
    for (uint32_t y = 0; y < surface.height; ++y) {
        const uint16_t* line = memory.data() + static_cast<size_t>(surface.offset + y * pitch);
        for (uint32_t x = 0; x < surface.width; ++x) {
            const uint32_t first = x * surface.bits / 8;
            const uint32_t end = (x * surface.bits + surface.bits + 7) / 8;
            counts.push_back(*std::max_element(line + first, line + end));
        }
    }
    return counts;
}

} // namespace stream
