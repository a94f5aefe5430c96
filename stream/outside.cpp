#include "stream/outside.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace stream {

void OutsideWatch::Store(uint32_t offset, size_t bytes) {
    if (offset < memory_.size()) {
        const size_t count = std::min(bytes, memory_.size() - offset);
        std::memcpy(&known_[offset], &memory_[offset], count);
    }
}

std::optional<std::pair<uint32_t, uint32_t>>
OutsideWatch::Look(const std::vector<SurfaceLayout>& surfaces) {
    using Range = std::pair<size_t, size_t>;
    std::vector<Range> inside;
    for (const SurfaceLayout& surface : surfaces) {
        if (surface.memory == kind_) {
            const size_t line = static_cast<size_t>(std::abs(surface.pitch));
            inside.emplace_back(surface.offset, surface.offset + line * surface.height);
        }
    }
    inside.emplace_back(memory_.size(), memory_.size());
    std::ranges::sort(inside);
    std::optional<std::pair<uint32_t, uint32_t>> found;
    size_t from = 0;
    for (const Range& range : inside) {
        const size_t to = std::min(range.first, memory_.size());
        if (from < to && std::memcmp(&known_[from], &memory_[from], to - from) != 0) {
            for (size_t at = from; at < to; ++at) {
                if (known_[at] != memory_[at]) {
                    found = {found ? found->first : static_cast<uint32_t>(at),
                             static_cast<uint32_t>(at)};
                }
            }
        }
        from = std::max(from, std::min(range.second, memory_.size()));
    }
    std::ranges::copy(memory_, known_.begin());
    return found;
}

} // namespace stream
