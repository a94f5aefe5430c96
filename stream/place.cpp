#include "stream/place.h"

#include "stream/error.h"

#include <nlohmann/json.hpp>

#include <charconv>
#include <optional>

namespace stream {

namespace {

using PlaceKind = Place::Kind;

constexpr struct {
    PlaceKind kind;
    std::string_view prefix;
} kPrefixes[] = {{PlaceKind::Word, "word"}, {PlaceKind::Event, "event"},
                 {PlaceKind::Call, "call"}, {PlaceKind::Batch, "batch"},
                 {PlaceKind::Step, "step"}, {PlaceKind::Frame, "frame"},
                 {PlaceKind::Mark, "mark"}};

constexpr const char* kExpected =
    "expected a word's number, word:N, event:N, call:N, batch:N, frame:N, step:N, mark:NAME, start "
    "or end";

[[noreturn]] void Bad(std::string_view text) {
    throw StreamError("bad place '" + std::string(text) + "': " + kExpected);
}

std::string_view PrefixOf(PlaceKind kind) {
    for (const auto& row : kPrefixes) {
        if (row.kind == kind) {
            return row.prefix;
        }
    }
    return kind == PlaceKind::Start ? "start" : "end";
}

uint64_t ParseNumber(std::string_view digits, std::string_view whole) {
    const bool hex = digits.starts_with("0x") || digits.starts_with("0X");
    const char* const first = digits.data() + (hex ? 2 : 0);
    const char* const last = digits.data() + digits.size();
    uint64_t number = 0;
    const auto [end, error] = std::from_chars(first, last, number, hex ? 16 : 10);
    if (error != std::errc() || end != last) {
        Bad(whole);
    }
    return number;
}

// Marks that must have been passed at the place of the mark with this number. Frames begin where
// the mark of the one before ends it.
uint64_t MarksBefore(const Place& place) {
    return place.kind == PlaceKind::Frame || place.number == ~uint64_t{0} ? place.number
                                                                          : place.number + 1;
}

// The latest that has begun; none before the first. A frame is under way from the start.
std::optional<uint64_t> Latest(const Position& position, PlaceKind kind) {
    if (kind == PlaceKind::Frame) {
        return position.frame;
    }
    const uint64_t begun = kind == PlaceKind::Batch  ? position.batch
                           : kind == PlaceKind::Step ? position.step
                                                     : position.call;
    return begun != 0 ? std::optional(begun - 1) : std::nullopt;
}

} // namespace

std::string Place::Text() const {
    std::string text(PrefixOf(kind));
    switch (kind) {
    case PlaceKind::Start:
    case PlaceKind::End:
        return text;
    case PlaceKind::Mark:
        return text + ":" + name;
    default:
        return text + ":" + std::to_string(number);
    }
}

Place ParsePlace(std::string_view text, PlaceKind plain) {
    if (text == "start") {
        return {PlaceKind::Start, 0, {}};
    }
    if (text == "end") {
        return {PlaceKind::End, 0, {}};
    }
    const size_t colon = text.find(':');
    if (colon == std::string_view::npos) {
        return {plain, ParseNumber(text, text), {}};
    }
    const std::string_view prefix = text.substr(0, colon), rest = text.substr(colon + 1);
    for (const auto& row : kPrefixes) {
        if (row.prefix != prefix) {
            continue;
        }
        if (row.kind != PlaceKind::Mark) {
            return {row.kind, ParseNumber(rest, text), {}};
        }
        if (!rest.empty()) {
            return {row.kind, 0, std::string(rest)};
        }
    }
    Bad(text);
}

PlaceRange ParseRange(std::string_view text, PlaceKind plain) {
    const size_t dash = text.rfind('-');
    const bool one = dash == std::string_view::npos;
    const std::string_view from = text.substr(0, dash);
    const std::string_view to = one ? std::string_view() : text.substr(dash + 1);
    PlaceRange range;
    range.from = ParsePlace(from, plain);
    const bool counts = range.from.kind != PlaceKind::Start && range.from.kind != PlaceKind::End &&
                        range.from.kind != PlaceKind::Mark;
    range.to = one          ? range.from
               : to.empty() ? Place{PlaceKind::End, 0, {}}
                            : ParsePlace(to, counts ? range.from.kind : plain);
    if (range.to.kind == PlaceKind::Start || (one && !counts)) {
        throw StreamError("bad range '" + std::string(text) +
                          "': expected FIRST-LAST, as in 10-20 or step:3-5");
    }
    if (range.to.kind != PlaceKind::End && range.to.kind != PlaceKind::Mark &&
        range.to.number != ~uint64_t{0}) {
        ++range.to.number;
    }
    if (range.from.kind == range.to.kind && range.to.number <= range.from.number && counts) {
        throw StreamError("bad range '" + std::string(text) + "': it ends before it begins");
    }
    return range;
}

bool HasReached(const Place& place, const Position& before) {
    switch (place.kind) {
    case PlaceKind::Start:
        return true;
    case PlaceKind::End:
    case PlaceKind::Mark:
        return false;
    case PlaceKind::Word:
        return before.word >= place.number;
    case PlaceKind::Event:
        return before.event >= place.number;
    case PlaceKind::Call:
        return before.call >= MarksBefore(place);
    case PlaceKind::Batch:
        return before.batch >= MarksBefore(place);
    case PlaceKind::Step:
        return before.step >= MarksBefore(place);
    case PlaceKind::Frame:
        return before.frame >= MarksBefore(place);
    }
    return false;
}

bool IsAt(const Place& place, const Position& before, const Event* passed) {
    if (place.kind == PlaceKind::Mark) {
        return passed != nullptr && passed->kind == EventKind::Mark &&
               passed->mark->name == place.name;
    }
    return HasReached(place, before);
}

Place PlaceAt(const Position& position, bool word) {
    return word ? Place{PlaceKind::Word, position.word, {}}
                : Place{PlaceKind::Event, position.event, {}};
}

std::vector<Place> Around(const Position& position) {
    std::vector<Place> places;
    for (const PlaceKind kind :
         {PlaceKind::Batch, PlaceKind::Frame, PlaceKind::Step, PlaceKind::Call}) {
        const auto number = Latest(position, kind);
        if (number && (kind != PlaceKind::Frame || *number != 0)) {
            places.push_back({kind, *number, {}});
        }
    }
    return places;
}

std::string TextOf(const Position& position, bool word) {
    std::string more;
    for (const Place& place : Around(position)) {
        more += (more.empty() ? " (" : ", ") + place.Text();
    }
    return PlaceAt(position, word).Text() + (more.empty() ? more : more + ")");
}

nlohmann::ordered_json ToJson(const Position& position, bool word) {
    nlohmann::ordered_json json{{"place", PlaceAt(position, word).Text()},
                                {"word", position.word},
                                {"event", position.event}};
    for (const PlaceKind kind :
         {PlaceKind::Batch, PlaceKind::Frame, PlaceKind::Step, PlaceKind::Call}) {
        const auto number = Latest(position, kind);
        json[std::string(PrefixOf(kind))] = number ? nlohmann::ordered_json(*number) : nullptr;
    }
    return json;
}

} // namespace stream
