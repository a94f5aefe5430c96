#include "web/module/walk.h"

#include "stream/error.h"

#include <fmt/format.h>

#include <algorithm>
#include <set>

namespace web {

namespace {

constexpr uint64_t kLeastInterval = 2000;    // events
constexpr const char* kName = "the capture"; // in messages

} // namespace

Walk::Walk(const StreamBytes& stream, uint64_t events)
    : stream_(stream), opened_(stream), player_(*opened_.source), pictures_(player_, kName),
      interval_(std::max(events / kCheckpoints, kLeastInterval)) {
    if (const auto screen = SetUpRaw(stream_, player_)) {
        pictures_.SetScreen(*screen);
    }
    KeepHere();
}

bool Walk::Begins(stream::MarkKind kind) const {
    const auto found = begun_.find(kind);
    return found != begun_.end() && found->second == At().event;
}

void Walk::KeepHere() {
    const auto behind = kept_.upper_bound(At().event);
    const Kept* before = behind != kept_.begin() ? &std::prev(behind)->second : nullptr;
    Kept kept{player_.Keep(before != nullptr ? &before->checkpoint : nullptr), pictures_.Surfaces(),
              writers_, begun_};
    kept.writers.Forget(stream::WaitingWrites(player_.Board()));
    keptBytes_ += kept.checkpoint.BytesBeyond(before != nullptr ? &before->checkpoint : nullptr);
    kept_.insert_or_assign(At().event, std::move(kept));
    while (keptBytes_ > kMostBytes && kept_.size() > 1) {
        // Every other one goes, but the first stays.
        bool goes = false;
        for (auto one = kept_.begin(); one != kept_.end(); goes = !goes) {
            one = goes ? kept_.erase(one) : std::next(one);
        }
        interval_ *= 2;
        std::set<const void*> pages;
        for (const auto& [event, one] : kept_) {
            one.checkpoint.AddPages(pages);
        }
        keptBytes_ = pages.size() * stream::PagedMemory::kPageBytes;
    }
}

void Walk::Return(const Kept& kept) {
    lost_ = true; // until it is done
    player_.Return(kept.checkpoint);
    pictures_.SetSurfaces(kept.surfaces);
    writers_ = kept.writers;
    begun_ = kept.begun;
    lost_ = false;
}

const Walk::Kept& Walk::Before(const stream::Place& place) const {
    const Kept* best = &kept_.begin()->second;
    if (place.kind == stream::Place::Kind::Mark || place.kind == stream::Place::Kind::Start) {
        return *best;
    }
    for (const auto& [event, kept] : kept_) {
        if (HasReached(place, kept.checkpoint.at)) {
            break;
        }
        best = &kept;
    }
    return *best;
}

void Walk::Go(const stream::Place& place) {
    // What is no number may lie on either side; what has been passed lies behind.
    const bool back = lost_ || place.kind == stream::Place::Kind::Start ||
                      place.kind == stream::Place::Kind::Mark || HasReached(place, At());
    const Kept& kept = Before(place);
    if (back || kept.checkpoint.at.event > At().event) {
        Return(kept);
    }
    if (place.kind != stream::Place::Kind::Start) {
        Run(place);
    }
}

void Walk::Run(const stream::Place& place, const stream::Position* end) {
    stream::Event event;
    lost_ = true; // if anything is thrown
    while (end != nullptr ? At() != *end : !HasReached(place, At())) {
        const stream::Position before = At();
        if (!player_.Step(event)) {
            lost_ = false;
            if (place.kind == stream::Place::Kind::End || end != nullptr) {
                return;
            }
            throw stream::StreamError(fmt::format("there is no {}: it ends behind {}", place.Text(),
                                                  stream::TextOf(At())));
        }
        writers_.Note(event, before);
        if (event.kind == stream::EventKind::Mark) {
            pictures_.Follow(*event.mark);
            begun_[event.mark->kind] = At().event;
        } else if (At().event != before.event && !watching_) {
            const auto behind = kept_.upper_bound(At().event);
            const bool due = At().event - std::prev(behind)->first >= interval_ &&
                             (behind == kept_.end() || behind->first - At().event >= interval_ / 2);
            if (due) {
                KeepHere();
            }
        }
        if (end == nullptr && IsAt(place, At(), &event)) {
            break;
        }
    }
    lost_ = false;
}

void Walk::Watch(const stream::Place& from, board::PixelProbe& probe) {
    const stream::Position end = At();
    struct Watching {
        Walk& walk;
        ~Watching() {
            walk.player_.Board().SetProbe(nullptr);
            walk.watching_ = false;
        }
    };
    const auto behind = [&] {
        return At().event > end.event || At().call > end.call || At().batch > end.batch ||
               At().frame > end.frame || At().step > end.step;
    };
    bool wrong = false;
    try {
        Go(from);
        wrong = behind();
    } catch (const stream::StreamError&) {
        wrong = true;
    }
    const stream::Place here{stream::Place::Kind::Event, end.event, {}};
    if (wrong) {
        Go(here);
        Run(here, &end);
        throw stream::StreamError(from.Text() + " does not lie before this place");
    }
    watching_ = true;
    const Watching watching{*this};
    player_.Board().SetProbe(&probe);
    Run(here, &end);
}

} // namespace web
