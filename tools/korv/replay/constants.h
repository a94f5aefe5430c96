#pragma once
// The published constants that a script may name.
#include <cstdint>
#include <optional>
#include <string_view>

namespace korv {

// Value of a constant; none if there is none of that name.
std::optional<uint32_t> ConstantNamed(std::string_view name);

// "0x1F", or names joined by "|". None for anything else.
std::optional<uint32_t> ParseWord(std::string_view text);

} // namespace korv
