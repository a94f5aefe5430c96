#pragma once
// Recorders of bus events: readable text, and the bare words of the command stream.
#include "board/explain.h"
#include "board/recorder.h"

#include <ostream>

namespace board {

// One event a line, numbers in hex without prefix:
//   r OFFSET VALUE name            register read
//   w OFFSET VALUE name            register write
//   f WORD ; meaning               word into the FIFO window
//   d WORD ; meaning               word by DMA
// Offsets have four digits, words eight.
class EventText : public BusRecorder {
  public:
    // `out` must outlive the recorder.
    explicit EventText(std::ostream& out) : out_(out) {}
    void OnRead(uint32_t offset, uint32_t value) override;
    void OnWrite(uint32_t offset, uint32_t value) override;
    void OnFifoWord(uint32_t word) override;
    void OnDmaWord(uint32_t word) override;

  private:
    void OnAccess(char kind, uint32_t offset, uint32_t value);

    std::ostream& out_;
    StreamExplainer explainer_; // both carriers feed the one input FIFO
};

// The words of the command stream alone, little-endian, in the order in which they came.
class RawWords : public BusRecorder {
  public:
    // `out` must be open in binary mode and outlive the recorder.
    explicit RawWords(std::ostream& out) : out_(out) {}
    void OnFifoWord(uint32_t word) override;
    void OnDmaWord(uint32_t word) override;

  private:
    std::ostream& out_;
};

} // namespace board
