#include "tools/korv/random/blit_check.h"

#include "host/inspect/contexts.h"
#include "tools/korv/random/copy_exceptions.h"

#include <fmt/format.h>

#include <algorithm>

namespace korv::random {

namespace {

Rectangle RectOf(const Step& step, const char* field, const host::Surface& surface) {
    const auto found = step.find(field);
    if (found == step.end()) {
        return {0, 0, surface.Width(), surface.Height()};
    }
    return {(*found)[0], (*found)[1], (*found)[2], (*found)[3]};
}

bool SameFormat(const DDPIXELFORMAT& a, const DDPIXELFORMAT& b) {
    return a.dwFlags == b.dwFlags && a.dwFourCC == b.dwFourCC &&
           a.dwRGBBitCount == b.dwRGBBitCount && a.dwRBitMask == b.dwRBitMask &&
           a.dwGBitMask == b.dwGBitMask && a.dwBBitMask == b.dwBBitMask;
}

// Nothing is on its way to the chip.
bool AtRest(PlayedDisplay& display) {
    return display.display->Config().timing.PipelineAtOnce() &&
           display.display->Config().timing.dmaWordsPerTick == 0 &&
           display.display->Config().timing.interruptLatency == 0 &&
           host::UnsentWords(display.display->Chip()).empty();
}

Pixels Filled(const Step& step, const host::Surface& to, const Rectangle& rect) {
    const uint32_t mask = to.Bits() == 32 ? ~0u : (1u << to.Bits()) - 1;
    const uint32_t value = step["do"] != "ropFill"         ? step["value"].get<uint32_t>()
                           : step["value"] == "0x00000042" ? 0u
                                                           : ~0u;
    Pixels pixels = PixelsOf(to);
    for (uint32_t y = rect.top; y < rect.bottom; ++y) {
        for (uint32_t x = rect.left; x < rect.right; ++x) {
            pixels[y * to.Width() + x] = value & mask;
        }
    }
    return pixels;
}

// None: not what a processor would make of it.
std::optional<Pixels> Copied(const Step& step, const host::Display& display,
                             const host::Surface& to, const Rectangle& rect,
                             const host::Surface& from) {
    const bool keyed = step.contains("sourceKey");
    if (step.contains("flags") || step.contains("destKey") ||
        (keyed && !step["sourceKey"].is_array())) {
        return std::nullopt;
    }
    const Rectangle source = RectOf(step, "fromRect", from);
    const bool flipX = step.value("mirrorLeftRight", false),
               flipY = step.value("mirrorUpDown", false);
    for (const CopyException& exception : CopyExceptions()) {
        if (exception.holds({display.Config(), to, from, rect, source, flipX || flipY})) {
            return std::nullopt;
        }
    }
    if (!SameFormat(to.Format(), from.Format()) ||
        source.right - source.left != rect.right - rect.left ||
        source.bottom - source.top != rect.bottom - rect.top ||
        (from.HasVideoMemory() && (from.Caps() & DDSCAPS_TEXTURE) != 0)) {
        return std::nullopt;
    }
    if (&from == &to && (flipX || flipY || keyed)) {
        return std::nullopt; // what is read behind a write of the same blit is nobody's promise
    }
    const DDPIXELFORMAT& format = from.Format();
    const uint32_t colours = (format.dwFlags & DDPF_PALETTEINDEXED8) != 0
                                 ? ~0u
                                 : format.dwRBitMask | format.dwGBitMask | format.dwBBitMask;
    const uint32_t key = keyed ? step["sourceKey"][0].get<uint32_t>() : 0;
    const Pixels pixels = PixelsOf(from);
    Pixels result = PixelsOf(to);
    for (uint32_t y = rect.top; y < rect.bottom; ++y) {
        for (uint32_t x = rect.left; x < rect.right; ++x) {
            const uint32_t sx =
                flipX ? source.right - 1 - (x - rect.left) : source.left + (x - rect.left);
            const uint32_t sy =
                flipY ? source.bottom - 1 - (y - rect.top) : source.top + (y - rect.top);
            const uint32_t pixel = pixels[sy * from.Width() + sx];
            if (!keyed || ((pixel ^ key) & colours) != 0) {
                result[y * to.Width() + x] = pixel;
            }
        }
    }
    return result;
}

} // namespace

std::optional<BlitCheck> BlitCheck::Of(const Step& step, Player& player) {
    const std::string kind = step.value("do", ""), surface = step.value("surface", "");
    const bool fill = kind == "colorFill" || kind == "depthFill" || kind == "ropFill";
    if (!fill && (kind != "blt" || !step.contains("from"))) {
        return std::nullopt;
    }
    try {
        const host::Surface& to = player.SurfaceWithMemory(surface);
        PlayedDisplay& on = player.DisplayOf(surface);
        if (!AtRest(on) || (to.Caps() & DDSCAPS_TEXTURE) != 0) {
            return std::nullopt;
        }
        if (kind == "depthFill" && to.Bits() == 16 && !on.display->Board().LocalBuffer().empty()) {
            return std::nullopt; // takes words of 32 on Glint (docs/hal-scripts.md)
        }
        const Rectangle rect = RectOf(step, "rect", to);
        std::optional<Pixels> pixels =
            fill ? Filled(step, to, rect)
                 : Copied(step, *on.display, to, rect,
                          player.SurfaceWithMemory(step.value("from", "")));
        return pixels ? std::optional(BlitCheck(surface, std::move(*pixels))) : std::nullopt;
    } catch (const NotThereError&) {
        return std::nullopt;
    }
}

std::optional<std::string> BlitCheck::Problem(Player& player) const {
    const host::Surface& to = player.Surface(surface_);
    const Pixels got = PixelsOf(to);
    const std::optional<size_t> at = FirstDifference(got, pixels_);
    if (!at) {
        return std::nullopt;
    }
    return fmt::format("pixel {},{}: the processor makes 0x{:X}, the chip 0x{:X}", *at % to.Width(),
                       *at / to.Width(), pixels_[*at], got[*at]);
}

std::optional<std::string> LoadProblem(const Step& step, Player& player) {
    const std::string surface = step.value("surface", ""), loaded = step.value("from", "");
    PlayedDisplay& on = player.DisplayOf(surface);
    if (!AtRest(on)) {
        return std::nullopt;
    }
    const host::Surface *to = &player.SurfaceWithMemory(surface),
                        *from = &player.SurfaceWithMemory(loaded);
    const auto &levels = to->Chain(), &sources = from->Chain();
    const bool words = !on.display->Board().LocalBuffer().empty();
    for (size_t level = 0;; ++level) {
        // Glint loads whole words (driver/texture/txdownld.cpp, WordsPerLine).
        if (words && to->Width() * to->Bits() < 32) {
            return std::nullopt;
        }
        const Pixels got = PixelsOf(*to), source = PixelsOf(*from);
        if (const std::optional<size_t> at = FirstDifference(got, source)) {
            return fmt::format("level {}, texel {},{}: 0x{:X} was loaded as 0x{:X}", level,
                               *at % to->Width(), *at / to->Width(), source[*at], got[*at]);
        }
        if (level == std::min(levels.size(), sources.size())) {
            return std::nullopt;
        }
        to = levels[level];
        from = sources[level];
    }
}

} // namespace korv::random
