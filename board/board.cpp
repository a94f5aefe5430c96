#include "board/board.h"

#include "board/parts.h"

#include <utility>

namespace board {

Board::Parts::Parts(Board& board, const Config& configuration, Pace whatMoves)
    : owner(board), pace(whatMoves),
      config(configuration), beam{config.refreshRate, config.linesTotal},
      commands(DeviceOf(config.chip), config.setupUnit, registers, memories, host, output, faults),
      dma(host), video(DeviceOf(config.chip), registers, memories, interrupts, faults) {
    memories.frameBuffer.resize(config.frameBufferBytes);
    memories.localBuffer.resize(config.localBufferBytes);
    registers.SetAperture(reg::BlankEndGlint, config.linesBlank);
    registers.SetAperture(reg::BlankEndPermedia, config.linesBlank);
    nextFrameStart = beam.FrameStart(1);
    nextEvent = nextFrameStart;
    ApplyTiming();
}

Board::Board(const Config& config) : Board(config, Pace::Ticks) {}

Board::Board(const Config& config, Pace pace)
    : parts_(std::make_unique<Parts>(*this, config, pace)) {}

Board::~Board() = default;

void Board::WriteFifo(const uint32_t* words, size_t count) {
    parts_->WriteFifo(words, count);
}

void Board::MapMemory(uint32_t busAddress, const void* memory, size_t bytes) {
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

void Board::SetVideoSource(VideoSource* source) {
    parts_->video.Plug(source, parts_->clock);
    parts_->LookAhead();
}

std::span<uint8_t> Board::FrameBuffer() {
    return parts_->memories.frameBuffer;
}

std::span<uint8_t> Board::LocalBuffer() {
    return parts_->memories.localBuffer;
}

uint32_t Board::ShownBase() const {
    return parts_->shownBase;
}

uint64_t Board::Microseconds() const {
    return parts_->clock;
}

void Board::SetTiming(const Timing& timing) {
    parts_->config.timing = timing;
    parts_->ApplyTiming();
}

const Config& Board::Configuration() const {
    return parts_->config;
}

Faults Board::FaultReport() const {
    return parts_->faults;
}

EntryCounts Board::Entered() const {
    return parts_->entered;
}

} // namespace board
