#include "board/values/registers.h"

#include "chip/register_table.h"

namespace board {

namespace {

constexpr std::array<bool, kTagCount> KnownTags() {
    std::array<bool, kTagCount> known{};
    for (const Register& entry : kRegisters) {
        if (entry.HasTag()) {
            known[entry.Tag()] = true;
        }
    }
    for (uint32_t number = kVertexStoreFirst; number < kVertexStoreEnd; ++number) {
        known[number] = true;
    }
    return known;
}

constexpr std::array<bool, kTagCount> kKnownTags = KnownTags();

} // namespace

RegisterFile::RegisterFile() {
    Set(tag::FBHardwareWriteMask, 0xFFFFFFFF);
    Set(tag::FBSoftwareWriteMask, 0xFFFFFFFF);
}

bool RegisterFile::HasTag(uint32_t tagNumber) {
    return tagNumber < kTagCount && kKnownTags[tagNumber];
}

bool RegisterFile::HasAperture(uint32_t offset) {
    return offset < reg::MappedRegisters && FindRegister(offset) != nullptr;
}

} // namespace board
