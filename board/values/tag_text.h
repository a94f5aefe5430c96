#pragma once
// Names of the stream's registers for people to read.
#include <cstdint>
#include <string>

namespace board {

// Name of a tag; the vertex store counts from its groups ("V1Fixed+5"), a tag outside the
// vocabulary is "tag 3AB".
std::string TagText(uint32_t tagNumber);

} // namespace board
