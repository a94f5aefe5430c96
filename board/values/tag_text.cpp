#include "board/values/tag_text.h"

#include "chip/registers.h"

#include <fmt/format.h>

namespace board {

std::string TagText(uint32_t tagNumber) {
    if (const char* name = NameOfTag(tagNumber)) {
        return name;
    }
    if (tagNumber >= kVertexStoreFirst && tagNumber < kVertexStoreEnd) {
        return fmt::format("{}+{}", NameOfTag(tagNumber & ~0xFu), tagNumber & 0xF);
    }
    return fmt::format("tag {:03X}", tagNumber);
}

} // namespace board
