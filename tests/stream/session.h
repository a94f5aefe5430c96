#pragma once
// A small session on a board, recorded into a capture, and what came of it.
#include "board/board.h"
#include "board/video/video_source.h"
#include "chip/registers.h"
#include "stream/capture_recorder.h"
#include "stream/checksum.h"
#include "stream/source.h"

#include <memory>
#include <random>
#include <sstream>
#include <string>
#include <vector>

namespace stream {

inline board::Config SmallBoard(board::Chip chip = board::Chip::Permedia) {
    board::Config config;
    config.chip = chip;
    config.frameBufferBytes = 64u << 10;
    config.localBufferBytes = DeviceOf(chip).HasLocalBuffer() ? 32u << 10 : 0;
    return config;
}

// Lines whose pixels tell field and line.
class TestVideo final : public board::VideoSource {
  public:
    board::VideoSignal Signal() const override { return {50, 20, 8, true, true}; }
    void Line(uint64_t field, uint32_t line, std::vector<uint16_t>& pixels) override {
        for (uint32_t x = 0; x < 16; ++x) {
            pixels.push_back(static_cast<uint16_t>(field * 1000 + line * 16 + x));
        }
    }
};

// Random traffic of all kinds, under whatever timing. `seed` decides all of it.
class Session {
  public:
    Session(const board::Config& config, uint32_t seed)
        : board_(config), recorder_(board_, out_, "a test"), dice_(seed) {
        board_.SetInterruptHandler([this] {
            ++interrupts_;
            board_.Write(reg::IntFlags, board_.Read(reg::IntFlags));
        });
        board_.MapMemory(kBusAddress, dma_.data(), dma_.size() * sizeof dma_[0]);
        board_.Write(reg::IntEnable, ~0u);
    }

    void Run(int rounds) {
        for (int i = 0; i < rounds; ++i) {
            Round();
            if (i % 16 == 0) {
                recorder_.Put(Mark(MarkKind::Step, "round").Add("number", i / 16), true);
            }
        }
        board_.Drain();
    }

    void PlugVideo() {
        board_.Write(reg::VSControl, field::VSControl_Format.Put(0, 3) |
                                         field::VSControl_HRefHigh.Mask() |
                                         field::VSControl_VRefHigh.Mask());
        board_.Write(reg::VSEndLine, 18);
        board_.Write(reg::VSEndPixel, 16);
        board_.Write(reg::VSBufferStride, 8);
        board_.Write(reg::VSStreamControl, field::VSStreamControl_Enable.Mask());
        board_.SetVideoSource(&video_);
    }

    // The capture's bytes. Nothing can be done afterwards.
    std::string Finish() {
        sums_ = ChecksumsOf(board_);
        microseconds_ = board_.Microseconds();
        recorder_.Finish();
        return out_.str();
    }

    board::Board& Board() { return board_; }
    CaptureRecorder& Recorder() { return recorder_; }
    const Checksums& Sums() const { return sums_; }
    uint64_t Microseconds() const { return microseconds_; }
    uint32_t Interrupts() const { return interrupts_; }

  private:
    static constexpr uint32_t kBusAddress = 0x1000;

    uint32_t Dice(uint32_t sides) { return dice_() % sides; }
    // A register write as stream words: state of little consequence, or a small trapezoid.
    void Words(std::vector<uint32_t>& words) {
        const auto pair = [&](uint32_t tagNumber, uint32_t value) {
            words.push_back(tagNumber);
            words.push_back(value);
        };
        switch (Dice(4)) {
        case 0:
            pair(tag::FBReadMode, 1);
            pair(tag::FBWriteMode, 1);
            break;
        case 1:
            pair(tag::Color, dice_());
            pair(tag::StartXDom, Dice(8) << 16);
            pair(tag::StartXSub, (8 + Dice(16)) << 16);
            pair(tag::StartY, Dice(32) << 16);
            break;
        case 2:
            pair(tag::dY, 1u << 16);
            pair(tag::Count, Dice(16));
            pair(tag::Render, 0x40);
            break;
        default:
            pair(tag::FBBlockColor, dice_());
            pair(tag::Sync, dice_());
            break;
        }
    }
    void Round() {
        std::vector<uint32_t> words;
        for (uint32_t i = Dice(4); i != 0; --i) {
            Words(words);
        }
        switch (Dice(8)) {
        case 0:
            board_.WriteFifo(words.data(), words.size());
            break;
        case 1:
            std::ranges::copy(words, dma_.begin());
            board_.Write(reg::DMAAddress, kBusAddress);
            board_.Write(reg::DMACount, static_cast<uint32_t>(words.size()));
            while (Dice(8) != 0 && board_.Read(reg::DMACount) != 0) {
            }
            break;
        case 2: // nobody answers at the end of it
            if (Dice(8) == 0) {
                board_.Write(reg::DMAAddress,
                             kBusAddress + static_cast<uint32_t>(dma_.size() - 2) * 4);
                board_.Write(reg::DMACount, 4);
            }
            break;
        case 3:
            board_.Idle(Dice(40));
            break;
        case 4:
            board_.Advance(Dice(3000));
            break;
        case 5:
            board_.Read(reg::InFIFOSpace);
            board_.Read(reg::LineCounter);
            board_.Read(reg::FreeRunningTimer);
            break;
        case 6:
            board_.Read(reg::OutFIFOWord);
            break;
        default:
            StoreBehind();
            break;
        }
    }
    // What a watch of the processor's view would tell.
    void StoreBehind() {
        const uint32_t place = Dice(60000);
        std::vector<uint8_t> bytes(1 + Dice(64), static_cast<uint8_t>(dice_()));
        std::ranges::copy(bytes, board_.FrameBuffer().begin() + place);
        recorder_.Store(Memory::FrameBuffer, place, bytes);
    }

    board::Board board_;
    std::ostringstream out_;
    CaptureRecorder recorder_;
    TestVideo video_;
    std::mt19937 dice_;
    std::vector<uint32_t> dma_ = std::vector<uint32_t>(64);
    Checksums sums_;
    uint64_t microseconds_ = 0;
    uint32_t interrupts_ = 0;
};

// One of so many rounds on such a board; every other seed has video.
inline std::unique_ptr<Session> SessionOf(board::Chip chip, const board::Timing& timing,
                                          uint32_t seed, int rounds) {
    board::Config config = SmallBoard(chip);
    config.timing = timing;
    auto session = std::make_unique<Session>(config, seed);
    if (seed % 2 == 1) {
        session->PlugVideo();
    }
    session->Run(rounds);
    return session;
}

// All that a source gives, event by event, as text that can be compared.
inline std::vector<std::string> EventTexts(Source& source) {
    std::vector<std::string> texts;
    Event event;
    while (source.Next(event)) {
        std::ostringstream text;
        text << static_cast<int>(event.kind) << ' ' << event.ticked << ' ' << event.offset << ' '
             << event.value << ' ' << event.field << ' ' << Crc32(event.bytes);
        for (const uint16_t pixel : event.pixels) {
            text << ' ' << pixel;
        }
        if (event.timing != nullptr) {
            text << " drain " << event.timing->fifoDrainPerTick;
        }
        if (event.signal != nullptr) {
            text << " signal " << event.signal->linesPerField;
        }
        if (event.mark != nullptr) {
            text << ' ' << static_cast<int>(event.mark->kind) << event.mark->name;
            for (const MarkField& field : event.mark->fields) {
                text << ' ' << field.name << '=';
                std::visit([&](const auto& value) { text << value; }, field.value);
            }
        }
        text << " @" << source.At().event << ' ' << source.At().word << ' ' << source.At().step;
        texts.push_back(text.str());
    }
    return texts;
}

} // namespace stream
