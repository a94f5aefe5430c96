#include "tools/korv/chips.h"

#include <algorithm>

#include <fmt/format.h>

#include "driver/core/chipinfo.h"
#include "tools/korv/errors.h"

namespace korv {

namespace {

constexpr ChipChoice kChips[] = {
    {"sx", "GLINT 300SX", DeviceSX, false, true, true},
    {"tx", "GLINT 500TX", DeviceTX, false, true, true},
    {"mx", "GLINT MX", DeviceMX, false, true, true},
    {"permedia", "Permedia without setup unit", DevicePermedia, false, true, false},
    {"sx-delta", "GLINT 300SX with Delta", DeviceSX, true, false, true},
    {"tx-delta", "GLINT 500TX with Delta", DeviceTX, true, false, true},
    {"mx-delta", "GLINT MX with Delta", DeviceMX, true, false, true},
    {"permedia-delta", "Permedia with Delta", DevicePermedia, true, false, false},
    {"permedia2", "Permedia 2", DevicePermedia2, true, false, false},
};

} // namespace

std::span<const ChipChoice> Chips() {
    return kChips;
}

const ChipChoice& ChipByName(std::string_view name) {
    const auto found = std::ranges::find(kChips, name, &ChipChoice::name);
    if (found == std::end(kChips))
        throw UserError(fmt::format("unknown chip '{}': expected one of {}", name, ChipNames()));
    return *found;
}

const ChipChoice& DrawingChipByName(std::string_view name) {
    const ChipChoice& chip = ChipByName(name);
    if (!chip.canDraw)
        throw UserError(fmt::format("drawing on {} ('{}') is not there yet: expected one of {}",
                                    chip.about, chip.name, ChipNames(true)));
    return chip;
}

std::string ChipNames(bool drawingOnly) {
    std::string names;
    for (const ChipChoice& chip : kChips)
        if (chip.canDraw || !drawingOnly)
            names += fmt::format("{}{}", names.empty() ? "" : ", ", chip.name);
    return names;
}

} // namespace korv
