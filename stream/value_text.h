#pragma once
// Values of registers and fields as people write them, after their kind: names of codes, decimals
// for fixed point, sizes instead of their logarithms, #RRGGBBAA for colours. Reading one back gives
// the same bits.
#include "chip/devices.h"
#include "chip/kinds.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace stream {

// What texture coordinates depend on beside their register. Without a chip they stay as they are.
struct Reading {
    std::optional<ChipModel> chip;
    bool perspective = false; // TextureAddressMode has Perspective
};

// Fraction bits of S and T (Form::Texel); empty without a chip.
std::optional<uint32_t> TexelPlaces(const Reading& reading);

// Adds `bits`, which are `width` bits wide, as a value of that kind. What has no better form is hex
// with 0x. Not for kinds of Form::Fields and of groups of registers.
void AppendValue(std::string& text, const ValueKind& kind, uint32_t bits, uint32_t width,
                 const Reading& reading);

// A text that is no value of its kind.
struct ValueError {
    std::string expected;           // "a number from 0 to 255"
    std::vector<std::string> names; // that would do
};

// The bits of a value as AppendValue writes it, or in another form of the same: 0x and the bits in
// hex for every kind, a code's number, 2^N for a size, fewer or more decimals than needed (the
// nearest value counts). Throws ValueError.
uint32_t ParseValue(std::string_view text, const ValueKind& kind, uint32_t width,
                    const Reading& reading);

} // namespace stream
