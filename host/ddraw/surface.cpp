#include "host/ddraw/surface.h"

#include "host/ddraw/format.h"

#include <algorithm>
#include <cstring>

namespace host {

Surface::Surface() {
    interface_.lpLcl = &local_;
    interface_.dwIntRefCnt = 1;
    local_.lpSurfMore = &more_;
    local_.lpGbl = &block_.global;
    local_.dwLocalRefCnt = 1;
    more_.dwSize = sizeof(more_);
    block_.more = &globalMore_;
    block_.global.dwRefCnt = 1;
    globalMore_.dwSize = sizeof(globalMore_);
}

void Surface::LinkAttachments() {
    const auto link = [](std::vector<std::unique_ptr<ATTACHLIST>>& nodes) {
        ATTACHLIST* next = nullptr;
        for (auto it = nodes.rbegin(); it != nodes.rend(); ++it) {
            (*it)->lpLink = next;
            next = it->get();
        }
        return next;
    };
    local_.lpAttachList = link(attached_);
    local_.lpAttachListFrom = link(attachedFrom_);
}

const DDPIXELFORMAT& Surface::Format() const {
    return (local_.dwFlags & DDRAWISURF_HASPIXELFORMAT) != 0
               ? block_.global.ddpfSurface
               : block_.global.lpDD->vmiData.ddpfDisplay;
}

uint32_t Surface::Bits() const {
    return BitsOf(Format());
}

uint32_t Surface::Pixel(uint32_t x, uint32_t y) const {
    const uint32_t bits = Bits();
    const uint8_t* row = Row(y);
    if (bits == 4) {
        return (row[x / 2] >> (x % 2 * 4)) & 15;
    }
    uint32_t value = 0;
    std::memcpy(&value, row + x * bits / 8, bits / 8);
    return value;
}

void Surface::SetPixel(uint32_t x, uint32_t y, uint32_t value) {
    const uint32_t bits = Bits();
    uint8_t* row = Row(y);
    if (bits == 4) {
        const uint32_t shift = x % 2 * 4;
        row[x / 2] = static_cast<uint8_t>((row[x / 2] & ~(15u << shift)) | (value & 15) << shift);
        return;
    }
    std::memcpy(row + x * bits / 8, &value, bits / 8);
}

std::span<const uint8_t> Surface::SystemMemory() const {
    return std::span(systemMemory_)
        .first(systemMemory_.size() - std::min(systemMemory_.size(), kSlack));
}

bool Surface::FlipsWith(const Surface& other) const {
    const auto root = [](const Surface& one) {
        return one.chainRoot_ != nullptr ? one.chainRoot_ : &one;
    };
    return this != &other && root(*this) == root(other) && Width() == other.Width() &&
           Height() == other.Height() && Pitch() == other.Pitch() && Bits() == other.Bits();
}

const PALETTEENTRY* Surface::Palette() const {
    return local_.lpDDPalette != nullptr ? local_.lpDDPalette->lpLcl->lpGbl->lpColorTable : nullptr;
}

} // namespace host
