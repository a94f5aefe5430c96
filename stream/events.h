#pragma once
// Recorders of bus events: readable text, and the bare words of the command stream. docs/events.md
// defines both.
#include "board/recorder.h"
#include "stream/explain.h"

#include <optional>
#include <ostream>
#include <string>

namespace stream {

// Adds a line of event text, with its line feed, for a word by `letter` (f or d). `explainer` goes
// on behind the word.
void AppendWordLine(std::string& text, char letter, uint32_t word, Explainer& explainer);
// The same for an access of the aperture (r or w), which `explainer` is not told of.
void AppendAccessLine(std::string& text, char letter, uint32_t offset, uint32_t value,
                      const Explainer& explainer);

// One event a line, numbers in hex without prefix:
//   r OFFSET VALUE name ; meaning    register read
//   w OFFSET VALUE name ; meaning    register write
//   f WORD ; meaning                 word into the FIFO window
//   d WORD ; meaning                 word by DMA
// Offsets have four digits, words eight.
class EventText : public board::BusRecorder {
  public:
    // `out` must outlive the recorder. Texture coordinates are explained where the chip is known.
    explicit EventText(std::ostream& out, std::optional<ChipModel> chip = {})
        : out_(out), explainer_(chip) {}
    void SetChip(ChipModel chip) { explainer_.SetChip(chip); }
    void OnRead(uint32_t offset, uint32_t value) override;
    void OnWrite(uint32_t offset, uint32_t value) override;
    void OnFifoWord(uint32_t word) override;
    void OnDmaWord(uint32_t word) override;

  private:
    void OnWord(char letter, uint32_t word);
    void OnAccess(char letter, uint32_t offset, uint32_t value);
    void WriteLine();

    std::ostream& out_;
    Explainer explainer_; // both carriers feed the one input FIFO
    std::string line_;
};

// The words of the command stream alone, little-endian, in the order in which they came.
class RawWords : public board::BusRecorder {
  public:
    // `out` must be open in binary mode and outlive the recorder.
    explicit RawWords(std::ostream& out) : out_(out) {}
    void OnFifoWord(uint32_t word) override;
    void OnDmaWord(uint32_t word) override;

  private:
    std::ostream& out_;
};

} // namespace stream
