#pragma once
// The published names of capability bits.
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace korv {

struct FlagName {
    uint32_t bit;
    std::string_view name;
};

// One table for each kind of capability word.
namespace flags {
extern const std::span<const FlagName> kDDCaps, kDDCaps2, kColourKey, kFx, kSurface, kBitDepths,
    kDescription, kDevice, kMisc, kRaster, kCompare, kBlend, kShade, kTexture, kFilter,
    kTextureBlend, kAddress;
} // namespace flags

// Names of the bits of `word`, from the lowest up; bits without a name as "0x00000400".
std::vector<std::string> NamesOf(uint32_t word, std::span<const FlagName> table);

} // namespace korv
