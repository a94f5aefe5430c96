#pragma once
// A board whose DMA engine and interrupt handler have a thread of their own, as on the real
// machine, where they work while the processor goes on.
#include "board/board.h"

#include <condition_variable>
#include <mutex>
#include <thread>

namespace board {

// Everything may be called from any thread. The interrupt handler is called on the board's thread
// and outside its lock, so it may access the board, and it meets the processor's accesses. The
// rates of the timing hold for a round of the thread instead of a tick.
class ThreadedBoard final : public Board {
  public:
    explicit ThreadedBoard(const Config& config);
    // Not to be called by the handler.
    ~ThreadedBoard() override;

    uint32_t Read(uint32_t offset) override;
    void Write(uint32_t offset, uint32_t value) override;
    uint32_t Peek(uint32_t offset) const override;
    bool InterruptLevel() const override;
    void WriteFifo(const uint32_t* words, size_t count) override;
    void Idle(uint32_t ticks) override;
    void MapMemory(uint32_t busAddress, const void* memory, size_t bytes) override;
    void SetMemoryReader(MemoryReader reader) override;
    void SetInterruptHandler(std::function<void()> handler) override;
    void SetRecorder(BusRecorder* recorder) override;
    void SetVideoSource(VideoSource* source) override;
    uint32_t ShownBase() const override;
    uint64_t Microseconds() const override;
    void Advance(uint64_t microseconds) override;
    // Returns when the thread has nothing left to do.
    void Drain() override;
    bool AtRest() const override;
    void SetTiming(const Timing& timing) override;
    Faults FaultReport() const override;
    EntryCounts Entered() const override;
    std::vector<uint8_t> Save(Contents contents) override;
    [[nodiscard]] std::optional<std::string> Restore(std::span<const uint8_t> snapshot) override;

  private:
    void CallHandler(const std::function<void()>& handler) override;
    void Work();
    // What every access ends with.
    void LetWork(std::unique_lock<std::mutex>& lock);

    mutable std::mutex mutex_;
    std::condition_variable wake_; // there is work for the thread, or it shall stop
    std::condition_variable rest_; // the thread has run out of work
    bool stop_ = false;
    bool handling_ = false; // the handler runs
    std::thread thread_;
};

} // namespace board
