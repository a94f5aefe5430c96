#pragma once
// What a board holds at a place of a stream: every register, the word that last wrote each, and
// what is in flight.
#include "board/bus/decoder.h"
#include "stream/player.h"
#include "stream/state_view.h"

#include <nlohmann/json_fwd.hpp>

#include <deque>
#include <map>
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

// The object of `korv state --json`, which docs/captures.md defines.
nlohmann::ordered_json ToJson(const BoardState& state);

// Who wrote which register last, as a stream goes by.
class WriterLog {
  public:
    // `event` stood at `at`, and has been played.
    void Note(const Event& event, const Position& at);
    // By offset in the aperture, while the latest `waiting` writes by words have written nothing
    // yet.
    std::map<uint32_t, WrittenBy> Behind(size_t waiting) const;
    // No more than the latest `waiting` writes by words can still wait.
    void Forget(size_t waiting);

  private:
    struct Write {
        uint32_t offset;
        std::optional<WrittenBy> before;
    };

    board::StreamDecoder decoder_;
    std::map<uint32_t, WrittenBy> writers_; // by offset
    std::deque<Write> latest_;              // of mapped registers: as many as a FIFO may hold
};

// Register writes that wait in the board's input FIFO.
size_t WaitingWrites(board::Board& board);
// What the board holds where the player stands; `writers` has noted all that it played.
BoardState ReadState(Player& player, const WriterLog& writers);

// Plays a stream, and remembers who wrote what.
class StateReader {
  public:
    // `source` stands at its start and outlives the reader.
    explicit StateReader(Source& source) : player_(source) {}

    // Plays up to a place. False if the stream ends before.
    bool PlayTo(const Place& place);
    BoardState Read() { return ReadState(player_, writers_); }

  private:
    Player player_;
    WriterLog writers_;
};

} // namespace stream
