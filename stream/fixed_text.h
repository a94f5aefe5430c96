#pragma once
// Fixed point in decimals, exactly: what is written reads back as the same bits.
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace stream {

// Adds `magnitude` / 2^places with the fewest decimals that read back as it, none for a whole
// number. places is 0 to 32; with 32, `magnitude` is all fraction.
void AppendFixed(std::string& text, uint32_t magnitude, uint32_t places);

// The nearest multiple of 2^-places to a decimal without a sign ("12", "0.5"), times 2^places; ties
// go up. Empty: no decimal, more than 18 decimals, or 2^32 and more.
std::optional<uint64_t> ParseFixed(std::string_view text, uint32_t places);

} // namespace stream
