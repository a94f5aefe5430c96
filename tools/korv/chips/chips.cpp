#include "tools/korv/chips/chips.h"

#include "driver/core/chipinfo.h"
#include "tools/korv/base/errors.h"

#include <fmt/format.h>

#include <algorithm>

namespace korv {

namespace {

constexpr ChipChoice kChips[] = {
    {"sx", "GLINT 300SX", DeviceSX, false, true, false, false},
    {"tx", "GLINT 500TX", DeviceTX, false, true, false, false},
    {"mx", "GLINT MX", DeviceMX, false, true, false, true},
    {"permedia", "Permedia without setup unit", DevicePermedia, false, false, true, true},
    {"sx-delta", "GLINT 300SX with Delta", DeviceSX, true, true, false, false},
    {"tx-delta", "GLINT 500TX with Delta", DeviceTX, true, true, true, false},
    {"mx-delta", "GLINT MX with Delta", DeviceMX, true, true, true, true},
    {"permedia-delta", "Permedia with Delta", DevicePermedia, true, false, true, true},
    {"permedia2", "Permedia 2", DevicePermedia2, true, false, true, true},
};

template <typename Condition>
std::string NamesIf(Condition condition) {
    std::string names;
    for (const ChipChoice& chip : kChips) {
        if (condition(chip)) {
            names += fmt::format("{}{}", names.empty() ? "" : ", ", chip.name);
        }
    }
    return names;
}

} // namespace

std::span<const ChipChoice> Chips() {
    return kChips;
}

const ChipChoice& ChipByName(std::string_view name) {
    const auto found = std::ranges::find(kChips, name, &ChipChoice::name);
    if (found == std::end(kChips)) {
        throw UserError(fmt::format("unknown chip '{}': expected one of {}", name, ChipNames()));
    }
    return *found;
}

bool HasVideoPort(const ChipChoice& chip) {
    return chip.deviceId == DevicePermedia || chip.deviceId == DevicePermedia2;
}

bool KeysTextures(const ChipChoice& chip) {
    return chip.drawsTextures && chip.deviceId != DeviceTX;
}

bool DrawsCorners(const ChipChoice& chip) {
    return chip.setupUnit || chip.deviceId == DevicePermedia;
}

bool AddsGloss(const ChipChoice& chip) {
    return chip.deviceId == DevicePermedia2;
}

std::string ChipNames() {
    return NamesIf([](const ChipChoice&) { return true; });
}

std::string TexturingChipNames() {
    return NamesIf([](const ChipChoice& chip) { return chip.drawsTextures; });
}

std::string StretchingChipNames() {
    return NamesIf([](const ChipChoice& chip) { return chip.stretches; });
}

std::string VideoChipNames() {
    return NamesIf(HasVideoPort);
}

} // namespace korv
