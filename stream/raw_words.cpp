#include "stream/raw_words.h"

#include "stream/error.h"

#include <algorithm>
#include <cstring>

namespace stream {

RawWordSource::RawWordSource(std::istream& in, const board::Config& board, std::string_view head)
    : in_(in) {
    board_ = board;
    std::ranges::copy(head, buffer_.begin());
    end_ = head.size();
}

// Brings at least a word into the buffer. False at the end.
bool RawWordSource::Fill() {
    const size_t left = end_ - next_;
    std::memmove(buffer_.data(), buffer_.data() + next_, left);
    next_ = 0;
    in_.clear();
    in_.read(buffer_.data() + left, static_cast<std::streamsize>(buffer_.size() - left));
    end_ = left + static_cast<size_t>(in_.gcount());
    if (end_ < sizeof(uint32_t) && end_ != 0) {
        cutOff_ = "the file ends in the middle of " + PlaceAt(at_).Text();
    }
    return end_ >= sizeof(uint32_t);
}

bool RawWordSource::Next(Event& event) {
    if (end_ - next_ < sizeof(uint32_t) && !Fill()) {
        return false;
    }
    const auto* bytes = reinterpret_cast<const uint8_t*>(buffer_.data() + next_);
    event = {};
    event.kind = EventKind::FifoWord;
    event.value =
        bytes[0] | uint32_t{bytes[1]} << 8 | uint32_t{bytes[2]} << 16 | uint32_t{bytes[3]} << 24;
    next_ += sizeof(uint32_t);
    at_.Pass(event);
    return true;
}

bool RawWordSource::Approach(const Place& place) {
    const bool forth = place.kind == Place::Kind::Word || place.kind == Place::Kind::Event
                           ? place.number >= at_.word
                           : place.kind == Place::Kind::End;
    if (forth || at_ == Position{}) {
        return true;
    }
    in_.clear();
    if (!in_.seekg(0)) {
        return false;
    }
    next_ = end_ = 0;
    at_ = {};
    cutOff_.clear();
    return true;
}

} // namespace stream
