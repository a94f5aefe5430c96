#include "board/setup/vertex_store.h"

#include "board/values/colour.h"

#include <algorithm>
#include <bit>
#include <cmath>

namespace board {

namespace {

constexpr uint32_t kSlots = 3;
constexpr uint32_t kGroupWords = 16;
constexpr uint32_t kAlpha = 0x8, kPackedColour = 0xE; // words of a group
// A channel of 256 stands for 1.0.
constexpr double kChannelsPerOne = 256.0;

struct Word {
    Quantity quantity; // kCount: none
    double unit;       // what the lowest bit of the fixed form stands for
};

constexpr double UnitOf(int fractionBits) {
    return 1.0 / static_cast<double>(int64_t{1} << fractionBits);
}

constexpr std::array<Word, kGroupWords> kWords = [] {
    std::array<Word, kGroupWords> words{};
    words.fill({Quantity::kCount, 0.0});
    words[0x0] = {Quantity::S, UnitOf(30)};
    words[0x1] = {Quantity::T, UnitOf(30)};
    words[0x2] = {Quantity::Q, UnitOf(30)};
    words[0x3] = {Quantity::Ks, UnitOf(22)};
    words[0x5] = {Quantity::Red, UnitOf(30)};
    words[0x6] = {Quantity::Green, UnitOf(30)};
    words[0x7] = {Quantity::Blue, UnitOf(30)};
    words[kAlpha] = {Quantity::Alpha, UnitOf(30)};
    words[0x9] = {Quantity::Fog, UnitOf(22)};
    words[0xA] = {Quantity::X, UnitOf(16)};
    words[0xB] = {Quantity::Y, UnitOf(16)};
    words[0xC] = {Quantity::Z, UnitOf(30)};
    return words;
}();
constexpr double kColourStartUnit = UnitOf(23); // 9.15, and 256 for 1.0

void SetColour(StoredVertex& vertex, Colour colour) {
    vertex[Quantity::Red] = colour.red / kChannelsPerOne;
    vertex[Quantity::Green] = colour.green / kChannelsPerOne;
    vertex[Quantity::Blue] = colour.blue / kChannelsPerOne;
    vertex[Quantity::Alpha] = colour.alpha / kChannelsPerOne;
}

constexpr uint32_t ExchangeRedAndBlue(uint32_t colour) {
    return (colour & 0xFF00FF00) | (colour >> 16 & 0xFF) | (colour & 0xFF) << 16;
}

} // namespace

VertexStore::VertexStore() {
    SetAlpha(255u << 15);
}

bool VertexStore::Write(RegisterWrite write, bool redHigh) {
    const uint32_t group = (write.tag - kVertexStoreFirst) / kGroupWords;
    const uint32_t offset = (write.tag - kVertexStoreFirst) % kGroupWords;
    StoredVertex& vertex = vertices_[group % kSlots];
    if (offset == kPackedColour) {
        SetColour(vertex, ColourOfWord(redHigh ? ExchangeRedAndBlue(write.data) : write.data));
        return true;
    }
    const Word word = kWords[offset];
    if (word.quantity == Quantity::kCount) {
        return false;
    }
    const bool isFloat = group >= kSlots;
    vertex[word.quantity] = isFloat
                                ? std::bit_cast<float>(write.data)
                                : static_cast<double>(static_cast<int32_t>(write.data)) * word.unit;
    return true;
}

void VertexStore::SetAlpha(uint32_t word) {
    for (StoredVertex& vertex : vertices_) {
        vertex[Quantity::Alpha] =
            static_cast<double>(static_cast<int32_t>(word)) * kColourStartUnit;
    }
}

bool VertexStore::HoldsAlpha(uint32_t tagNumber) {
    const uint32_t offset = (tagNumber - kVertexStoreFirst) % kGroupWords;
    return offset == kAlpha || offset == kPackedColour;
}

uint32_t VertexStore::FixedAlphaTag(uint32_t slot) {
    return kVertexStoreFirst + slot * kGroupWords + kAlpha;
}

uint32_t VertexStore::FixedAlpha(uint32_t slot) const {
    const double word = vertices_[slot][Quantity::Alpha] / kWords[kAlpha].unit;
    constexpr double kLimit = 0x7FFFFFFF;
    return static_cast<uint32_t>(
        static_cast<int32_t>(std::isnan(word) ? 0 : std::clamp(word, -kLimit, kLimit)));
}

} // namespace board
