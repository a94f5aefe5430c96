#include "stream/entry_places.h"

#include "board/snapshot.h"

namespace stream {

namespace {

// Entries of the input FIFO in a state.
size_t WaitingIn(std::span<const uint8_t> state) {
    std::string error;
    const auto snapshot = board::Snapshot::Parse(state, error);
    const board::SnapshotEntry* entries = snapshot ? snapshot->Find("inputFifo.entries") : nullptr;
    return entries != nullptr ? entries->Count() / 2 : 0;
}

} // namespace

void EntryPlaces::Ended(const std::optional<PrimitiveWords>& primitive) {
    if (primitive) {
        words_.push_back(*primitive);
    }
}

void EntryPlaces::Follow(const Event& event, const Position& at) {
    coming_ = {};
    coming_.known = true;
    coming_.at = at;
    if (event.IsWord()) {
        Ended(walker_.Take(at.word, event.value));
        coming_.word = true;
        coming_.call = wordsOf_;
        coming_.primitive = words_.size();
        return;
    }
    coming_.call = inCall_;
    if (event.kind == EventKind::State) {
        waiting_.assign(WaitingIn(event.bytes), {});
    }
    if (event.kind != EventKind::Mark) {
        return;
    }
    switch (event.mark->kind) {
    case MarkKind::Words:
        Ended(walker_.Cut(at.word));
        if (const auto call = event.mark->Number("call")) {
            wordsOf_ = static_cast<uint64_t>(*call);
        }
        break;
    case MarkKind::Primitives:
        Ended(walker_.Cut(at.word));
        wordsOf_.reset();
        break;
    case MarkKind::Frame:
        Ended(walker_.Cut(at.word));
        break;
    case MarkKind::Call:
        inCall_ = at.call;
        break;
    case MarkKind::CallEnd:
        inCall_.reset();
        break;
    default:
        break;
    }
}

void EntryPlaces::OnEnter(board::RegisterWrite write) {
    waiting_.push_back(coming_);
    waiting_.back().write = write;
}

void EntryPlaces::OnExecute(board::RegisterWrite write) {
    current_ = {};
    if (!waiting_.empty()) {
        current_ = waiting_.front();
        waiting_.pop_front();
    }
    current_.write = write;
}

std::optional<PrimitiveWords> EntryPlaces::Words(uint64_t primitive) const {
    return primitive < words_.size() ? std::optional(words_[primitive]) : std::nullopt;
}

} // namespace stream
