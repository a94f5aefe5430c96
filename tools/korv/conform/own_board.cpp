#include "tools/korv/conform/own_board.h"

#include "board/board.h"
#include "stream/capture_recorder.h"
#include "tools/korv/conform/pixel_form.h"

#include <algorithm>
#include <deque>
#include <optional>

namespace korv::conform {

namespace {

using stream::EventKind;
using stream::Memory;

// Of captures: it stays when the tool's version changes, so that captures of a case are equal.
constexpr const char* kMaker = "korv conform, kit 1";

class Session {
  public:
    Session(const Case& one, board::Break wrong) : case_(one), board_(one.config) {
        board_.SetBreak(wrong);
        board_.SetInterruptHandler([this] { ++interrupts_; });
    }

    board::Board& Board() { return board_; }
    // Told of what the processor stores.
    void SetRecorder(stream::CaptureRecorder* recorder) { recorder_ = recorder; }

    Outcome Run(size_t count) {
        for (size_t i = 0; i < count; ++i) {
            const Step& step = case_.steps[i];
            if (step.kind == EventKind::FifoWord) {
                words_.push_back(step.value);
                continue;
            }
            SendWords();
            Do(step);
        }
        SendWords();
        board_.Drain();
        const auto frame = board_.FrameBuffer(), local = board_.LocalBuffer();
        outcome_.frameBuffer.assign(frame.begin(), frame.end());
        outcome_.localBuffer.assign(local.begin(), local.end());
        outcome_.interrupts = interrupts_;
        outcome_.faults = board_.FaultReport().Describe();
        return std::move(outcome_);
    }

  private:
    struct HostRange {
        uint32_t address;
        std::vector<uint8_t> bytes;
    };

    void SendWords() {
        if (!words_.empty()) {
            board_.WriteFifo(words_.data(), words_.size());
            words_.clear();
        }
    }

    void Do(const Step& step) {
        switch (step.kind) {
        case EventKind::Write:
            board_.Write(step.offset, step.value);
            break;
        case EventKind::Read:
            outcome_.reads.push_back(board_.Read(step.offset));
            break;
        case EventKind::Ticks:
            board_.Idle(step.value);
            break;
        case EventKind::Clock:
            board_.Advance(step.value);
            break;
        case EventKind::HostMemory: {
            HostRange& range =
                host_.emplace_back(HostRange{step.offset, std::vector<uint8_t>(step.value)});
            board_.MapMemory(range.address, range.bytes.data(), range.bytes.size());
            break;
        }
        case EventKind::Store:
            Store(step);
            break;
        default:
            break;
        }
    }

    void Store(const Step& step) {
        if (step.memory == Memory::Host) {
            for (HostRange& range : host_) {
                if (step.offset >= range.address &&
                    step.offset - range.address + step.bytes.size() <= range.bytes.size()) {
                    std::ranges::copy(step.bytes,
                                      range.bytes.begin() + (step.offset - range.address));
                }
            }
        } else {
            const auto memory =
                step.memory == Memory::FrameBuffer ? board_.FrameBuffer() : board_.LocalBuffer();
            std::ranges::copy(step.bytes, memory.begin() + step.offset);
        }
        if (recorder_ != nullptr) {
            recorder_->Store(step.memory, step.offset, step.bytes);
        }
    }

    const Case& case_;
    board::Board board_;
    stream::CaptureRecorder* recorder_ = nullptr;
    std::deque<HostRange> host_;
    std::vector<uint32_t> words_; // not sent yet
    Outcome outcome_;
    uint32_t interrupts_ = 0;
};

// A picture as a capture's surface, so that `korv play` shows it.
stream::Mark SurfaceOf(const PictureArea& area, int64_t id) {
    stream::Mark mark(stream::MarkKind::Surface, area.name);
    mark.Add("id", id)
        .Add("memory", area.memory == Memory::FrameBuffer ? "frame" : "local")
        .Add("offset", int64_t{area.offset})
        .Add("pitch", int64_t{area.pitch})
        .Add("width", int64_t{area.width})
        .Add("height", int64_t{area.height})
        .Add("bits", int64_t{BytesOf(area.form)} * 8);
    if (area.form == PixelForm::Index8) {
        return mark.Add("format", "indexed");
    }
    if (area.form >= PixelForm::Depth16) {
        return mark.Add("format", "depth");
    }
    mark.Add("format", "rgb");
    const char* const names[] = {"red", "green", "blue", "alpha"};
    for (size_t i = 0; i < 4; ++i) {
        Channels all{};
        all[i] = 255;
        mark.Add(names[i], int64_t{Encode(area.form, all)});
    }
    return mark;
}

} // namespace

Outcome OwnBoard::Run(const Case& one, size_t steps) {
    return Session(one, wrong_).Run(steps);
}

Outcome OwnBoard::Record(const Case& one, std::ostream& capture) {
    Session session(one, wrong_);
    stream::CaptureRecorder recorder(session.Board(), capture, kMaker);
    session.SetRecorder(&recorder);
    int64_t id = 0;
    for (const PictureArea& area : one.pictures) {
        recorder.Put(SurfaceOf(area, ++id));
    }
    Outcome outcome = session.Run(one.steps.size());
    if (!one.pictures.empty()) {
        stream::Mark picture(stream::MarkKind::Picture, one.id);
        picture.Add("surface", one.pictures.front().name);
        recorder.Put(std::move(picture), true);
    }
    recorder.Finish();
    return outcome;
}

} // namespace korv::conform
