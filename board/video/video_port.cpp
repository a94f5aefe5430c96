#include "board/video/video_port.h"

#include <algorithm>
#include <cstring>

namespace board {

namespace {

constexpr uint32_t kFormat8Bits = 3, kFormat16Bits = 4; // VSControl Format
constexpr uint32_t kUnitBytes = 8;                      // of bases and stride
constexpr uint32_t kBuffers = 3;
constexpr uint64_t kMostFields = 4096; // that are taken in one move of the clock, an even number

} // namespace

void VideoPort::Follow(VideoSource* source, uint64_t now) {
    source_ = present_ ? source : nullptr;
    if (source_ == nullptr) {
        taking_ = false;
        nextLine_ = kNever;
        return;
    }
    signal_ = source_->Signal();
    line_ = LineAt(now);
    nextLine_ = StartOf(++line_);
}

void VideoPort::Resume(uint64_t now) {
    Follow(source_, now);
    // Registers of a snapshot are taken at their word.
    taking_ = taking_ && Register(reg::VSCurrentBuffer) < kBuffers;
}

uint64_t VideoPort::LinesPerSecond() const {
    return uint64_t{signal_.fieldsPerSecond} * signal_.linesPerField;
}

uint64_t VideoPort::LineAt(uint64_t now) const {
    const uint64_t seconds = now / Beam::kMicrosecondsPerSecond;
    const uint64_t rest = now % Beam::kMicrosecondsPerSecond;
    return seconds * LinesPerSecond() + rest * LinesPerSecond() / Beam::kMicrosecondsPerSecond;
}

uint64_t VideoPort::StartOf(uint64_t line) const {
    const uint64_t seconds = line / LinesPerSecond();
    const uint64_t rest = line % LinesPerSecond();
    return seconds * Beam::kMicrosecondsPerSecond +
           (rest * Beam::kMicrosecondsPerSecond + LinesPerSecond() - 1) / LinesPerSecond();
}

void VideoPort::Run(uint64_t now) {
    if (nextLine_ <= now) {
        PassOver(LineAt(now));
    }
    while (nextLine_ <= now) {
        End(line_ - 1);
        Begin(line_);
        nextLine_ = StartOf(++line_);
    }
}

// Who moves the clock by years does not wait for each of their lines: those that nobody takes are
// passed over, and of those that are taken as many that the same lines of fields of the same parity
// come last.
void VideoPort::PassOver(uint64_t last) {
    const uint64_t most = kMostFields * signal_.linesPerField;
    if (!Receives()) {
        line_ = std::max(line_, last);
    } else if (last > line_ + most) {
        line_ += (last - line_) / most * most;
    }
}

void VideoPort::OnStreamControl() {
    taking_ = false;
    if (!present_ && On(field::VSStreamControl_Enable)) {
        ++faults_.unmodelled["video port"];
    }
}

// The stream is on, and the port understands what the source sends.
bool VideoPort::Receives() const {
    const uint32_t format = signal_.portWidth == 8 ? kFormat8Bits : kFormat16Bits;
    return On(field::VSStreamControl_Enable) && registers_.Get(field::VSControl_Format) == format &&
           On(field::VSControl_HRefHigh) == signal_.lineReferenceHigh &&
           On(field::VSControl_VRefHigh) == signal_.fieldReferenceHigh;
}

bool VideoPort::Interleaves() const {
    return On(field::VSStreamControl_Interleave);
}

uint32_t VideoPort::ParityOf(uint64_t field) const {
    const bool inverted = !On(field::VSControl_NotInverted);
    return static_cast<uint32_t>(field & 1) ^ (inverted ? 1 : 0);
}

void VideoPort::Begin(uint64_t line) {
    if (!Receives()) {
        taking_ = false;
        return;
    }
    const auto lineOfField = static_cast<uint32_t>(line % signal_.linesPerField);
    if (lineOfField == 0) {
        BeginField(line / signal_.linesPerField);
    }
    registers_.SetAperture(reg::VSCurrentLine, lineOfField);
}

void VideoPort::BeginField(uint64_t field) {
    // Two interleaved fields share a buffer.
    if (Interleaves() && ParityOf(field) != 0) {
        return;
    }
    const bool three = On(field::VSStreamControl_ThreeBuffers);
    const uint32_t buffer = Register(reg::VSNextBuffer) & (three ? 3 : 1);
    registers_.SetAperture(reg::VSCurrentBuffer, buffer);
    taking_ = buffer < kBuffers;
    if (!taking_) {
        ++faults_.unmodelled["fourth video buffer"];
    }
}

void VideoPort::End(uint64_t line) {
    if (!taking_ || !Receives()) {
        return;
    }
    const auto lineOfField = static_cast<uint32_t>(line % signal_.linesPerField);
    Store(line / signal_.linesPerField, lineOfField);
    if (lineOfField + 1 == std::min(Register(reg::VSEndLine), signal_.linesPerField)) {
        interrupts_.Raise(field::IntFlags_Video);
    }
}

int64_t VideoPort::AddressOf(uint32_t row, uint64_t field) const {
    const int64_t stride = int64_t{Register(reg::VSBufferStride)} * kUnitBytes;
    const int64_t base =
        int64_t{Register(reg::VSBufferBase[Register(reg::VSCurrentBuffer)])} * kUnitBytes;
    const int64_t place = Interleaves() ? 2 * int64_t{row} + ParityOf(field) : row;
    const bool upwards = On(field::VSStreamControl_MirrorY);
    return base + (upwards ? -place - 1 : place) * stride;
}

void VideoPort::Store(uint64_t field, uint32_t line) {
    const uint32_t start = Register(reg::VSStartLine);
    if (line < start || line >= Register(reg::VSEndLine)) {
        return;
    }
    const uint32_t scale = registers_.Get(field::VSStreamControl_ScaleY);
    const uint32_t lineOfPicture = line - start;
    if ((lineOfPicture & ((1u << scale) - 1)) != 0) {
        return;
    }
    pixels_.clear();
    source_->Line(field, line, pixels_);
    Pack();
    const int64_t address = AddressOf(lineOfPicture >> scale, field);
    const auto bytes = static_cast<int64_t>(row_.size()) * int64_t{sizeof(uint16_t)};
    const auto memory = static_cast<int64_t>(memories_.frameBuffer.size());
    if (address < 0 || address + bytes > memory) {
        ++faults_.badMemoryAccesses;
        return;
    }
    if (probe_ != nullptr) {
        TellRow(address);
    }
    if (bytes != 0) {
        std::memcpy(memories_.frameBuffer.data() + address, row_.data(),
                    static_cast<size_t>(bytes));
    }
}

void VideoPort::TellRow(int64_t address) {
    PixelReport pixel;
    pixel.way = PixelWay::Video;
    for (const uint16_t value : row_) {
        pixel.colour = {false,
                        true,
                        sizeof value,
                        address,
                        LoadElement<2>(memories_.frameBuffer.data() + address),
                        value};
        probe_->OnPixel(pixel);
        address += static_cast<int64_t>(sizeof value);
    }
}

// Turns the line in pixels_ into the row of the buffer: whole pairs, scaled and mirrored.
void VideoPort::Pack() {
    // A port of 16 bits counts each pixel twice.
    const uint32_t shift = signal_.portWidth == 8 ? 0 : 1;
    const size_t end = std::min<size_t>(Register(reg::VSEndPixel) >> shift, pixels_.size());
    const size_t start = std::min<size_t>(Register(reg::VSStartPixel) >> shift, end);
    const uint32_t scale = registers_.Get(field::VSStreamControl_ScaleX);
    const size_t pairs = (end - start) >> (scale + 1);
    const bool mirrored = On(field::VSStreamControl_MirrorX);
    row_.resize(pairs * 2);
    for (size_t pair = 0; pair < pairs; ++pair) {
        const uint16_t* from = &pixels_[start + (pair << (scale + 1))];
        const uint16_t left = from[0], right = from[size_t{1} << scale];
        // Colours of the pair that the left pixel belongs to.
        const auto u = static_cast<uint16_t>(from[0] & 0xFF00);
        const auto v = static_cast<uint16_t>(from[1] & 0xFF00);
        uint16_t* to = &row_[2 * (mirrored ? pairs - 1 - pair : pair)];
        to[0] = static_cast<uint16_t>(u | ((mirrored ? right : left) & 0xFF));
        to[1] = static_cast<uint16_t>(v | ((mirrored ? left : right) & 0xFF));
    }
}

} // namespace board
