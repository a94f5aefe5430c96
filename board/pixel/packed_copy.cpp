#include "board/pixel/packed_copy.h"

#include "board/pixel/watch.h"
#include "board/values/logic_op.h"

#include <algorithm>
#include <array>

namespace board {

namespace {

// The source words of a row that were fetched last.
class FetchedWords {
  public:
    explicit FetchedWords(const Plane& source)
        : memory_(source.memory), bytes_(source.elements * source.bytesPerElement) {
        slots_.fill({kNothing, {}});
    }

    // Reads the word with this index in the memory, unless it is at hand.
    void Fetch(int64_t index) {
        Slot& slot = slots_[static_cast<size_t>(index) % slots_.size()];
        if (slot.index == index) {
            return;
        }
        slot = {index, {}};
        for (int64_t i = 0; i < kWordBytes; ++i) {
            const int64_t place = index * kWordBytes + i;
            slot.bytes[static_cast<size_t>(i)] = InMemory(place) ? memory_[place] : uint8_t{0};
        }
    }
    // A byte of a fetched word, by its place in the memory.
    uint8_t At(int64_t place) const {
        const Slot& slot = slots_[static_cast<size_t>(place >> 2) % slots_.size()];
        return slot.bytes[static_cast<size_t>(place & 3)];
    }
    bool InMemory(int64_t place) const { return place >= 0 && place < bytes_; }

  private:
    static constexpr int64_t kNothing = INT64_MIN;
    struct Slot {
        int64_t index;
        std::array<uint8_t, kWordBytes> bytes;
    };
    // The largest shift inside words is three pixels of 24 bits.
    std::array<Slot, 8> slots_;
    const uint8_t* memory_;
    int64_t bytes_;
};

uint8_t HardwareMask(const PipelineState& state, int64_t place) {
    const int64_t bytes = state.pixels.bytesPerElement;
    const int64_t lane = bytes == 3 ? place % bytes : place & 3;
    return static_cast<uint8_t>(state.hardwareMask >> (8 * lane));
}

template <class Watch>
class RowCopy {
  public:
    RowCopy(const PipelineState& state, int64_t y, FaultCounts& faults, Watch& watch)
        : state_(state), faults_(faults), watch_(watch), words_(state.copy.source), y_(y),
          pixelBytes_(state.pixels.bytesPerElement),
          destRow_(state.pixels.Index(0, y) * pixelBytes_),
          sourceRow_(state.copy.source.Index(0, y) * pixelBytes_) {}

    void CopyColumn(int64_t column) {
        words_.Fetch((sourceRow_ >> 2) + column + state_.copy.wordShift);
        const int64_t first = column * kWordBytes;
        const int64_t source = sourceRow_ + state_.copy.byteShift + first;
        words_.Fetch(source >> 2);
        words_.Fetch((source + kWordBytes - 1) >> 2);
        if (column < 0) {
            return;
        }
        for (int64_t i = first; i < first + kWordBytes;) {
            const int64_t x = i / pixelBytes_;
            const int64_t end = std::min((x + 1) * pixelBytes_, first + kWordBytes);
            watch_.BeginBytes(PixelWay::PackedCopy, x, y_, destRow_ + i, end - i,
                              i % pixelBytes_ != 0);
            CopyPart(x, i, end);
            watch_.End();
            i = end;
        }
    }

  private:
    // What the column has of pixel x: bytes from `offset` to `end` - 1 from the start of the rows.
    void CopyPart(int64_t x, int64_t offset, int64_t end) {
        if (!watch_.Test(PixelTest::Limits, state_.copy.limits.Contains(x)) ||
            !watch_.Test(PixelTest::Scissor, x >= state_.clip.left && x < state_.clip.right)) {
            return;
        }
        watch_.TakeSource(sourceRow_ + state_.copy.byteShift + offset);
        for (; offset < end; ++offset) {
            CopyByte(offset);
        }
    }

    void CopyByte(int64_t offset) {
        const int64_t to = destRow_ + offset;
        const int64_t from = sourceRow_ + state_.copy.byteShift + offset;
        const bool there = to >= 0 && to < state_.pixels.elements * pixelBytes_;
        if (!watch_.Test(PixelTest::Memory, there) ||
            !watch_.Test(PixelTest::Source, words_.InMemory(from))) {
            ++faults_.badMemoryAccesses;
            return;
        }
        uint8_t& place = state_.pixels.memory[to];
        uint32_t value = words_.At(from);
        if (state_.logical) {
            value = LogicOp(state_.logicOp, value, state_.readsPixels ? place : 0u);
        }
        const uint32_t mask = HardwareMask(state_, to);
        place = static_cast<uint8_t>((place & ~mask) | (value & mask));
        watch_.WriteColour();
    }

    const PipelineState& state_;
    FaultCounts& faults_;
    Watch& watch_;
    FetchedWords words_;
    int64_t y_;
    int64_t pixelBytes_;
    int64_t destRow_, sourceRow_; // bytes
};

} // namespace

template <class Watch>
void CopyPackedSpan(const PipelineState& state, const Span& span, FaultCounts& faults,
                    Watch& watch) {
    if (!state.drawsPixels) {
        return;
    }
    RowCopy<Watch> row(state, span.y, faults, watch);
    if (span.leftward) {
        for (int64_t column = span.right; column-- != span.left;) {
            row.CopyColumn(column);
        }
    } else {
        for (int64_t column = span.left; column != span.right; ++column) {
            row.CopyColumn(column);
        }
    }
}

template void CopyPackedSpan(const PipelineState&, const Span&, FaultCounts&, Unwatched&);
template void CopyPackedSpan(const PipelineState&, const Span&, FaultCounts&, Wrong&);
template void CopyPackedSpan(const PipelineState&, const Span&, FaultCounts&, Watched&);

} // namespace board
