#include "board/pixel/host_download.h"

#include "board/pixel/watch.h"

namespace board {

namespace {

template <int Bytes>
void StoreMasked(const PipelineState& state, int64_t index, uint32_t pixel) {
    uint8_t* place = state.pixels.memory + index * Bytes;
    const uint32_t mask = WordLane<Bytes>(state.hardwareMask, index);
    StoreElement<Bytes>(place, (LoadElement<Bytes>(place) & ~mask) | (pixel & mask));
}

// Two pixels share a byte, the left one in its low half.
void StoreHalfByte(const PipelineState& state, int64_t index, uint32_t pixel) {
    uint8_t& byte = state.pixels.memory[index / 2];
    const uint32_t shift = 4 * (index & 1);
    byte = static_cast<uint8_t>((byte & ~(0xFu << shift)) | pixel << shift);
}

} // namespace

void HostDownload::Configure(const DeviceRow& chip, const RegisterFile& registers,
                             const PipelineState& state) {
    const bool halfBytes = chip.IsPermedia() && registers[tag::FBReadPixel] == k4BitPixels;
    pixelBits_ = halfBytes ? 4 : state.pixels.bytesPerElement * 8;
    pixelsPerWord_ = 32 / pixelBits_;
    if (state.blockFill) {
        form_ = Form::Raw;
    } else if (chip.IsPermedia() && registers.Get(field::FBReadMode_Packed) != 0) {
        form_ = Form::Packed;
        limits_ = LoadPackedLimits(registers);
    } else {
        form_ = Form::Colour;
        pixelsPerWord_ = 1;
    }
}

void HostDownload::AddRows(uint32_t rows, const Primitive& primitive) {
    const bool idle = rowsLeft_ == 0;
    rowsLeft_ += rows;
    if (idle) {
        LoadRow(primitive);
    }
}

void HostDownload::LoadRow(const Primitive& primitive) {
    while (rowsLeft_ != 0) {
        primitive.rasteriser.Walk(1, [this](const Span& span) { span_ = span; });
        taken_ = 0;
        if (!span_.Empty()) {
            return;
        }
        primitive.interpolants.StepRow();
        --rowsLeft_;
    }
}

void HostDownload::Feed(uint32_t word, const Primitive& primitive) {
    const int64_t width = span_.right - span_.left;
    const int64_t steps =
        form_ == Form::Raw ? (width + pixelsPerWord_ - 1) / pixelsPerWord_ : width;
    const int64_t x = span_.leftward ? span_.right - 1 - taken_ : span_.left + taken_;
    switch (form_) {
    case Form::Colour: {
        Span pixel = span_;
        pixel.Clip(x, x + 1);
        primitive.state.gouraud = false;
        primitive.state.flatColour = ColourOfWord(word);
        if (primitive.probe != nullptr) {
            WatchSpan(primitive.state, nullptr, pixel, primitive.interpolants, primitive.pick,
                      primitive.faults, *primitive.probe);
        } else {
            DrawSpan(primitive.state, nullptr, pixel, primitive.interpolants, primitive.pick,
                     primitive.faults);
        }
        break;
    }
    case Form::Packed:
        WriteLanes(word, x * pixelsPerWord_ + limits_.relative, primitive);
        break;
    case Form::Raw:
        WriteLanes(word, span_.left + taken_ * pixelsPerWord_, primitive);
        break;
    }
    if (++taken_ == steps) {
        primitive.interpolants.StepRow();
        --rowsLeft_;
        LoadRow(primitive);
    }
}

void HostDownload::WriteLanes(uint32_t word, int64_t x, const Primitive& primitive) const {
    if (primitive.probe != nullptr) {
        WriteLanesAs(word, x, primitive, Watched(*primitive.probe, primitive.state));
    } else {
        WriteLanesAs(word, x, primitive, Unwatched());
    }
}

template <class Watch>
void HostDownload::WriteLanesAs(uint32_t word, int64_t x, const Primitive& primitive,
                                Watch watch) const {
    if (!primitive.state.drawsPixels) {
        return;
    }
    const int64_t left = form_ == Form::Packed ? limits_.first : span_.left;
    const int64_t right = form_ == Form::Packed ? limits_.end : span_.right;
    const Plane& pixels = primitive.state.pixels;
    for (int64_t lane = 0; lane < pixelsPerWord_; ++lane) {
        const int64_t index = pixels.Index(x + lane, span_.y);
        watch.BeginBytes(PixelWay::Download, x + lane, span_.y,
                         pixelBits_ == 4 ? index >> 1 : index * pixels.bytesPerElement,
                         pixelBits_ == 4 ? 1 : pixels.bytesPerElement);
        if (watch.Test(PixelTest::Limits, x + lane >= left && x + lane < right)) {
            WritePixel(pixelBits_ == 32 ? word
                                        : word >> (lane * pixelBits_) & ((1u << pixelBits_) - 1),
                       x + lane, primitive, watch);
        }
        watch.End();
    }
}

template <class Watch>
void HostDownload::WritePixel(uint32_t pixel, int64_t x, const Primitive& primitive,
                              Watch& watch) const {
    const PipelineState& state = primitive.state;
    if (!watch.Test(PixelTest::Scissor, x >= state.clip.left && x < state.clip.right &&
                                            span_.y >= state.clip.top &&
                                            span_.y < state.clip.bottom)) {
        return;
    }
    const int64_t index = state.pixels.Index(x, span_.y);
    const int64_t perElement = pixelBits_ == 4 ? 2 * state.pixels.bytesPerElement : 1;
    if (!watch.Test(PixelTest::Memory, index >= 0 && index < state.pixels.elements * perElement)) {
        ++primitive.faults.badMemoryAccesses;
        return;
    }
    watch.WriteColour();
    switch (pixelBits_) {
    case 4:
        return StoreHalfByte(state, index, pixel);
    case 8:
        return StoreMasked<1>(state, index, pixel);
    case 16:
        return StoreMasked<2>(state, index, pixel);
    case 24:
        return StoreMasked<3>(state, index, pixel);
    default:
        return StoreMasked<4>(state, index, pixel);
    }
}

void HostDownload::Visit(StateVisitor& visit) {
    auto& [form, pixelBits, pixelsPerWord, limits, rowsLeft, span, taken] = *this;
    visit.Value("rowsLeft", rowsLeft);
    visit.Within("span", span);
    visit.Value("taken", taken, int64_t{0}, kFarthestPixel);
}

} // namespace board
