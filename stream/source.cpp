#include "stream/source.h"

#include "stream/capture_reader.h"
#include "stream/format.h"
#include "stream/raw_words.h"

#include <algorithm>

namespace stream {

bool Source::Seek(const Place& place) {
    if (!Approach(place)) {
        throw StreamError("it comes by a pipe and cannot be gone back in");
    }
    if (place.kind == Place::Kind::Start || HasReached(place, at_)) {
        return true;
    }
    Event event;
    while (Next(event)) {
        if (IsAt(place, at_, &event)) {
            return true;
        }
    }
    return place.kind == Place::Kind::End;
}

std::unique_ptr<Source> OpenSource(std::istream& in, const std::optional<board::Config>& raw) {
    char head[sizeof format::kMagic] = {};
    in.read(head, sizeof head);
    const auto got = static_cast<size_t>(in.gcount());
    const bool capture = got == sizeof head &&
                         std::equal(std::begin(head), std::end(head), format::kMagic,
                                    [](char a, uint8_t b) { return static_cast<uint8_t>(a) == b; });
    if (capture) {
        return std::make_unique<CaptureReader>(in);
    }
    if (!raw) {
        throw StreamError("it is no capture; raw words need '--chip' to say what they are for");
    }
    return std::make_unique<RawWordSource>(in, *raw, std::string_view(head, got));
}

} // namespace stream
