#pragma once
// Places in a stream, as people name them. A place is a point between two events:
//
//   1234, word:1234   before this word of the command stream, counted from 0
//   event:500         before this event
//   call:7            where this call of the driver begins, counted from 0
//   batch:5           where this batch begins
//   step:3            where this step of the script begins
//   frame:2           where this frame begins; frame 0 begins with the stream
//   mark:NAME         behind the first mark of that name
//   start, end        of the stream
//
// Numbers are decimal, or hexadecimal with 0x. A range, A-B, has both its ends: "step:3-5" are the
// steps 3, 4 and 5, "word:10-" all words from 10 on, "call:7" that call alone; what names the first
// names the second.
#include "stream/event.h"

#include <nlohmann/json_fwd.hpp>

#include <string>
#include <string_view>
#include <vector>

namespace stream {

struct Place {
    enum class Kind : uint8_t { Start, End, Word, Event, Call, Batch, Step, Frame, Mark };
    Kind kind = Kind::Start;
    uint64_t number = 0;
    std::string name; // of a mark

    // As people name it.
    std::string Text() const;
    bool operator==(const Place&) const = default;
};

// StreamError, telling what was expected, for what names no place. A plain number counts what
// `plain` says.
Place ParsePlace(std::string_view text, Place::Kind plain = Place::Kind::Word);

struct PlaceRange {
    Place from, to; // to: the place behind the last that belongs to it
};
PlaceRange ParseRange(std::string_view text, Place::Kind plain = Place::Kind::Word);

// True if the point behind `before` is at the place or beyond. Marks are found by IsAt alone.
bool HasReached(const Place& place, const Position& before);
// The same, told the event that was passed last; null at the start.
bool IsAt(const Place& place, const Position& before, const Event* passed);

// How people are told where something is, in all listings and messages alike: by places that they
// can give back.

// Where a word of the stream stands, word:N; with `word` false an event that is none, event:N.
Place PlaceAt(const Position& position, bool word = true);
// What is under way there: the latest batch, frame, step and call that have begun, in this order.
// What has not begun is left out, and so is frame 0.
std::vector<Place> Around(const Position& position);
// "word:1234 (batch:5, frame:1, step:3, call:7)"
std::string TextOf(const Position& position, bool word = true);
// {"place": "word:1234", "word": 1234, "event": 2000, "batch": 5, "frame": 1, "step": 3, "call":
// 7}: null for what has not begun.
nlohmann::ordered_json ToJson(const Position& position, bool word = true);

} // namespace stream
