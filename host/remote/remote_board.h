#pragma once
// A board in another program, in the place of our own.
#include "host/remote/program_board.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>

namespace host {

// Each access goes to the other program and is done with everything that comes of it when the call
// returns: the interrupt handler has run, recorders have been told. Of what it inherits it uses the
// configuration and where the memories lie. The memories have the processor's view alone: mapped by
// both, or pages that are fetched when they are looked at and sent with the next access.
class RemoteBoard final : public ProgramBoard {
  public:
    // Starts the program. Throws remote::Error if it cannot be this board.
    RemoteBoard(const board::Config& config, const BoardProgram& program);
    ~RemoteBoard() override;

    bool DoesDma() const override;
    std::span<uint8_t> NewGuestMemory(size_t bytes) override;

    uint32_t Read(uint32_t offset) override;
    void Write(uint32_t offset, uint32_t value) override;
    // Of registers that have a name.
    uint32_t Peek(uint32_t offset) const override;
    bool InterruptLevel() const override;
    void WriteFifo(const uint32_t* words, size_t count) override;
    void Idle(uint32_t ticks) override;
    // `memory` comes from NewGuestMemory.
    void MapMemory(uint32_t busAddress, const void* memory, size_t bytes) override;
    // Not to be had: std::logic_error.
    void SetMemoryReader(MemoryReader reader) override;
    void SetInterruptHandler(std::function<void()> handler) override;
    void SetRecorder(board::BusRecorder* recorder) override;
    void SetVideoSource(board::VideoSource* source) override;
    uint32_t ShownBase() const override;
    uint64_t Microseconds() const override;
    void Advance(uint64_t microseconds) override;
    void Drain() override;
    bool AtRest() const override;
    void SetTiming(const board::Timing& timing) override;
    // None from a program that does not tell its state.
    board::Faults FaultReport() const override;
    board::EntryCounts Entered() const override;
    // Not to be had: std::logic_error, and an error.
    std::vector<uint8_t> Save(Contents contents) override;
    [[nodiscard]] std::optional<std::string> Restore(std::span<const uint8_t> snapshot) override;

  private:
    class Link;
    RemoteBoard(const board::Config& config, std::unique_ptr<Link> link);

    std::unique_ptr<Link> link_;
};

} // namespace host
