#pragma once
// Where a command takes a stream from: a capture, or raw words for a chip that somebody names.
#include "stream/event.h"
#include "stream/place.h"

#include <istream>
#include <memory>
#include <optional>
#include <string>

namespace stream {

class Source {
  public:
    virtual ~Source() = default;

    // The board that plays the stream.
    const board::Config& Board() const { return board_; }
    // The program that wrote it; empty for raw words.
    const std::string& Maker() const { return maker_; }
    // A capture: it has more than words.
    bool HasEvents() const { return hasEvents_; }

    // The next event. False at the end. StreamError for what is damaged; events that came before
    // are as they were written.
    virtual bool Next(Event& event) = 0;
    // What lies before the event that Next gives next.
    const Position& At() const { return at_; }
    // A line about what is missing at the end, once that has been reached; empty if nothing is.
    const std::string& CutOff() const { return cutOff_; }

    // Goes to a place, back or forth: Next gives the first event behind it. False if the stream
    // ends before: then that is where it stands. Nothing is played: whoever needs the state there
    // plays from the start.
    bool Seek(const Place& place);
    // All that there is to count, if that is known without reading to the end.
    virtual std::optional<Position> Total() { return std::nullopt; }

  protected:
    // Goes to an event at or before the place, the nearer the better. False: it can't go back.
    virtual bool Approach(const Place& place) = 0;

    board::Config board_;
    std::string maker_;
    bool hasEvents_ = false;
    Position at_;
    std::string cutOff_;
};

// A capture, by its first bytes; or raw words, 32-bit little-endian, for the board in `raw`. A
// capture goes without `raw`, raw words don't: StreamError. `in` must be open in binary mode and
// outlive the source; it need not be seekable if nobody seeks.
std::unique_ptr<Source> OpenSource(std::istream& in, const std::optional<board::Config>& raw = {});

} // namespace stream
