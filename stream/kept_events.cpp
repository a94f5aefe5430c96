#include "stream/kept_events.h"

namespace stream {

KeptEvent::KeptEvent(const Event& event)
    : event_(event), bytes_(event.bytes.begin(), event.bytes.end()),
      pixels_(event.pixels.begin(), event.pixels.end()) {
    event_.bytes = bytes_;
    event_.pixels = pixels_;
    if (event.timing != nullptr) {
        event_.timing = &timing_.emplace(*event.timing);
    }
    if (event.signal != nullptr) {
        event_.signal = &signal_.emplace(*event.signal);
    }
    if (event.mark != nullptr) {
        event_.mark = &mark_.emplace(*event.mark);
    }
}

EventList KeepAll(Source& source) {
    EventList events;
    Event event;
    while (source.Next(event)) {
        events.push_back(std::make_shared<const KeptEvent>(event));
    }
    return events;
}

ListSource::ListSource(const EventList& events, const board::Config& board) : events_(events) {
    board_ = board;
    hasEvents_ = true;
}

bool ListSource::Next(Event& event) {
    if (next_ == events_.size()) {
        return false;
    }
    event = events_[next_++]->Get();
    at_.Pass(event);
    return true;
}

bool ListSource::Approach(const Place&) {
    next_ = 0;
    at_ = {};
    return true;
}

} // namespace stream
