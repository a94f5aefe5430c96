#pragma once
// Where in a stream the write came from that a board carries out: writes wait in its input FIFO, so
// that may be some words back.
#include "board/values/probe.h"
#include "stream/event.h"
#include "stream/primitives.h"

#include <deque>
#include <optional>
#include <vector>

namespace stream {

// By what a write came, and by whose doing.
struct EntryPlace {
    bool known = false;                // else it waited already where the stream begins
    bool word = false;                 // a word of the stream, else an access of its register
    Position at;                       // before that
    std::optional<uint64_t> call;      // of the driver, whose word it is
    std::optional<uint64_t> primitive; // among those of words, counted from 0
    board::RegisterWrite write{};
};

// Follows a stream that is being played.
class EntryPlaces {
  public:
    // An event comes next, and stands there; the board has yet to play it.
    void Follow(const Event& event, const Position& at);
    // Nothing comes any more.
    void End(const Position& at) { Ended(walker_.Cut(at.word)); }
    // What a probe is told.
    void OnEnter(board::RegisterWrite write);
    void OnExecute(board::RegisterWrite write);

    // The write that is carried out, or was last.
    const EntryPlace& Current() const { return current_; }
    // The call under way.
    std::optional<uint64_t> Call() const { return inCall_; }
    // The words of a primitive; none while it is not known where it ends.
    std::optional<PrimitiveWords> Words(uint64_t primitive) const;
    uint64_t Primitives() const { return words_.size(); }

  private:
    void Ended(const std::optional<PrimitiveWords>& primitive);

    PrimitiveWalker walker_;
    std::vector<PrimitiveWords> words_; // of the primitives that have ended
    std::deque<EntryPlace> waiting_;
    EntryPlace coming_, current_;
    std::optional<uint64_t> wordsOf_, inCall_;
};

} // namespace stream
