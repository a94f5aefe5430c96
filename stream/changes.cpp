#include "stream/changes.h"

namespace stream {

const Register* RowAt(uint32_t offset) {
    if (offset >= reg::MappedRegisters && offset < reg::ApertureBytes && offset % 8 == 0) {
        const uint32_t tagNumber = (offset - reg::MappedRegisters) / 8;
        return FindRegister(IsInVertexStore(tagNumber) ? MappedOffset(tagNumber & ~0xFu) : offset);
    }
    return FindRegister(offset);
}

bool Changes::Take(uint32_t offset, uint32_t value) {
    const Register* row = RowAt(offset);
    if (row != nullptr && (row->use == Use::Command || row->use == Use::Reload)) {
        return true;
    }
    std::optional<uint32_t>& known = registers_[offset / 4];
    const bool changes = known != value;
    known = value;
    return changes;
}

} // namespace stream
