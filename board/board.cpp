#include "board/board.h"

#include "board/parts.h"

#include <utility>

namespace board {

Board::Parts::Parts(Board& board, const Config& configuration, Pace whatMoves,
                    const LentMemories& lent)
    : owner(board), pace(whatMoves),
      config(configuration), beam{config.refreshRate, config.linesTotal},
      commands(DeviceOf(config.chip), config.setupUnit, registers, memories, host, output, faults),
      dma(host), video(DeviceOf(config.chip), registers, memories, interrupts, faults) {
    memories.frameBuffer.Init(config.frameBufferBytes, lent.frameBuffer);
    memories.localBuffer.Init(config.localBufferBytes, lent.localBuffer);
    registers.SetAperture(reg::BlankEndGlint, config.linesBlank);
    registers.SetAperture(reg::BlankEndPermedia, config.linesBlank);
    nextFrameStart = beam.FrameStart(1);
    nextEvent = nextFrameStart;
    ApplyTiming();
}

Board::Board(const Config& config, const LentMemories& memories)
    : Board(config, Pace::Ticks, memories) {}

Board::Board(const Config& config, Pace pace, const LentMemories& memories)
    : parts_(std::make_unique<Parts>(*this, config, pace, memories)) {}

Board::~Board() = default;

void Board::WriteFifo(const uint32_t* words, size_t count) {
    const Parts::Acting acting(*parts_);
    parts_->WriteFifo(words, count);
}

void Board::MapMemory(uint32_t busAddress, const void* memory, size_t bytes) {
    if (parts_->monitor != nullptr) {
        parts_->monitor->OnMapMemory(busAddress, static_cast<uint32_t>(bytes));
    }
    parts_->host.Map(busAddress, memory, bytes);
    // A primitive under way may read what was there.
    parts_->commands.Rebuild();
}

void Board::SetMemoryReader(MemoryReader reader) {
    parts_->host.SetReader(std::move(reader));
}

bool Board::InterruptLevel() const {
    return (parts_->interrupts.Flags() & parts_->interrupts.Enable()) != 0;
}

void Board::SetInterruptHandler(std::function<void()> handler) {
    parts_->handler = std::move(handler);
}

void Board::SetRecorder(BusRecorder* recorder) {
    parts_->recorder = recorder;
}

void Board::SetMonitor(BusMonitor* monitor) {
    parts_->monitor = monitor;
}

void Board::SetProbe(PixelProbe* probe) {
    parts_->probe = probe;
    parts_->commands.SetProbe(probe);
    parts_->video.SetProbe(probe);
    parts_->ChooseWay();
}

void Board::SetBreak(Break what) {
    constexpr uint32_t kWrongLines = 512;
    parts_->broken = what;
    parts_->commands.SetBreak(what);
    if (what == Break::BeamLines) {
        parts_->beam.linesTotal = kWrongLines;
    }
}

void Board::SetVideoSource(VideoSource* source) {
    const Parts::Acting acting(*parts_);
    parts_->source.Follow(source);
    parts_->video.Plug(source != nullptr ? &parts_->source : nullptr, parts_->clock);
    if (parts_->monitor != nullptr) {
        parts_->monitor->OnVideoSource(parts_->video.Signal());
    }
    parts_->LookAhead();
}

std::span<uint8_t> Board::FrameBuffer() {
    return {parts_->memories.frameBuffer.data(), parts_->memories.frameBuffer.size()};
}

std::span<uint8_t> Board::LocalBuffer() {
    return {parts_->memories.localBuffer.data(), parts_->memories.localBuffer.size()};
}

uint32_t Board::ShownBase() const {
    return parts_->shownBase;
}

uint64_t Board::Microseconds() const {
    return parts_->clock;
}

void Board::SetTiming(const Timing& timing) {
    const Parts::Acting acting(*parts_);
    if (parts_->monitor != nullptr) {
        parts_->monitor->OnTiming(timing);
    }
    parts_->config.timing = timing;
    parts_->ApplyTiming();
}

const Config& Board::Configuration() const {
    return parts_->config;
}

Faults Board::FaultReport() const {
    return parts_->faults;
}

uint32_t Board::RegisterAt(uint32_t offset) const {
    const RegisterFile& registers = parts_->registers;
    return offset < reg::MappedRegisters ? registers.Aperture(offset)
                                         : registers[(offset - reg::MappedRegisters) / 8];
}

EntryCounts Board::Entered() const {
    return parts_->entered;
}

} // namespace board
