#include "board/pixel/pipeline.h"

#include "board/pixel/block_fill.h"
#include "board/pixel/copy.h"
#include "board/pixel/fog.h"
#include "board/pixel/fragment_rows.h"
#include "board/pixel/packed_copy.h"
#include "board/pixel/raw_rows.h"
#include "board/pixel/watch.h"
#include "board/pixel/write_pixel.h"

#include <algorithm>

namespace board {

namespace {

constexpr Colour kUnreadPixel{0, 0, 0, 255};

// Interpolated values at one pixel, and their steps to the next.
struct FragmentWalk {
    int64_t value[Interpolants::kCount];
    int64_t step[Interpolants::kCount];

    FragmentWalk(const Interpolants& row, const Span& span, const PipelineState& state) {
        // The texture unit's values come last.
        const size_t count = state.texture.enabled ? Interpolants::kCount : Interpolants::S;
        for (size_t i = 0; i < count; ++i) {
            value[i] = row.channels[i].At(state.subPixel ? span.lead : 0, span.skipped);
            step[i] = row.channels[i].dx;
        }
        if (state.depth.constant) {
            value[Interpolants::Depth] = int64_t{state.depth.constantValue} << kDepthFractionBits;
            step[Interpolants::Depth] = 0;
        }
    }
    void Step(int channel) { value[channel] = WrapAdd(value[channel], step[channel]); }
    int32_t ColourChannel(int channel) const {
        return static_cast<int32_t>(
            std::clamp<int64_t>((value[channel] + kHalfColour) >> kColourFractionBits, 0, 255));
    }
};

// The fragment's colour before the tests. False: the chroma test drops the fragment.
template <class Watch>
bool ShadeFragment(const PipelineState& state, const FragmentWalk& walk,
                   const TextureSlopes& slopes, FaultCounts& faults, Colour& colour, Watch& watch) {
    colour = state.flatColour;
    if (state.gouraud) {
        colour = {walk.ColourChannel(Interpolants::Red), walk.ColourChannel(Interpolants::Green),
                  walk.ColourChannel(Interpolants::Blue), walk.ColourChannel(Interpolants::Alpha)};
    }
    watch.TakeStage(PixelStage::Shaded, colour);
    if (state.texture.enabled) {
        const TextureSample texel =
            SampleTexture(state.texture, walk.value[Interpolants::S], walk.value[Interpolants::T],
                          walk.value[Interpolants::Q], slopes, faults.badMemoryAccesses);
        if (state.texture.Drops() && !watch.Test(PixelTest::Key, !texel.dropped)) {
            return false;
        }
        watch.TakeStage(PixelStage::Texel, texel.colour);
        if (state.texture.applied) {
            colour = ApplyTexture(state.texture.application, colour, texel.colour);
        }
        if (state.texture.highlighted) {
            colour = AddHighlight(colour, walk.value[Interpolants::Ks]);
        }
        watch.TakeStage(PixelStage::Textured, colour);
    }
    if (state.fogged && !watch.Is(WrongPixels::FogAfterBlend)) {
        colour = ApplyFog(colour, state.fogColour, walk.value[Interpolants::Fog]);
        watch.TakeStage(PixelStage::Fogged, colour);
        watch.TakeFog(walk.value[Interpolants::Fog]);
    }
    watch.TakeColour(colour);
    return true;
}

// Writes a fragment that has passed all tests to the pixel at `place`.
template <int Bytes, class Watch>
void WritePixel(const PipelineState& state, const FragmentWalk& walk, Colour colour, int64_t x,
                int64_t y, uint8_t* place, Watch& watch) {
    const uint32_t under = LoadElement<Bytes>(place);
    if (state.blended) {
        const Colour dest =
            state.readsPixels ? ExpandPixel(state.blendFormat, under) : kUnreadPixel;
        colour = Blend(colour, dest, state.sourceFactor, state.destFactor);
        watch.TakeStage(PixelStage::Under, dest);
        watch.TakeStage(PixelStage::Blended, colour);
    }
    if (watch.Is(WrongPixels::FogAfterBlend) && state.fogged) {
        colour = ApplyFog(colour, state.fogColour, walk.value[Interpolants::Fog]);
    }
    uint32_t pixel = WordOfColour(colour);
    if (state.constantWrite) {
        pixel = state.writeData;
    } else if (state.dithered) {
        const bool turned = watch.Is(WrongPixels::DitherTurned);
        pixel = EncodeDithered(state.writeFormat, colour, static_cast<uint32_t>(turned ? y : x),
                               static_cast<uint32_t>(turned ? x : y));
    } else if (state.formatted) {
        pixel = EncodePixel(state.writeFormat, colour);
    }
    WriteRawPixel<Bytes>(state, pixel, state.pixels.Index(x, y), place);
}

template <int Bytes, class Watch>
void DrawPixels(const PipelineState& state, const Span& span, const Interpolants& row,
                PickUnit& pick, FaultCounts& faults, Watch& watch) {
    const int direction = span.leftward ? -1 : 1;
    FragmentWalk walk(row, span, state);
    const TextureSlopes slopes = state.texture.enabled && state.texture.NeedsDetail()
                                     ? SlopesOf(row, span.leftward)
                                     : TextureSlopes{};
    int64_t x = span.First();
    int64_t place = state.pixels.Index(x, span.y) * Bytes;
    const int64_t depthBytes = state.depth.plane.bytesPerElement;
    int64_t depthPlace = state.depth.plane.Index(x, span.y) * depthBytes;

    const auto draw = [&] {
        if (state.stippled && !watch.Test(PixelTest::Stipple, state.stipple.Draws(x, span.y))) {
            return;
        }
        Colour colour{};
        if (!ShadeFragment(state, walk, slopes, faults, colour, watch)) {
            return;
        }
        if (state.alphaTested &&
            !watch.Test(PixelTest::Alpha,
                        Passes(state.alphaCompare, static_cast<uint32_t>(colour.alpha),
                               state.alphaReference))) {
            return;
        }
        if (state.depth.enabled) {
            watch.TakeDepth(walk.value[Interpolants::Depth]);
            if (!watch.Test(PixelTest::Depth,
                            state.depth.Test(walk.value[Interpolants::Depth], depthPlace))) {
                return;
            }
            if (state.depth.writes) {
                watch.WriteDepth();
            }
        }
        if (pick.Enabled()) {
            watch.Test(PixelTest::Pick, pick.Note(x, span.y));
        }
        if (state.drawsPixels) {
            WritePixel<Bytes>(state, walk, colour, x, span.y, state.pixels.memory + place, watch);
            watch.WriteColour();
        }
    };
    for (int64_t left = span.right - span.left; left != 0; --left) {
        watch.Begin(PixelWay::Fragment, x, span.y);
        draw();
        watch.End();
        x += direction;
        place = state.pixels.patched ? state.pixels.Index(x, span.y) * Bytes
                                     : place + direction * Bytes;
        depthPlace += direction * depthBytes;
        if (state.gouraud) {
            walk.Step(Interpolants::Red);
            walk.Step(Interpolants::Green);
            walk.Step(Interpolants::Blue);
            walk.Step(Interpolants::Alpha);
        }
        walk.Step(Interpolants::Fog);
        walk.Step(Interpolants::Depth);
        if (state.texture.enabled) {
            walk.Step(Interpolants::S);
            walk.Step(Interpolants::T);
            walk.Step(Interpolants::Q);
            walk.Step(Interpolants::Ks);
        }
    }
}

// Of a span that counts columns of words, the pixels in it, for a probe.
Span PixelsOfColumns(const PipelineState& state, Span span) {
    const int64_t bytes = state.pixels.bytesPerElement;
    span.left = span.left * kWordBytes / bytes;
    span.right = (span.right * kWordBytes + bytes - 1) / bytes;
    return span;
}

// Of fragments that write nothing, those that can have an effect all the same. A row of them may be
// longer than anybody could walk: neither the memory nor anything else bounds it.
template <class Watch>
void ClipToEffect(const PipelineState& state, const PickUnit& pick, const Watch& watch,
                  Span& span) {
    int64_t low = span.right, high = span.left;
    pick.Reach(span.y, low, high);
    watch.Reach(state.pixels, low, high);
    low = std::clamp(low, span.left, span.right);
    span.Clip(low, std::max(low, high));
}

template <class Watch>
void Draw(const PipelineState& state, const RowPlan* plan, const Span& whole,
          const Interpolants& row, PickUnit& pick, FaultCounts& faults, Watch watch) {
    const bool rawRows = plan != nullptr && plan->raw;
    const bool rowInside = whole.y >= state.clip.top && whole.y < state.clip.bottom;
    if (state.copy.way == CopyState::Way::Packed) {
        if (!rowInside) {
            watch.Cut(PixelTest::Scissor, PixelsOfColumns(state, whole), {});
        } else if (!(rawRows && CopyPackedRow(state, whole))) {
            CopyPackedSpan(state, whole, faults, watch);
        }
        return;
    }
    Span span = whole;
    if (span.Empty()) {
        return;
    }
    if (!rowInside) {
        watch.Cut(PixelTest::Scissor, whole, {});
        return;
    }
    if (span.left < state.clip.left || span.right > state.clip.right) {
        span.Clip(state.clip.left, state.clip.right);
        watch.Cut(PixelTest::Scissor, whole, span);
        if (span.Empty()) {
            return;
        }
    }
    if (state.localUpdate.way != LocalUpdate::Way::None) {
        if (plan == nullptr || !UpdateLocalRow(state.localUpdate, span)) {
            UpdateLocalSpan(state.localUpdate, span, faults, watch);
        }
    }
    const Span inside = span;
    if (state.drawsPixels) {
        faults.badMemoryAccesses += state.pixels.ClipToMemory(span);
    }
    if (!span.Empty() && state.depth.Touches()) {
        faults.badMemoryAccesses += state.depth.plane.ClipToMemory(span);
    }
    if (!state.drawsPixels && !state.depth.Touches() && !state.blockFill &&
        state.copy.way == CopyState::Way::None) {
        ClipToEffect(state, pick, watch, span);
    }
    watch.Cut(PixelTest::Memory, inside, span);
    if (span.Empty()) {
        return;
    }
    if (state.blockFill) {
        if (state.drawsPixels && !(rawRows && FillRow(state, span))) {
            FillSpan(state, span, watch);
        }
        return;
    }
    if (state.copy.way != CopyState::Way::None) {
        if (state.drawsPixels && !(rawRows && CopyRow(state, span))) {
            CopySpan(state, span, row, faults, watch);
        }
        return;
    }
    if (plan != nullptr && plan->possible && DrawFragmentRow(*plan, state, span, row, pick)) {
        return;
    }
    switch (state.pixels.bytesPerElement) {
    case 1:
        return DrawPixels<1>(state, span, row, pick, faults, watch);
    case 2:
        return DrawPixels<2>(state, span, row, pick, faults, watch);
    case 3:
        return DrawPixels<3>(state, span, row, pick, faults, watch);
    default:
        return DrawPixels<4>(state, span, row, pick, faults, watch);
    }
}

} // namespace

void DrawSpan(const PipelineState& state, const RowPlan* plan, const Span& span,
              const Interpolants& row, PickUnit& pick, FaultCounts& faults) {
    Draw(state, plan, span, row, pick, faults, Unwatched());
}

void WatchSpan(const PipelineState& state, const RowPlan* plan, const Span& span,
               const Interpolants& row, PickUnit& pick, FaultCounts& faults, PixelProbe& probe) {
    const bool updates = state.localUpdate.way != LocalUpdate::Way::None;
    const PixelRow wanted{span.y,
                          span.left,
                          span.right,
                          &state.pixels,
                          state.depth.Touches() ? &state.depth.plane : nullptr,
                          updates ? &state.localUpdate.target : nullptr,
                          state.depth.plane.memory != state.pixels.memory,
                          state.copy.way == CopyState::Way::Packed};
    if (probe.Skips(wanted)) {
        return;
    }
    if (probe.Wants(wanted)) {
        Draw(state, nullptr, span, row, pick, faults, Watched(probe, state));
    } else {
        Draw(state, plan, span, row, pick, faults, Unwatched());
    }
}

void DrawWrongSpan(const PipelineState& state, const Span& span, const Interpolants& row,
                   PickUnit& pick, FaultCounts& faults) {
    Draw(state, nullptr, span, row, pick, faults, Wrong(state.wrong));
}

} // namespace board
