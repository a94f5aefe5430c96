// The board's clock, and what moves with it.
#include "board/parts.h"

#include <algorithm>

namespace board {

namespace {

// Words that a round moves, and entries that it executes, where the timing sets no rate.
constexpr uint32_t kRoundBurst = 64;

} // namespace

void Board::Parts::ApplyTiming() {
    const Timing& timing = config.timing;
    input.Configure(timing.fifoDepth, timing.fifoReportLag, timing.fifoReportCap);
    interrupts.SetLatency(timing.interruptLatency);
    commands.SetStrayWords(timing.strayOutputWords);
    ChooseWay();
    if (Immediate()) {
        Execute(kUnlimited);
    }
}

uint32_t Board::Parts::ScreenBase() const {
    return DeviceOf(config.chip).IsPermedia() ? registers.Aperture(reg::ScreenBasePermedia) << 3
                                              : registers.Aperture(reg::ScreenBaseGlint) << 13;
}

void Board::Parts::FollowClock() {
    if (clock >= nextFrameStart) {
        nextFrameStart = beam.FrameStart(beam.Frame(clock) + 1);
        shownBase = ScreenBase();
        interrupts.Raise(field::IntFlags_Retrace);
    }
    video.Run(clock);
    LookAhead();
}

void Board::Parts::LookAhead() {
    nextEvent = std::min(nextFrameStart, video.NextLine());
}

uint32_t Board::Parts::QuietTicks(uint32_t ticks) const {
    if (HasWork() || ticks == 0) {
        return 0;
    }
    const uint32_t length = config.timing.microsecondsPerTick;
    const uint64_t untilEvent = length == 0 ? ticks : (nextEvent - clock) / length;
    return static_cast<uint32_t>(std::min<uint64_t>(ticks, untilEvent));
}

void Board::Parts::Idle(uint32_t ticks) {
    while (ticks != 0) {
        const uint32_t quiet = QuietTicks(ticks);
        if (quiet != 0) {
            MoveClockAlone(uint64_t{quiet} * config.timing.microsecondsPerTick);
            ticks -= quiet;
        } else {
            Tick();
            --ticks;
        }
        Finish();
    }
}

void Board::Parts::TellInterruptEnd() {
    if (monitor != nullptr) {
        monitor->BeforeActing();
        monitor->OnInterruptEnd();
    }
}

void Board::Parts::AnswerInterrupts() {
    // A handler whose accesses take longer than it is to the next event would be called for ever:
    // from then on it is called by the next access.
    constexpr int kMostAnswers = 256;
    for (int answers = 0; interrupts.Due() && !handlerRunning && answers != kMostAnswers;
         ++answers) {
        interrupts.Taken();
        if (monitor != nullptr) {
            monitor->OnInterrupt();
        }
        if (!handler) {
            TellInterruptEnd();
            continue;
        }
        TellActed(); // the handler is the processor's
        // It may be replaced while it runs.
        const std::function<void()> call = handler;
        handlerRunning = true;
        owner.CallHandler(call);
        handlerRunning = false;
        TellInterruptEnd();
    }
}

bool Board::AtRest() const {
    return !HasWork();
}

bool Board::HasWork() const {
    return parts_->HasWork();
}

void Board::Round() {
    const Timing& timing = parts_->config.timing;
    parts_->interrupts.Tick();
    parts_->MoveDmaWords(Parts::RateOr(timing.dmaWordsPerTick, kRoundBurst));
    parts_->Execute(Parts::RateOr(timing.fifoDrainPerTick, kRoundBurst));
    parts_->DeliverInterrupts();
}

void Board::Idle(uint32_t ticks) {
    const Parts::Acting acting(*parts_);
    parts_->Idle(ticks);
    parts_->Finish();
}

void Board::Advance(uint64_t microseconds) {
    const Parts::Acting acting(*parts_);
    // With a clock that stands still between accesses a microsecond counts as a tick.
    const uint32_t length = std::max(parts_->config.timing.microsecondsPerTick, 1u);
    for (uint64_t ticks = microseconds / length; ticks != 0;) {
        const auto part = static_cast<uint32_t>(std::min<uint64_t>(ticks, Parts::kUnlimited));
        parts_->Idle(part);
        ticks -= part;
    }
    if (parts_->config.timing.microsecondsPerTick == 0) {
        parts_->MoveClockAlone(microseconds);
    }
    parts_->MoveClockAlone(microseconds % length);
    parts_->clockRemainder += microseconds % length;
    if (parts_->clockRemainder >= length) {
        parts_->clockRemainder -= length;
        if (parts_->monitor != nullptr) {
            parts_->monitor->OnUnits();
        }
        parts_->TickUnits();
    }
    parts_->Finish();
}

void Board::Drain() {
    const Parts::Acting acting(*parts_);
    while (HasWork()) {
        if (parts_->pace == Pace::Rounds) {
            Round();
        } else {
            parts_->Tick();
            parts_->DeliverInterrupts();
        }
    }
}

} // namespace board
