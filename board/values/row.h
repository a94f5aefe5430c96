#pragma once
// Rows of pixels that a unit works on at once: plain arrays, one for each quantity, in blocks whose
// loops a compiler turns into vector code.
#include <cstdint>
#include <cstring>

namespace board {

// Pixels of a block. Units work on whole blocks of their own arrays: what lies in them behind the
// row's last pixel is of no account.
inline constexpr int32_t kRowLanes = 8;
// Pixels that rows are cut to.
inline constexpr int32_t kRowPixels = 128;

// Calls lane(i) for the pixels of all blocks. Inline, so that the loops see what `lane` works on.
template <typename Lane>
[[gnu::always_inline]] inline void EachLane(int32_t pixels, Lane&& lane) {
    for (int32_t block = 0; block < pixels; block += kRowLanes) {
        for (int32_t i = 0; i < kRowLanes; ++i) {
            lane(block + i);
        }
    }
}

namespace row {

// A block of words, as elements of some size. Blocks are worked on in arrays of their own, which
// tells the compiler that nothing overlaps.
template <typename Element>
struct Block {
    static constexpr int32_t kCount = kRowLanes * static_cast<int32_t>(4 / sizeof(Element));
    Element at[kCount];

    Block() = default;
    explicit Block(const uint32_t* words) { std::memcpy(at, words, sizeof at); }
    void Store(uint32_t* words) const { std::memcpy(words, at, sizeof at); }
};

template <typename Element, typename Map, typename... Blocks>
[[gnu::always_inline]] inline Block<Element> MapBlock(Map& map, const Blocks&... in) {
    Block<Element> out;
    for (int32_t i = 0; i < out.kCount; ++i) {
        out.at[i] = static_cast<Element>(map(i, uint32_t{in.at[i]}...));
    }
    return out;
}

} // namespace row

// to[i] = map(i modulo kRowLanes, from[i]...) for the pixels of all blocks. `to` may be one of
// `from`.
template <typename Map, typename... From>
[[gnu::always_inline]] inline void MapRow(int32_t pixels, uint32_t* to, Map&& map,
                                          const From*... from) {
    for (int32_t i = 0; i < pixels; i += kRowLanes) {
        row::MapBlock<uint32_t>(map, row::Block<uint32_t>(from + i)...).Store(to + i);
    }
}

// The same byte by byte: to[i] = map(from[i]...) for the bytes of all words.
template <typename Map, typename... From>
[[gnu::always_inline]] inline void MapBytes(int32_t pixels, uint32_t* to, Map&& map,
                                            const From*... from) {
    const auto byte = [&map](int32_t, auto... in) { return map(in...); };
    for (int32_t i = 0; i < pixels; i += kRowLanes) {
        row::MapBlock<uint8_t>(byte, row::Block<uint8_t>(from + i)...).Store(to + i);
    }
}

// A value that steps from pixel to pixel, modulo 2^32. Calls lane(i, value).
struct RowRamp {
    uint32_t first, step;

    template <typename Lane>
    [[gnu::always_inline]] void Each(int32_t pixels, Lane&& lane) const {
        uint32_t ahead[kRowLanes];
        for (uint32_t i = 0; i < kRowLanes; ++i) {
            ahead[i] = first + i * step;
        }
        for (int32_t block = 0; block < pixels; block += kRowLanes) {
            const uint32_t moved = static_cast<uint32_t>(block) * step;
            for (int32_t i = 0; i < kRowLanes; ++i) {
                lane(block + i, ahead[i] + moved);
            }
        }
    }
};

// n / 255 for n below 65535.
constexpr uint32_t DivideBy255(uint32_t n) {
    return (n + 1 + (n >> 8)) >> 8;
}

// A byte in all channels of a colour word.
constexpr uint32_t OnAllChannels(uint32_t value) {
    value |= value << 8;
    return value | value << 16;
}

// Takes the elements of `bytes` (1 to 4) bytes at `memory` as words, or puts words back. Behind the
// row's last pixel nothing is touched.
void LoadRow(uint32_t bytes, const uint8_t* memory, int32_t pixels, uint32_t* to);
void StoreRow(uint32_t bytes, uint8_t* memory, int32_t pixels, const uint32_t* from);

} // namespace board
