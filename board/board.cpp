#include "board/board.h"

#include "board/bus/beam.h"
#include "board/bus/decoder.h"
#include "board/bus/dma.h"
#include "board/bus/fifo.h"
#include "board/bus/interrupts.h"
#include "board/bus/output_fifo.h"
#include "board/commands.h"
#include "board/values/host_memory.h"
#include "board/values/memory.h"
#include "board/values/registers.h"
#include "board/video/video_port.h"

#include <algorithm>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <utility>

namespace board {

namespace {

// Words that the DMA thread moves, and entries that it executes, before it lets others have the
// board.
constexpr uint32_t kThreadBurst = 64;
constexpr uint32_t kUnlimited = 0xFFFFFFFF;
// FreeRunningTimer counts the cycles of a chip clocked at 50 MHz.
constexpr uint32_t kTimerCyclesPerMicrosecond = 50;

bool InFifoWindow(uint32_t offset) {
    return offset >= reg::FIFOWindow && offset < reg::FIFOWindow + reg::FIFOPageBytes;
}

bool IsMapped(uint32_t offset) {
    return offset >= reg::MappedRegisters && offset < reg::ApertureBytes && offset % 8 == 0;
}

uint32_t OrUnlimited(uint32_t rate, uint32_t unlimited) {
    return rate != 0 ? rate : unlimited;
}

} // namespace

// Everything behind the interface. Functions whose names do not say otherwise are called with the
// mutex held.
struct Board::Parts {
    explicit Parts(const Config& configuration)
        : config(configuration), beam{config.refreshRate, config.linesTotal},
          commands(config.chip, config.setupUnit, registers, memories, host, output, faults),
          dma(host), video(config.chip, registers, memories, interrupts, faults) {
        memories.frameBuffer.resize(config.frameBufferBytes);
        memories.localBuffer.resize(config.localBufferBytes);
        registers.SetAperture(reg::BlankEndGlint, config.linesBlank);
        registers.SetAperture(reg::BlankEndPermedia, config.linesBlank);
        nextFrameStart = beam.FrameStart(1);
        nextEvent = nextFrameStart;
        ApplyTiming();
    }

    Config config;
    std::mutex mutex;
    Beam beam;
    RegisterFile registers;
    Memories memories;
    HostMemory host;
    InputFifo input;
    OutputFifo output;
    Faults faults;
    CommandUnit commands;
    StreamDecoder decoder;
    DmaEngine dma;
    InterruptLine interrupts;
    VideoPort video;
    uint32_t errorFlags = 0;
    uint64_t clock = 0;          // microseconds
    uint64_t clockRemainder = 0; // microseconds on the clock that made no whole tick yet
    uint64_t nextFrameStart = 0; // microseconds
    uint32_t shownBase = 0;      // bytes
    uint64_t nextEvent = 0;      // microseconds: a frame starts or a line of video
    BusRecorder* recorder = nullptr;
    std::function<void()> handler;
    bool handlerRunning = false;

    std::thread worker;
    std::condition_variable wake; // there is work for the thread, or it shall stop
    std::condition_variable rest; // the thread has run out of work
    bool stopWorker = false;

    // --- time ---

    bool Threaded() const { return config.timing.dmaThread; }

    // Entries execute as they arrive.
    bool Immediate() const { return !Threaded() && config.timing.fifoDrainPerTick == 0; }

    // The FIFO or the DMA engine has something to do, or a call of the handler is under way.
    bool HasWork() const {
        return !input.Empty() || dma.Busy() || (interrupts.Pending() && !handlerRunning);
    }

    void ApplyTiming() {
        const Timing& timing = config.timing;
        input.Configure(timing.fifoDepth, timing.fifoReportLag, timing.fifoReportCap);
        interrupts.SetLatency(timing.interruptLatency);
        commands.SetStrayWords(timing.strayOutputWords);
        if (Immediate()) {
            Execute(kUnlimited);
        }
    }

    void MoveClock(uint64_t microseconds) {
        clock += microseconds;
        if (clock >= nextEvent) {
            FollowClock();
        }
    }

    // In bytes, as the registers say.
    uint32_t ScreenBase() const {
        const bool permedia = config.chip == Chip::Permedia || config.chip == Chip::Permedia2;
        return permedia ? registers.Aperture(reg::ScreenBasePermedia) << 3
                        : registers.Aperture(reg::ScreenBaseGlint) << 13;
    }

    // What happens at certain times whatever the processor does.
    void FollowClock() {
        if (clock >= nextFrameStart) {
            nextFrameStart = beam.FrameStart(beam.Frame(clock) + 1);
            shownBase = ScreenBase();
            interrupts.Raise(kRetraceInterrupt);
        }
        video.Run(clock);
        nextEvent = std::min(nextFrameStart, video.NextLine());
    }

    // One unit of time.
    void Tick() {
        MoveClock(config.timing.microsecondsPerTick);
        TickUnits();
    }

    // What the units do in a tick. A DMA thread moves words by itself, not by ticks.
    void TickUnits() {
        interrupts.Tick();
        if (Threaded()) {
            return;
        }
        Execute(OrUnlimited(config.timing.fifoDrainPerTick, kUnlimited));
        MoveDmaWords(OrUnlimited(config.timing.dmaWordsPerTick, kUnlimited));
    }

    // As many ticks at once as pass with nothing to do but moving the clock, at most `ticks`.
    uint32_t IdleTicks(uint32_t ticks) const {
        if (HasWork() || ticks == 0) {
            return 0;
        }
        const uint32_t length = config.timing.microsecondsPerTick;
        const uint64_t untilEvent = length == 0 ? ticks : (nextEvent - clock) / length;
        return static_cast<uint32_t>(std::min<uint64_t>(ticks, untilEvent));
    }

    // --- input ---

    // Executes up to `entries` waiting entries.
    void Execute(uint32_t entries) {
        for (; entries != 0 && !input.Empty(); --entries) {
            commands.Execute(input.Pop());
        }
    }

    void Enter(RegisterWrite write) {
        if (Immediate()) {
            commands.Execute(write);
        } else {
            input.Push(write);
        }
    }

    // The processor is held off the bus instead of losing writes.
    bool HoldsBus() const {
        return ((registers.Aperture(reg::DisconnectControl) |
                 registers.Aperture(reg::DeltaDisconnectControl)) &
                1) != 0;
    }

    // Room for an entry that the processor writes.
    bool MakeRoom() {
        if (!input.Full() || Immediate()) {
            return true;
        }
        if (HoldsBus()) {
            Execute(1);
            return true;
        }
        ++faults.fifoOverflows;
        RaiseError(kInputFifoError);
        return false;
    }

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
        if (!decoder.ExpectsData() || MakeRoom()) {
            Decode(word);
        } else {
            RegisterWrite lost{};
            decoder.Feed(word, lost);
        }
    }

    // --- DMA ---

    void StartDma(uint32_t words) {
        if (dma.Busy()) {
            ++faults.dmaRestarts;
        }
        dma.Start(registers.Aperture(reg::DMAAddress), words);
        if (!Threaded() && config.timing.dmaWordsPerTick == 0) {
            MoveDmaWords(kUnlimited);
        }
    }

    // Moves up to `words` words; stops at a full FIFO.
    void MoveDmaWords(uint32_t words) {
        if (!dma.Busy()) {
            return;
        }
        for (; words != 0 && dma.Busy(); --words) {
            if (decoder.ExpectsData() && !Immediate() && input.Full()) {
                return;
            }
            uint32_t word = 0;
            if (!dma.Next(word)) {
                ++faults.badDmaAddresses;
                break;
            }
            if (recorder != nullptr) {
                recorder->OnDmaWord(word);
            }
            Decode(word);
        }
        if (!dma.Busy()) {
            interrupts.Raise(kDmaInterrupt);
        }
    }

    void RaiseError(uint32_t error) {
        errorFlags |= error;
        interrupts.Raise(kErrorInterrupt);
    }

    // --- register aperture ---

    uint32_t ReadAperture(uint32_t offset) {
        if (IsMapped(offset)) {
            return registers[(offset - reg::MappedRegisters) / 8];
        }
        if (InFifoWindow(offset)) {
            if (output.Empty()) {
                RaiseError(kOutputFifoError);
                return 0;
            }
            return output.Pop();
        }
        switch (offset) {
        case reg::IntEnable:
            return interrupts.Enable();
        case reg::IntFlags:
            return interrupts.Flags();
        case reg::InFIFOSpace:
            return input.ReportSpace();
        case reg::OutFIFOWords:
            return output.Count();
        case reg::DMACount:
            return dma.WordsLeft();
        case reg::ErrorFlags:
            return errorFlags;
        case reg::LineCounter:
            return beam.Line(clock);
        case reg::FreeRunningTimer:
            return static_cast<uint32_t>(clock * kTimerCyclesPerMicrosecond);
        default:
            return offset < reg::MappedRegisters ? registers.Aperture(offset) : 0;
        }
    }

    void WriteAperture(uint32_t offset, uint32_t value) {
        if (IsMapped(offset)) {
            const uint32_t tagNumber = (offset - reg::MappedRegisters) / 8;
            if (!RegisterFile::HasTag(tagNumber)) {
                ++faults.unknownRegisters[offset];
            }
            if (MakeRoom()) {
                Enter({tagNumber, value});
            }
            return;
        }
        if (!RegisterFile::HasAperture(offset)) {
            ++faults.unknownRegisters[offset];
        }
        if (offset >= reg::MappedRegisters) {
            return;
        }
        switch (offset) {
        case reg::IntEnable:
            interrupts.SetEnable(value);
            break;
        case reg::IntFlags:
            interrupts.ClearFlags(value);
            break;
        case reg::ErrorFlags:
            errorFlags &= ~value;
            break;
        case reg::InFIFOSpace:
        case reg::OutFIFOWords:
        case reg::LineCounter:
        case reg::FreeRunningTimer:
        case reg::VSCurrentLine:
        case reg::VSCurrentBuffer:
            break; // read only
        case reg::VSStreamControl:
            registers.SetAperture(offset, value);
            video.OnStreamControl();
            break;
        case reg::DMACount:
            StartDma(value);
            break;
        default:
            registers.SetAperture(offset, value);
            break;
        }
    }

    // --- the thread and the handler ---

    // Calls the handler for interrupts that are due, with the lock released. Whoever finds it
    // running leaves: the one who runs it looks again afterwards.
    void DeliverInterrupts(std::unique_lock<std::mutex>& lock) {
        while (interrupts.Due() && !handlerRunning) {
            interrupts.Taken();
            if (!handler) {
                continue;
            }
            const std::function<void()> call = handler;
            handlerRunning = true;
            lock.unlock();
            call();
            lock.lock();
            handlerRunning = false;
        }
    }

    // What every access ends with. The lock may be released.
    void Finish(std::unique_lock<std::mutex>& lock) {
        if (!Threaded()) {
            DeliverInterrupts(lock);
        } else if (HasWork()) {
            lock.unlock();
            wake.notify_one();
            std::this_thread::yield();
        }
    }

    void WorkerRound() {
        interrupts.Tick();
        MoveDmaWords(OrUnlimited(config.timing.dmaWordsPerTick, kThreadBurst));
        Execute(OrUnlimited(config.timing.fifoDrainPerTick, kThreadBurst));
    }

    void WorkerMain() {
        std::unique_lock lock(mutex);
        while (!stopWorker) {
            if (!HasWork()) {
                rest.notify_all();
                wake.wait(lock);
                continue;
            }
            WorkerRound();
            DeliverInterrupts(lock);
            lock.unlock();
            std::this_thread::yield();
            lock.lock();
        }
    }

    // Called without the lock.
    void StartWorkerUnlocked() {
        stopWorker = false;
        worker = std::thread([this] { WorkerMain(); });
    }

    // Called without the lock, not from the handler.
    void StopWorkerUnlocked() {
        if (!worker.joinable()) {
            return;
        }
        {
            const std::lock_guard lock(mutex);
            stopWorker = true;
        }
        wake.notify_all();
        worker.join();
    }
};

Board::Board(const Config& config) : parts_(std::make_unique<Parts>(config)) {
    if (config.timing.dmaThread) {
        parts_->StartWorkerUnlocked();
    }
}

Board::~Board() {
    parts_->StopWorkerUnlocked();
}

uint32_t Board::Read(uint32_t offset) {
    std::unique_lock lock(parts_->mutex);
    parts_->Tick();
    const uint32_t value = parts_->ReadAperture(offset);
    if (parts_->recorder != nullptr) {
        parts_->recorder->OnRead(offset, value);
    }
    parts_->Finish(lock);
    return value;
}

void Board::Write(uint32_t offset, uint32_t value) {
    std::unique_lock lock(parts_->mutex);
    parts_->Tick();
    if (InFifoWindow(offset)) {
        parts_->WriteFifoWord(value);
    } else {
        if (parts_->recorder != nullptr) {
            parts_->recorder->OnWrite(offset, value);
        }
        parts_->WriteAperture(offset, value);
    }
    parts_->Finish(lock);
}

void Board::WriteFifo(const uint32_t* words, size_t count) {
    std::unique_lock lock(parts_->mutex);
    for (size_t i = 0; i < count; ++i) {
        parts_->Tick();
        parts_->WriteFifoWord(words[i]);
        if (!parts_->Threaded()) {
            parts_->DeliverInterrupts(lock);
        }
    }
    parts_->Finish(lock);
}

void Board::Idle(uint32_t ticks) {
    std::unique_lock lock(parts_->mutex);
    while (ticks != 0) {
        const uint32_t quiet = parts_->IdleTicks(ticks);
        if (quiet != 0) {
            parts_->MoveClock(uint64_t{quiet} * parts_->config.timing.microsecondsPerTick);
            ticks -= quiet;
        } else {
            parts_->Tick();
            --ticks;
        }
        if (!parts_->Threaded()) {
            parts_->DeliverInterrupts(lock);
        }
    }
    const bool threaded = parts_->Threaded();
    parts_->Finish(lock);
    if (threaded) {
        if (lock.owns_lock()) {
            lock.unlock();
        }
        std::this_thread::yield();
    }
}

void Board::MapMemory(uint32_t busAddress, const void* memory, size_t bytes) {
    const std::lock_guard lock(parts_->mutex);
    parts_->host.Map(busAddress, memory, bytes);
}

void Board::SetInterruptHandler(std::function<void()> handler) {
    const std::lock_guard lock(parts_->mutex);
    parts_->handler = std::move(handler);
}

void Board::SetRecorder(BusRecorder* recorder) {
    const std::lock_guard lock(parts_->mutex);
    parts_->recorder = recorder;
}

void Board::SetVideoSource(VideoSource* source) {
    const std::lock_guard lock(parts_->mutex);
    parts_->video.Plug(source, parts_->clock);
    parts_->nextEvent = std::min(parts_->nextFrameStart, parts_->video.NextLine());
}

std::span<uint8_t> Board::FrameBuffer() {
    return parts_->memories.frameBuffer;
}

uint32_t Board::ShownBase() const {
    const std::lock_guard lock(parts_->mutex);
    return parts_->shownBase;
}

std::span<uint8_t> Board::LocalBuffer() {
    return parts_->memories.localBuffer;
}

uint64_t Board::Microseconds() const {
    const std::lock_guard lock(parts_->mutex);
    return parts_->clock;
}

void Board::Advance(uint64_t microseconds) {
    // With a clock that stands still between accesses a microsecond counts as a tick.
    const uint32_t length = std::max(Configuration().timing.microsecondsPerTick, 1u);
    for (uint64_t ticks = microseconds / length; ticks != 0;) {
        const auto part = static_cast<uint32_t>(std::min<uint64_t>(ticks, kUnlimited));
        Idle(part);
        ticks -= part;
    }
    std::unique_lock lock(parts_->mutex);
    if (parts_->config.timing.microsecondsPerTick == 0) {
        parts_->MoveClock(microseconds);
    }
    parts_->MoveClock(microseconds % length);
    parts_->clockRemainder += microseconds % length;
    if (parts_->clockRemainder >= length) {
        parts_->clockRemainder -= length;
        parts_->TickUnits();
    }
    parts_->Finish(lock);
}

void Board::Drain() {
    std::unique_lock lock(parts_->mutex);
    if (parts_->Threaded() && std::this_thread::get_id() != parts_->worker.get_id()) {
        parts_->wake.notify_one();
        parts_->rest.wait(lock, [this] { return !parts_->HasWork() && !parts_->handlerRunning; });
        return;
    }
    while (parts_->HasWork()) {
        if (parts_->Threaded()) {
            parts_->WorkerRound();
        } else {
            parts_->Tick();
            parts_->DeliverInterrupts(lock);
        }
    }
}

void Board::SetTiming(const Timing& timing) {
    parts_->StopWorkerUnlocked();
    {
        const std::lock_guard lock(parts_->mutex);
        parts_->config.timing = timing;
        parts_->ApplyTiming();
    }
    if (timing.dmaThread) {
        parts_->StartWorkerUnlocked();
    }
}

const Config& Board::Configuration() const {
    return parts_->config;
}

Faults Board::FaultReport() const {
    const std::lock_guard lock(parts_->mutex);
    return parts_->faults;
}

} // namespace board
