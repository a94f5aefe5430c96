#pragma once
// Everything behind the board's interface: its units, and how they work together. What runs for
// every word stands here, so that it is inlined.
#include "board/board.h"
#include "board/bus/beam.h"
#include "board/bus/credit.h"
#include "board/bus/decoder.h"
#include "board/bus/dma.h"
#include "board/bus/fifo.h"
#include "board/bus/interrupts.h"
#include "board/bus/output_fifo.h"
#include "board/commands.h"
#include "board/recorder.h"
#include "board/values/host_memory.h"
#include "board/values/memory.h"
#include "board/values/probe.h"
#include "board/values/registers.h"
#include "board/video/video_port.h"

namespace board {

// Tells a monitor what the source that is plugged in sends.
class ToldSource final : public VideoSource {
  public:
    explicit ToldSource(BusMonitor* const& monitor) : monitor_(monitor) {}
    void Follow(VideoSource* source) { source_ = source; }
    VideoSignal Signal() const override { return source_->Signal(); }
    void Line(uint64_t field, uint32_t line, std::vector<uint16_t>& pixels) override {
        source_->Line(field, line, pixels);
        if (monitor_ != nullptr) {
            monitor_->OnVideoLine(field, line, pixels);
        }
    }

  private:
    BusMonitor* const& monitor_;
    VideoSource* source_ = nullptr;
};

struct Board::Parts {
    static constexpr uint32_t kUnlimited = 0xFFFFFFFF;
    static constexpr uint32_t RateOr(uint32_t rate, uint32_t otherwise) {
        return rate != 0 ? rate : otherwise;
    }

    Parts(Board& owner, const Config& config, Pace pace, const LentMemories& memories);

    void TellActed() {
        if (monitor != nullptr) {
            monitor->AfterActing();
        }
    }
    // Stands in every call from outside that moves something, around all of it.
    class Acting {
      public:
        explicit Acting(Parts& parts) : parts_(parts) {
            if (parts_.monitor != nullptr) {
                parts_.monitor->BeforeActing();
            }
        }
        ~Acting() { parts_.TellActed(); }
        Acting(const Acting&) = delete;
        Acting& operator=(const Acting&) = delete;

      private:
        Parts& parts_;
    };

    // --- time (time.cpp) ---

    void ApplyTiming();
    void MoveClock(uint64_t microseconds) {
        clock += microseconds;
        if (clock >= nextEvent) {
            FollowClock();
        }
    }
    void MoveClockAlone(uint64_t microseconds) {
        if (microseconds != 0) {
            MoveClock(microseconds);
            if (monitor != nullptr) {
                monitor->OnClock(microseconds);
            }
        }
    }
    // What happens at certain times whatever the processor does.
    void FollowClock();
    // Sets nextEvent.
    void LookAhead();
    // In bytes, as the registers say.
    uint32_t ScreenBase() const;
    // One unit of time.
    void Tick() {
        MoveClock(config.timing.microsecondsPerTick);
        if (monitor != nullptr) {
            monitor->OnTick();
        }
        TickUnits();
    }
    // The FIFO, the DMA engine or the interrupt line has something to do.
    bool HasWork() const {
        return !input.Empty() || busyTicks != 0 || dma.Busy() ||
               (interrupts.Pending() && !handlerRunning);
    }
    // What the units do in a tick.
    void TickUnits() {
        interrupts.Tick();
        if (pace != Pace::Rounds) {
            Execute(RateOr(config.timing.fifoDrainPerTick, kUnlimited));
        }
        if (pace == Pace::Ticks) {
            MoveDmaWords(RateOr(config.timing.dmaWordsPerTick, kUnlimited));
        }
    }
    // Lets `ticks` pass without an access.
    void Idle(uint32_t ticks);
    // As many ticks at once as pass with nothing to do but moving the clock, at most `ticks`.
    uint32_t QuietTicks(uint32_t ticks) const;
    // Calls the handler for interrupts that are due. Whoever finds it running leaves: the one who
    // runs it looks again afterwards.
    void DeliverInterrupts() {
        if (interrupts.Due()) {
            AnswerInterrupts();
        }
    }
    void AnswerInterrupts();
    void TellInterruptEnd();
    // What every access ends with.
    void Finish() {
        if (pace == Pace::Ticks) {
            DeliverInterrupts();
        }
    }

    // --- stream (stream.cpp) ---

    // Entries execute as they arrive.
    bool Immediate() const { return pace != Pace::Rounds && config.timing.PipelineAtOnce(); }
    // A tick of the pipeline: executes up to `entries` waiting entries, or goes on with what an
    // earlier one keeps it busy with.
    void Execute(uint32_t entries) {
        if (busyTicks != 0) {
            --busyTicks;
            return;
        }
        for (; entries != 0 && busyTicks == 0 && !input.Empty(); --entries) {
            const RegisterWrite write = input.Pop();
            if (probe != nullptr) {
                probe->OnExecute(write);
            }
            commands.Execute(write);
            busyTicks = TicksBehindEntry();
        }
    }
    // Ticks for which the entry just executed keeps the pipeline busy behind its own.
    uint64_t TicksBehindEntry() {
        const Timing& timing = config.timing;
        const uint64_t pixels = commands.TakePixelsDrawn();
        const uint64_t drawing = timing.pixelsPerTick == 0
                                     ? 0
                                     : (pixels + timing.pixelsPerTick - 1) / timing.pixelsPerTick;
        return drawing + RateOr(timing.fifoTicksPerEntry, 1) - 1;
    }
    void Enter(RegisterWrite write) {
        if (straight) {
            commands.Execute(write);
        } else {
            EnterFifo(write);
        }
    }
    void EnterFifo(RegisterWrite write);
    // Sets `straight`.
    void ChooseWay() { straight = Immediate() && probe == nullptr; }
    // The processor enters an entry: `mapped`, or as the latest word of the FIFO window.
    void CountEntry(uint32_t tagNumber, bool mapped) {
        ++entered[tagNumber];
        if (!credit.Take()) {
            CountUnwaited(tagNumber, mapped);
        }
    }
    void CountUnwaited(uint32_t tagNumber, bool mapped); // without credit
    // The processor is held off the bus instead of losing writes.
    bool HoldsBus() const;
    // Room for an entry that the processor writes.
    bool MakeRoom() { return !input.Full() || Immediate() || MakeRoomNow(); }
    bool MakeRoomNow(); // in a full FIFO
    // A stream word at the FIFO's mouth, for which there is room.
    void Decode(uint32_t word) {
        RegisterWrite write{};
        switch (decoder.Feed(word, write)) {
        case StreamDecoder::Kind::Tag:
            break;
        case StreamDecoder::Kind::Malformed:
            ++faults.malformedWords;
            break;
        case StreamDecoder::Kind::Data:
            if (!RegisterFile::HasTag(write.tag)) {
                ++faults.unknownRegisters[write.tag];
            }
            Enter(write);
            break;
        }
    }
    void WriteFifoWord(uint32_t word) {
        if (recorder != nullptr) {
            recorder->OnFifoWord(word);
        }
        if (monitor != nullptr) {
            monitor->OnFifoWord(word);
        }
        ++fifoWords;
        if (decoder.ExpectsData()) {
            CountEntry(decoder.NextRegister(), false);
            if (!MakeRoom()) {
                RegisterWrite lost{};
                decoder.Feed(word, lost);
                return;
            }
        }
        Decode(word);
    }
    void WriteFifo(const uint32_t* words, size_t count);
    void StartDma(uint32_t words);
    // Moves up to `words` words; stops at a full FIFO.
    void MoveDmaWords(uint32_t words) {
        if (dma.Busy()) {
            MoveWords(words);
        }
    }
    void MoveWords(uint32_t words); // under way
    void TakeDmaWord(uint32_t word);
    void EndDmaEarly();
    void EndDma() {
        interrupts.Raise(broken == Break::InterruptFlag ? field::IntFlags_Error
                                                        : field::IntFlags_DMA);
    }

    // --- register aperture (aperture.cpp) ---

    uint32_t ReadAperture(uint32_t offset);
    // The same without what a read does.
    uint32_t PeekAperture(uint32_t offset) const;
    void WriteAperture(uint32_t offset, uint32_t value);
    void RaiseError(const Field& error);

    // --- state (state.cpp) ---

    void Visit(StateVisitor& visit);
    // Works out anew what follows from the state: behind a restore.
    void Rebuild();

    Board& owner;
    const Pace pace;
    Break broken = Break::None;
    BusRecorder* recorder = nullptr;
    BusMonitor* monitor = nullptr;
    PixelProbe* probe = nullptr;
    Config config;
    Beam beam;
    RegisterFile registers;
    Memories memories;
    HostMemory host;
    InputFifo input;
    FifoCredit credit;
    EntryCounts entered{}; // by the processor
    OutputFifo output;
    Faults faults;
    CommandUnit commands;
    StreamDecoder decoder;
    DmaEngine dma;
    InterruptLine interrupts;
    VideoPort video;
    ToldSource source{monitor};
    uint32_t errorFlags = 0;
    uint64_t fifoWords = 0;      // written by the processor
    uint64_t mappedWrites = 0;   // likewise
    uint64_t busyTicks = 0;      // until the pipeline takes the next entry
    uint64_t clock = 0;          // microseconds
    uint64_t clockRemainder = 0; // microseconds on the clock that made no whole tick yet
    uint64_t nextFrameStart = 0; // microseconds
    uint32_t shownBase = 0;      // bytes
    uint64_t nextEvent = 0;      // microseconds: a frame starts or a line of video
    bool straight = false;       // entries execute as they arrive, and nobody is told
    std::function<void()> handler;
    bool handlerRunning = false;
};

} // namespace board
