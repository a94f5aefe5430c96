#pragma once
// Events that stay: a part of a stream in memory.
#include "stream/source.h"

#include <memory>
#include <vector>

namespace stream {

// An event with all that it points at. Not to be moved.
class KeptEvent {
  public:
    explicit KeptEvent(const Event& event);
    KeptEvent(const KeptEvent&) = delete;
    KeptEvent& operator=(const KeptEvent&) = delete;

    const Event& Get() const { return event_; }

  private:
    Event event_;
    std::vector<uint8_t> bytes_;
    std::vector<uint16_t> pixels_;
    std::optional<board::Timing> timing_;
    std::optional<board::VideoSignal> signal_;
    std::optional<Mark> mark_;
};

using EventList = std::vector<std::shared_ptr<const KeptEvent>>;

// All that is left of a source.
EventList KeepAll(Source& source);

// A list as a source. It must outlive it.
class ListSource final : public Source {
  public:
    ListSource(const EventList& events, const board::Config& board);
    bool Next(Event& event) override;

  private:
    bool Approach(const Place& place) override;

    const EventList& events_;
    size_t next_ = 0;
};

} // namespace stream
