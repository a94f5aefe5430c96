#include "tools/korv/random/copy_exceptions.h"

#include "chip/devices.h"

namespace korv::random {

namespace {

bool IsGlint(const CopyCase& copy) {
    return copy.display.deviceId == DeviceSX || copy.display.deviceId == DeviceTX ||
           copy.display.deviceId == DeviceMX;
}

bool Overlap(const CopyCase& copy) {
    return &copy.to == &copy.from && copy.rect.left < copy.source.right &&
           copy.source.left < copy.rect.right && copy.rect.top < copy.source.bottom &&
           copy.source.top < copy.rect.bottom;
}

constexpr CopyException kExceptions[] = {
    {"Glint copies go forward always, also where they read what they have written "
     "(driver/blit/txblit32.cpp, PackedTXCopyBlt)",
     [](const CopyCase& copy) { return IsGlint(copy) && Overlap(copy); }},
    {"Glint downloads start at whole words and leave the source where it was "
     "(driver/texture/txdownld.cpp, TXPackedDownload)",
     [](const CopyCase& copy) {
         const uint32_t bits = copy.to.Bits();
         return IsGlint(copy) && !copy.from.HasVideoMemory() &&
                (copy.rect.left * bits % 32 != 0 || copy.source.left * bits % 32 != 0);
     }},
    {"a mirror turns the source rectangle about the whole surface "
     "(driver/blit/pmblitfx.cpp, PermediaStretchCopyBlt)",
     [](const CopyCase& copy) {
         return copy.mirrored && (copy.source.left != 0 || copy.source.top != 0 ||
                                  copy.source.right != copy.from.Width() ||
                                  copy.source.bottom != copy.from.Height());
     }},
    {"the way from one surface to the other is counted in pixels of the display, whatever theirs "
     "are (driver/blit/pmdirecx.cpp, slot 1)",
     [](const CopyCase& copy) { return !IsGlint(copy) && copy.to.Bits() != copy.display.bits; }},
};

} // namespace

std::span<const CopyException> CopyExceptions() {
    return kExceptions;
}

} // namespace korv::random
