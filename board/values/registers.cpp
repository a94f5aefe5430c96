#include "board/values/registers.h"

#include "chip/register_table.h"

#include <utility>

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

// Tags of the vertex store, of commands and of what a primitive steps by itself are not among them.
constexpr std::array<bool, kTagCount> Lasting() {
    std::array<bool, kTagCount> lasting{};
    lasting.fill(true);
    for (const Register& entry : kRegisters) {
        if (entry.HasTag() && (entry.use == Use::Interpolant || entry.use == Use::Command)) {
            lasting[entry.Tag()] = false;
        }
    }
    for (uint32_t number = kVertexStoreFirst; number < kVertexStoreEnd; ++number) {
        lasting[number] = false;
    }
    return lasting;
}

// All registers but those that a primitive takes anew where it goes on, or steps by itself, and
// those that feed it. Names without a row in the vocabulary cost nothing by being among them.
constexpr std::array<bool, kTagCount> Modes() {
    std::array<bool, kTagCount> modes = Lasting();
    modes[tag::Render] = modes[tag::Color] = true;
    return modes;
}

} // namespace

constexpr std::array<bool, kTagCount> RegisterFile::kModes = Modes();
constexpr std::array<bool, kTagCount> RegisterFile::kLasting = [] {
    std::array<bool, kTagCount> lasting = Lasting();
    lasting[tag::ConstantColor] = false;
    return lasting;
}();

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

void RegisterFile::BeginPrimitive() {
    for (const Displaced& displaced : displaced_) {
        isDisplaced_[displaced.offset / 4] = false;
    }
    displaced_.clear();
}

void RegisterFile::ExchangePrimitive() {
    for (Displaced& displaced : displaced_) {
        std::swap(displaced.value, Word(displaced.offset));
    }
}

void RegisterFile::Visit(StateVisitor& visit) {
    auto& [tags, aperture, displaced, isDisplaced, revision] = *this;
    visit.Values("tags", tags);
    visit.Values("aperture", aperture);
    std::vector<uint64_t> words;
    for (const auto& [offset, value] : displaced) {
        words.insert(words.end(), {offset, value});
    }
    visit.List("displaced", words, 2, [](const uint64_t* word) {
        const uint64_t alignment = word[0] < reg::MappedRegisters ? 4 : 8;
        return word[0] < reg::ApertureBytes && word[0] % alignment == 0 &&
               StateVisitor::Word32(&word[1]);
    });
    ++revision;
    BeginPrimitive();
    for (size_t i = 0; i < words.size(); i += 2) {
        Displace(static_cast<uint32_t>(words[i]), static_cast<uint32_t>(words[i + 1]));
    }
}

} // namespace board
