#pragma once
// Event text back to events: the raw lines that a recorder writes, and statements that name
// registers, fields and values. docs/events.md states the grammar.
#include "board/bus/decoder.h"
#include "board/recorder.h"
#include "stream/value_text.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace stream {

// A line that is no event.
struct AssembleError : std::runtime_error {
    AssembleError(size_t lineNumber, size_t columnNumber, const std::string& problem,
                  std::string givenWord = {}, std::vector<std::string> names = {})
        : std::runtime_error(problem), line(lineNumber), column(columnNumber),
          given(std::move(givenWord)), candidates(std::move(names)) {}
    // what() is the problem, and what was expected, in a line without the place.
    size_t line, column;                 // from 1; columns count bytes
    std::string given;                   // a name that nothing has; empty for other errors
    std::vector<std::string> candidates; // the names that would do there
};

class Assembler {
  public:
    // Events go to `out`, which must outlive the assembler. `chip` decides what decimals of texture
    // coordinates mean; without it they are errors.
    explicit Assembler(board::BusRecorder& out, std::optional<ChipModel> chip = {}) : out_(out) {
        reading_.chip = chip;
    }

    // The chip has become known.
    void SetChip(ChipModel chip) { reading_.chip = chip; }

    // Takes the next line, without its line feed. Throws AssembleError, with no event of that line
    // sent.
    void Line(std::string_view line);

    uint64_t Words() const { return words_; }
    uint64_t Accesses() const { return accesses_; }
    // Data words that the last burst still waits for.
    bool Unfinished() const { return decoder_.ExpectsData(); }

  private:
    class Statement;

    void Access(char carrier, uint32_t offset, uint32_t value);
    void Word(char carrier, uint32_t word);

    board::BusRecorder& out_;
    board::StreamDecoder decoder_;
    Reading reading_;
    size_t line_ = 0;
    uint64_t words_ = 0, accesses_ = 0;
};

} // namespace stream
