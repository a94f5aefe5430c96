#pragma once
// What a board holds at a place of a stream: every register, the word that last wrote each, and
// what is in flight.
#include "board/bus/decoder.h"
#include "stream/player.h"
#include "stream/state_view.h"

#include <deque>
#include <optional>
#include <string>
#include <vector>

namespace stream {

// Who wrote a register last: a word of the stream, or an access.
struct WrittenBy {
    bool word = false;
    uint64_t number = 0; // of the word, or of the event

    // As a place: "word:1234", "event:500".
    std::string Text() const;
    bool operator==(const WrittenBy&) const = default;
};

struct HeldRegister {
    RegisterView view;
    std::string meaning;             // all of it in one line
    std::optional<WrittenBy> writer; // none: nobody has written it
};

struct BoardState {
    Position at;
    std::vector<HeldRegister> registers; // of this chip, ascending by offset
    // In flight: register writes in the input FIFO, oldest first, as "Render Primitive=Trapezoid".
    std::vector<std::string> waiting;
    uint32_t dmaAddress = 0, dmaWordsLeft = 0; // of the transfer under way
    uint32_t burstWordsLeft = 0;               // data words that the burst under way waits for
    std::string burstRegister;                 // the next one's
    uint64_t outputWords = 0;                  // that nobody has fetched yet
    uint64_t microseconds = 0;                 // the board's clock
};

// Plays a stream, and remembers who wrote what.
class StateReader {
  public:
    // `source` stands at its start and outlives the reader.
    explicit StateReader(Source& source) : player_(source) {}

    // Plays up to a place. False if the stream ends before.
    bool PlayTo(const Place& place);
    BoardState Read();

  private:
    struct Write {
        uint32_t offset;
        std::optional<WrittenBy> before;
    };
    void Note(const Event& event, const Position& at);

    Player player_;
    board::StreamDecoder decoder_;
    std::vector<std::optional<WrittenBy>> writers_ =
        std::vector<std::optional<WrittenBy>>(reg::ApertureBytes / 4); // by offset / 4
    // The latest writes of mapped registers: as many as a FIFO may hold.
    std::deque<Write> latest_;
};

} // namespace stream
