#pragma once
// Whoever wants to see the traffic between processor and board.
#include <cstdint>

namespace board {

// Receives every bus event in order. Default actions are nothing.
class BusRecorder {
  public:
    virtual ~BusRecorder() = default;
    virtual void OnRead(uint32_t offset, uint32_t value) { (void)offset, (void)value; }
    virtual void OnWrite(uint32_t offset, uint32_t value) { (void)offset, (void)value; }
    virtual void OnFifoWord(uint32_t word) { (void)word; }
    virtual void OnDmaWord(uint32_t word) { (void)word; }
};

} // namespace board
