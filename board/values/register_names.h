#pragma once
// Names of tags and of places in the aperture, for people to read. Each place has one.
#include <cstdint>
#include <string>

namespace board {

// Adds `value` in hex, in capitals, with at least `digits` digits.
void AppendHex(std::string& text, uint32_t value, uint32_t digits = 1);

// Adds the name of a tag; the vertex store counts from its groups ("V1Fixed+5"), a tag outside the
// vocabulary is "tag 3AB".
void AppendTagName(std::string& text, uint32_t tagNumber);

// Adds the name of an aperture offset: mapped registers by their tag, words inside the FIFO window
// counted from its start ("FIFOWindow+4"), an offset without a name is "offset 5800".
void AppendOffsetName(std::string& text, uint32_t offset);

std::string TagName(uint32_t tagNumber);
std::string OffsetName(uint32_t offset);

} // namespace board
