#include "tools/korv/random/untouched.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstring>
#include <utility>

namespace korv::random {

namespace {

// A texture with a palette of 256 entries has that behind its pixels.
size_t BytesOf(const host::Surface& surface) {
    constexpr size_t kPaletteBytes = 256 * sizeof(uint32_t);
    const bool palette = (surface.Caps() & DDSCAPS_TEXTURE) != 0 &&
                         (surface.Format().dwFlags & DDPF_PALETTEINDEXED8) != 0;
    return size_t{surface.Height()} * static_cast<size_t>(surface.Pitch()) +
           (palette ? kPaletteBytes : 0);
}

} // namespace

void Untouched::Begin(Player& player) {
    for (auto& [start, memory] : memories_) {
        memory.outside.clear();
    }
    for (auto& [name, one] : player.Displays()) {
        if (!one.directDraw) {
            continue;
        }
        board::Board& board = one.display->Board();
        const std::pair<const uint8_t*, size_t> memories[] = {
            {one.display->FrameBuffer(), board.FrameBuffer().size()},
            {one.display->LocalBuffer(), board.LocalBuffer().size()}};
        for (const auto& [start, bytes] : memories) {
            if (start == nullptr || bytes == 0) {
                continue;
            }
            std::vector<Stretch> inside;
            if (start == one.display->FrameBuffer()) {
                inside.push_back({0, one.display->ScreenBytes()});
            }
            for (const auto& surface : one.directDraw->Surfaces()) {
                const uint8_t* bytesOf = surface->Bytes();
                if (surface->HasVideoMemory() && bytesOf >= start && bytesOf < start + bytes) {
                    const auto offset = static_cast<size_t>(bytesOf - start);
                    inside.push_back({offset, offset + BytesOf(*surface)});
                }
            }
            std::ranges::sort(inside, {}, &Stretch::start);
            Memory& memory = memories_[start];
            memory.bytes.assign(start, start + bytes);
            size_t from = 0;
            for (const Stretch& one : inside) {
                if (one.start > from) {
                    memory.outside.push_back({from, one.start});
                }
                from = std::max(from, one.end);
            }
            if (from < bytes) {
                memory.outside.push_back({from, bytes});
            }
        }
    }
}

std::optional<std::string> Untouched::Problem() const {
    for (const auto& [start, memory] : memories_) {
        for (const Stretch& one : memory.outside) {
            if (std::memcmp(start + one.start, memory.bytes.data() + one.start,
                            one.end - one.start) == 0) {
                continue;
            }
            size_t at = one.start;
            while (start[at] == memory.bytes[at]) {
                ++at;
            }
            return fmt::format("since the surfaces last changed, byte {} of a memory has been "
                               "written, which is of no surface (they leave {} to {})",
                               at, one.start, one.end);
        }
    }
    return std::nullopt;
}

} // namespace korv::random
