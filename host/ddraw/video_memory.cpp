#include "host/ddraw/video_memory.h"

#include <algorithm>
#include <set>

namespace host {

namespace {

constexpr uint32_t kBlockAlignment = 256;
// Bytes; a whole number of pixels at every depth.
constexpr uint32_t kColumnAlignment = 96;

uint32_t RoundUp(uint32_t value, uint32_t to) {
    return (value + to - 1) / to * to;
}

} // namespace

void LinearMemory::Reset(uint32_t start, uint32_t bytes) {
    start_ = start;
    bytes_ = bytes;
    taken_.clear();
}

uint32_t LinearMemory::Allocate(uint32_t bytes) {
    uint32_t at = start_;
    for (const auto& [address, length] : taken_) {
        if (address - at >= bytes && address >= at) {
            break;
        }
        at = start_ + RoundUp(address + length - start_, kBlockAlignment);
    }
    const uint32_t offset = at - start_;
    if (bytes == 0 || offset > bytes_ || bytes > bytes_ - offset) {
        return 0;
    }
    taken_[at] = bytes;
    return at;
}

bool LinearMemory::Free(uint32_t address) {
    return taken_.erase(address) != 0;
}

void RectangleMemory::Reset(uint32_t base, uint32_t start, uint32_t pitch, uint32_t lines) {
    base_ = base;
    start_ = start;
    pitch_ = pitch;
    lines_ = lines;
    taken_.clear();
}

bool RectangleMemory::IsFree(const Rectangle& wanted) const {
    return std::none_of(taken_.begin(), taken_.end(), [&](const Rectangle& r) {
        return wanted.left < r.right && r.left < wanted.right && wanted.top < r.bottom &&
               r.top < wanted.bottom;
    });
}

uint32_t RectangleMemory::Allocate(uint32_t width, uint32_t lines, uint32_t alignment) {
    if (width == 0 || lines == 0 || width > pitch_) {
        return 0;
    }
    std::set<uint32_t> columns = {0};
    for (const Rectangle& r : taken_) {
        columns.insert(RoundUp(r.right, kColumnAlignment));
    }
    for (uint32_t top = 0; top + lines <= lines_; ++top) {
        for (const uint32_t left : columns) {
            const Rectangle wanted = {left, top, left + width, top + lines};
            if (wanted.right <= pitch_ && (AddressOf(wanted) - base_) % alignment == 0 &&
                IsFree(wanted)) {
                taken_.push_back(wanted);
                return AddressOf(wanted);
            }
        }
    }
    return 0;
}

uint32_t RectangleMemory::AllocateBytes(uint32_t bytes) {
    return pitch_ != 0 ? Allocate(pitch_, (bytes + pitch_ - 1) / pitch_) : 0;
}

bool RectangleMemory::Free(uint32_t address) {
    return std::erase_if(taken_, [&](const Rectangle& r) { return AddressOf(r) == address; }) != 0;
}

} // namespace host
