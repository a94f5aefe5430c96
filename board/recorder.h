#pragma once
// Whoever wants to see the traffic between processor and board.
#include <cstdint>
#include <span>

namespace board {

struct Timing;
struct VideoSignal;

// Receives every bus event in order. Default actions are nothing.
class BusRecorder {
  public:
    virtual ~BusRecorder() = default;
    virtual void OnRead(uint32_t offset, uint32_t value) { (void)offset, (void)value; }
    virtual void OnWrite(uint32_t offset, uint32_t value) { (void)offset, (void)value; }
    virtual void OnFifoWord(uint32_t word) { (void)word; }
    virtual void OnDmaWord(uint32_t word) { (void)word; }
};

// Receives besides all else that moves the board, in the order in which it happens: another board
// of the same make that takes the same steps (PlayedBoard) is in the same state behind each. An
// access takes a tick first, which is told like any other.
class BusMonitor : public BusRecorder {
  public:
    // The processor's side has had its turn, and the board acts next: what the former stored into
    // the memories is there.
    virtual void BeforeActing() {}
    // The board has acted, and the processor's side has its turn: what the former stored into the
    // memories is there.
    virtual void AfterActing() {}
    // A tick has begun: the clock has moved on by it. What else it does follows.
    virtual void OnTick() {}
    // The clock has moved on by so many microseconds, and nothing with it.
    virtual void OnClock(uint64_t microseconds) { (void)microseconds; }
    // The units take a tick without the clock.
    virtual void OnUnits() {}
    // The transfer under way ends early: nobody answers at its address.
    virtual void OnDmaFault() {}
    // The interrupt handler is called, or would be if there was one; it has returned.
    virtual void OnInterrupt() {}
    virtual void OnInterruptEnd() {}
    // Memory of the machine can be read at a bus address.
    virtual void OnMapMemory(uint32_t busAddress, uint32_t bytes) { (void)busAddress, (void)bytes; }
    virtual void OnTiming(const Timing& timing) { (void)timing; }
    // A source has been plugged in that sends like this; null: unplugged.
    virtual void OnVideoSource(const VideoSignal* signal) { (void)signal; }
    // The video port has asked the source for a line. Comes before the tick or behind the access
    // that makes it.
    virtual void OnVideoLine(uint64_t field, uint32_t line, std::span<const uint16_t> pixels) {
        (void)field, (void)line, (void)pixels;
    }
};

} // namespace board
