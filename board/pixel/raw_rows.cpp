#include "board/pixel/raw_rows.h"

#include "board/values/logic_op.h"
#include "board/values/row.h"

#include <algorithm>
#include <cstring>

namespace board {

namespace {

// Copies from an offset of the memory to another, as a walk does that goes up or down one by one;
// false where such a walk would read what it has written.
bool MoveBytes(uint8_t* memory, int64_t to, int64_t from, int64_t bytes, bool downwards) {
    const bool apart = from + bytes <= to || to + bytes <= from;
    if (!apart && (downwards ? to < from : to > from)) {
        return false;
    }
    std::memmove(memory + to, memory + from, static_cast<size_t>(bytes));
    return true;
}

template <int Bytes>
void FillElements(uint32_t word, int64_t index, int64_t pixels, uint8_t* place) {
    uint8_t block[kRowLanes * Bytes];
    for (int32_t i = 0; i < kRowLanes; ++i) {
        StoreElement<Bytes>(block + i * Bytes, WordLane<Bytes>(word, index + i));
    }
    for (; pixels >= kRowLanes; pixels -= kRowLanes) {
        std::memcpy(place, block, sizeof block);
        place += sizeof block;
    }
    std::memcpy(place, block, static_cast<size_t>(pixels) * Bytes);
}

bool Holds(const Plane& plane, int64_t first, int64_t pixels) {
    return first >= 0 && first + pixels <= plane.elements;
}

} // namespace

bool MovesRowsWhole(const PipelineState& state) {
    const bool copied = !state.logical || state.logicOp == kLogicOpCopy;
    return !state.stippled && !state.copy.key.enabled && (copied || state.blockFill) &&
           (state.blockFill ? state.hardwareMask : state.writeMask) == 0xFFFFFFFF;
}

bool FillRow(const PipelineState& state, const Span& span) {
    if (state.pixels.patched) {
        return false;
    }
    const int64_t index = state.pixels.Index(span.left, span.y);
    const int64_t pixels = span.right - span.left;
    uint8_t* place = state.pixels.Address(span.left, span.y);
    switch (state.pixels.bytesPerElement) {
    case 1:
        FillElements<1>(state.blockColour, index, pixels, place);
        return true;
    case 2:
        FillElements<2>(state.blockColour, index, pixels, place);
        return true;
    case 3:
        FillElements<3>(state.blockColour, index, pixels, place);
        return true;
    default:
        FillElements<4>(state.blockColour, index, pixels, place);
        return true;
    }
}

bool CopyRow(const PipelineState& state, const Span& span) {
    const Plane& source = state.copy.source;
    if (state.copy.way != CopyState::Way::Pixels || source.patched || state.pixels.patched) {
        return false;
    }
    const int64_t pixels = span.right - span.left;
    const int64_t from = source.Index(span.left, span.y);
    const int64_t bytes = state.pixels.bytesPerElement;
    return Holds(source, from, pixels) &&
           MoveBytes(state.pixels.memory, state.pixels.Index(span.left, span.y) * bytes,
                     from * bytes, pixels * bytes, span.leftward);
}

bool CopyPackedRow(const PipelineState& state, const Span& span) {
    const int64_t bytes = state.pixels.bytesPerElement;
    const auto firstPixel = [bytes](int64_t column) {
        return (column * kWordBytes + bytes - 1) / bytes;
    };
    // Whole pixels alone: of those of 24 bits columns may hold parts.
    if (kWordBytes % bytes != 0 || !state.drawsPixels || span.left < 0) {
        return false;
    }
    const PackedLimits& limits = state.copy.limits;
    const int64_t left = std::max({firstPixel(span.left), limits.first, state.clip.left});
    const int64_t right = std::min({firstPixel(span.right), limits.end, state.clip.right});
    if (left >= right) {
        return true;
    }
    const int64_t to = state.pixels.Index(left, span.y) * bytes;
    const int64_t from = state.copy.source.Index(left, span.y) * bytes + state.copy.byteShift;
    const int64_t all = state.pixels.elements * bytes;
    const int64_t moved = (right - left) * bytes;
    return to >= 0 && to + moved <= all && from >= 0 && from + moved <= all &&
           MoveBytes(state.pixels.memory, to, from, moved, span.leftward);
}

bool UpdateLocalRow(const LocalUpdate& update, const Span& span) {
    const int64_t words = span.right - span.left;
    const int64_t to = update.target.Index(span.left, span.y);
    if (!Holds(update.target, to, words)) {
        return false;
    }
    if (update.way == LocalUpdate::Way::Fill) {
        FillElements<4>(update.fill, to, words, update.target.memory + to * kWordBytes);
        return true;
    }
    const int64_t from = to + update.sourceBase - update.target.base;
    return Holds(update.target, from, words) &&
           MoveBytes(update.target.memory, to * kWordBytes, from * kWordBytes, words * kWordBytes,
                     span.leftward);
}

} // namespace board
