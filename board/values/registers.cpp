#include "board/values/registers.h"

namespace board {

namespace {

constexpr std::array<bool, kTagCount> KnownTags() {
    std::array<bool, kTagCount> known{};
    for (const RegisterName& entry : kRegisterNames) {
        known[entry.tag] = true;
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
    for (const ApertureName& entry : kApertureNames) {
        if (entry.offset == offset) {
            return true;
        }
    }
    return false;
}

} // namespace board
