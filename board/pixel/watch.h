#pragma once
// How the plain forms tell a probe of a pixel. They are compiled for each way of watching: of
// `Unwatched` nothing is left.
#include "board/pixel/pipeline.h"
#include "board/values/probe.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace board {

struct Unwatched {
    static constexpr bool Is(WrongPixels) { return false; }
    static void Reach(const Plane&, int64_t&, int64_t&) {}
    static void Cut(PixelTest, const Span&, const Span&) {}
    static void CutLocal(PixelWay, PixelTest, const Span&, const Span&) {}
    static void Begin(PixelWay, int64_t, int64_t) {}
    static void BeginLocal(PixelWay, int64_t, int64_t) {}
    static void BeginBytes(PixelWay, int64_t, int64_t, int64_t, int64_t, bool = false) {}
    static bool Test(PixelTest, bool passed) { return passed; }
    static void TakeColour(Colour) {}
    static void TakeStage(PixelStage, Colour) {}
    static void TakeFog(int64_t) {}
    static void TakeDepth(int64_t) {}
    static void TakeSource(int64_t) {}
    static void WriteColour() {}
    static void WriteDepth() {}
    static void End() {}
};

// Nobody watches either, but what is drawn is wrong on purpose.
struct Wrong : Unwatched {
    WrongPixels what;

    explicit Wrong(WrongPixels how) : what(how) {}
    bool Is(WrongPixels how) const { return what == how; }
};

class Watched {
  public:
    Watched(PixelProbe& probe, const PipelineState& state) : probe_(probe), state_(state) {}

    static constexpr bool Is(WrongPixels) { return false; }

    // Widens `low` to `high` - 1 by the pixels that somebody may want to know of although they
    // write nothing: those of the rows, without what lies beside them.
    static void Reach(const Plane& pixels, int64_t& low, int64_t& high) {
        low = std::min<int64_t>(low, 0);
        high = std::max(high, pixels.pitch);
    }
    // What of `before` is not in `after` goes no further.
    void Cut(PixelTest test, const Span& before, const Span& after) {
        Cut(WayOf(state_), test, before, after);
    }
    // The same of an update of the local buffer.
    void CutLocal(PixelWay way, PixelTest test, const Span& before, const Span& after) {
        Cut(way, test, before, after);
    }

    // A pixel inside clip rectangle and memories begins; what it meets is told, and End() ends it.
    void Begin(PixelWay way, int64_t x, int64_t y) {
        Start(way, x, y);
        PassBounds();
        TakePixel(x, y);
        if (way == PixelWay::Fragment && state_.depth.Touches()) {
            const Plane& depths = state_.depth.plane;
            pixel_.depth.local = IsLocal(depths);
            Take(pixel_.depth, depths, depths.Index(x, y));
        }
    }
    // The same for a word of the local buffer.
    void BeginLocal(PixelWay way, int64_t x, int64_t y) {
        Start(way, x, y);
        PassBounds();
        const Plane& target = state_.localUpdate.target;
        pixel_.depth.local = true;
        Take(pixel_.depth, target, target.Index(x, y));
    }
    // A pixel of which these bytes of the frame buffer are written, if they are there; tests of
    // bounds are among those that are told. `rest`: others before them are the pixel's, too.
    void BeginBytes(PixelWay way, int64_t x, int64_t y, int64_t place, int64_t bytes,
                    bool rest = false) {
        Start(way, x, y);
        pixel_.rest = rest;
        const Plane& pixels = state_.pixels;
        if (place >= 0 && place + bytes <= pixels.elements * pixels.bytesPerElement) {
            TakeBytes(pixel_.colour, pixels, place, static_cast<uint32_t>(bytes));
        }
    }
    bool Test(PixelTest test, bool passed) {
        const uint32_t bit = 1u << static_cast<int>(test);
        pixel_.met |= bit;
        pixel_.failed |= passed ? 0 : bit;
        return passed;
    }
    void TakeColour(Colour colour) {
        pixel_.shaded = true;
        pixel_.fragment = colour;
    }
    void TakeStage(PixelStage stage, Colour colour) {
        pixel_.stages |= 1u << static_cast<int>(stage);
        pixel_.colours[static_cast<size_t>(stage)] = colour;
    }
    void TakeFog(int64_t factor) { pixel_.fogFactor = factor; }
    void TakeDepth(int64_t accumulator) {
        pixel_.fragmentDepth = state_.depth.Value(accumulator);
        pixel_.storedDepth = state_.depth.reads ? pixel_.depth.before : 0;
    }
    void TakeSource(int64_t place) { pixel_.source = place; }
    void WriteColour() { pixel_.colour.written = true; }
    void WriteDepth() { pixel_.depth.written = true; }
    void End() {
        TakeAfter(pixel_.colour, state_.pixels.memory);
        TakeAfter(pixel_.depth, pixel_.way == PixelWay::Fragment
                                    ? state_.depth.plane.memory
                                    : state_.localUpdate.target.memory);
        probe_.OnPixel(pixel_);
    }

  private:
    static PixelWay WayOf(const PipelineState& state) {
        switch (state.copy.way) {
        case CopyState::Way::None:
            return state.blockFill ? PixelWay::Fill : PixelWay::Fragment;
        case CopyState::Way::Packed:
            return PixelWay::PackedCopy;
        default:
            return PixelWay::Copy;
        }
    }
    void Cut(PixelWay way, PixelTest test, const Span& before, const Span& after) {
        if (after.Empty()) {
            CutRun(way, test, before.y, before.left, before.right);
        } else {
            CutRun(way, test, before.y, before.left, after.left);
            CutRun(way, test, before.y, after.right, before.right);
        }
    }
    bool IsLocal(const Plane& plane) const { return plane.memory != state_.pixels.memory; }
    void Start(PixelWay way, int64_t x, int64_t y) {
        pixel_ = {};
        pixel_.way = way;
        pixel_.placed = true;
        pixel_.x = x;
        pixel_.y = y;
        pixel_.alphaCompare = state_.alphaCompare;
        pixel_.alphaReference = state_.alphaReference;
        pixel_.depthCompare = state_.depth.compare;
    }
    void PassBounds() {
        Test(PixelTest::Scissor, true);
        Test(PixelTest::Memory, true);
    }
    // Pixels that write no colour have a place too, where it is inside the memory.
    void TakePixel(int64_t x, int64_t y) {
        const int64_t index = state_.pixels.Index(x, y);
        if (index >= 0 && index < state_.pixels.elements) {
            Take(pixel_.colour, state_.pixels, index);
        }
    }
    static void Take(PixelElement& element, const Plane& plane, int64_t index) {
        TakeBytes(element, plane, index * plane.bytesPerElement, plane.bytesPerElement);
    }
    static void TakeBytes(PixelElement& element, const Plane& plane, int64_t place,
                          uint32_t bytes) {
        element.bytes = bytes;
        element.place = place;
        std::memcpy(&element.before, plane.memory + place, bytes);
    }
    static void TakeAfter(PixelElement& element, const uint8_t* memory) {
        if (element.bytes != 0) {
            std::memcpy(&element.after, memory + element.place, element.bytes);
        }
    }
    void CutRun(PixelWay way, PixelTest test, int64_t y, int64_t left, int64_t right) {
        if (left < right) {
            const bool tested = way == PixelWay::Fragment && state_.depth.Touches();
            const bool local = way == PixelWay::LocalFill || way == PixelWay::LocalCopy;
            const Plane* depths = tested  ? &state_.depth.plane
                                  : local ? &state_.localUpdate.target
                                          : nullptr;
            probe_.OnCut({way, test, y, left, right, local ? nullptr : &state_.pixels, depths,
                          depths != nullptr && IsLocal(*depths)});
        }
    }

    PixelProbe& probe_;
    const PipelineState& state_;
    PixelReport pixel_;
};

} // namespace board
