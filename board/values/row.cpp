#include "board/values/row.h"

#include "board/values/memory.h"

namespace board {

namespace {

template <typename Element>
void LoadElements(const uint8_t* memory, int32_t pixels, uint32_t* to) {
    int32_t i = 0;
    for (; i + kRowLanes <= pixels; i += kRowLanes) {
        Element block[kRowLanes];
        uint32_t words[kRowLanes];
        std::memcpy(block, memory + static_cast<size_t>(i) * sizeof(Element), sizeof block);
        for (int32_t lane = 0; lane < kRowLanes; ++lane) {
            words[lane] = block[lane];
        }
        std::memcpy(to + i, words, sizeof words);
    }
    for (; i < pixels; ++i) {
        to[i] = LoadElement<sizeof(Element)>(memory + static_cast<size_t>(i) * sizeof(Element));
    }
}

template <typename Element>
void StoreElements(uint8_t* memory, int32_t pixels, const uint32_t* from) {
    int32_t i = 0;
    for (; i + kRowLanes <= pixels; i += kRowLanes) {
        uint32_t words[kRowLanes];
        Element block[kRowLanes];
        std::memcpy(words, from + i, sizeof words);
        for (int32_t lane = 0; lane < kRowLanes; ++lane) {
            block[lane] = static_cast<Element>(words[lane]);
        }
        std::memcpy(memory + static_cast<size_t>(i) * sizeof(Element), block, sizeof block);
    }
    for (; i < pixels; ++i) {
        StoreElement<sizeof(Element)>(memory + static_cast<size_t>(i) * sizeof(Element), from[i]);
    }
}

} // namespace

void LoadRow(uint32_t bytes, const uint8_t* memory, int32_t pixels, uint32_t* to) {
    switch (bytes) {
    case 1:
        return LoadElements<uint8_t>(memory, pixels, to);
    case 2:
        return LoadElements<uint16_t>(memory, pixels, to);
    case 3:
        for (int32_t i = 0; i < pixels; ++i) {
            to[i] = LoadElement<3>(memory + 3 * i);
        }
        return;
    default:
        return LoadElements<uint32_t>(memory, pixels, to);
    }
}

void StoreRow(uint32_t bytes, uint8_t* memory, int32_t pixels, const uint32_t* from) {
    switch (bytes) {
    case 1:
        return StoreElements<uint8_t>(memory, pixels, from);
    case 2:
        return StoreElements<uint16_t>(memory, pixels, from);
    case 3:
        for (int32_t i = 0; i < pixels; ++i) {
            StoreElement<3>(memory + 3 * i, from[i]);
        }
        return;
    default:
        return StoreElements<uint32_t>(memory, pixels, from);
    }
}

} // namespace board
