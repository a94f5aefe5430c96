#include "stream/statistics.h"

#include "chip/words.h"

namespace stream {

namespace {

// Every number of the counts.
constexpr uint64_t StreamCounts::*kNumbers[] = {
    &StreamCounts::words,     &StreamCounts::fifoWords,   &StreamCounts::dmaWords,
    &StreamCounts::pairTags,  &StreamCounts::holdTags,    &StreamCounts::indexedTags,
    &StreamCounts::malformed, &StreamCounts::data,        &StreamCounts::reads,
    &StreamCounts::writes,    &StreamCounts::unchanged,   &StreamCounts::calls,
    &StreamCounts::batches,   &StreamCounts::fifoBatches, &StreamCounts::primitives,
    &StreamCounts::flips,     &StreamCounts::interrupts,  &StreamCounts::videoLines};

class Counter {
  public:
    // `player`: who plays the source's events; null for nobody.
    Statistics Run(Source& source, Player* player) {
        statistics_.registers.resize(reg::ApertureBytes / 4);
        Event event;
        while (source.Next(event)) {
            if (player != nullptr) {
                player->Play(event);
            }
            if (event.IsWord()) {
                Word(source.At().word - 1, event);
            } else {
                Other(event);
            }
        }
        all_.primitives += walker_.Cut(source.At().word) ? 1 : 0;
        all_.drawn = drawn_.Counts();
        // Without frames there is nothing to tell frame by frame.
        if (frameStart_.words != all_.words && !statistics_.frames.empty()) {
            EndFrame();
        }
        statistics_.all = all_;
        return std::move(statistics_);
    }

    board::PixelProbe& Probe() { return drawn_; }

  private:
    void Write(uint32_t offset, uint32_t value) {
        RegisterCounts& counts = statistics_.registers[offset / 4];
        ++counts.writes;
        if (!changes_.Take(offset, value)) {
            ++counts.unchanged;
            ++all_.unchanged;
        }
    }

    void Word(uint64_t number, const Event& event) {
        ++all_.words;
        ++(event.kind == EventKind::DmaWord ? all_.dmaWords : all_.fifoWords);
        all_.primitives += walker_.Take(number, event.value) ? 1 : 0;
        board::RegisterWrite write{};
        switch (decoder_.Feed(event.value, write)) {
        case board::StreamDecoder::Kind::Data:
            ++all_.data;
            Write(MappedOffset(write.tag), write.data);
            break;
        case board::StreamDecoder::Kind::Malformed:
            ++all_.malformed;
            break;
        case board::StreamDecoder::Kind::Tag:
            ++((event.value & kIndexedForm) != 0 ? all_.indexedTags
               : event.value >> 16 != 0          ? all_.holdTags
                                                 : all_.pairTags);
            break;
        }
    }

    void Other(const Event& event) {
        switch (event.kind) {
        case EventKind::Read:
            ++all_.reads;
            break;
        case EventKind::Write:
            ++all_.writes;
            Write(event.offset, event.value);
            break;
        case EventKind::Store:
            all_.stored[static_cast<size_t>(event.memory)] += event.bytes.size();
            break;
        case EventKind::Interrupt:
            ++all_.interrupts;
            break;
        case EventKind::VideoLine:
            ++all_.videoLines;
            break;
        case EventKind::Mark:
            MarkOf(*event.mark);
            break;
        default:
            break;
        }
    }

    void MarkOf(const Mark& mark) {
        switch (mark.kind) {
        case MarkKind::Call:
            ++all_.calls;
            break;
        case MarkKind::Batch:
            ++all_.batches;
            all_.fifoBatches += mark.fields.empty() ? 1 : 0;
            break;
        case MarkKind::Flip:
            ++all_.flips;
            break;
        case MarkKind::Words:
        case MarkKind::Primitives:
            all_.primitives += walker_.Cut(all_.words) ? 1 : 0;
            break;
        case MarkKind::Frame:
            all_.primitives += walker_.Cut(all_.words) ? 1 : 0;
            EndFrame();
            break;
        default:
            break;
        }
    }

    void EndFrame() {
        all_.drawn = drawn_.Counts();
        statistics_.frames.push_back(all_ - frameStart_);
        frameStart_ = all_;
    }

    Statistics statistics_;
    StreamCounts all_, frameStart_;
    board::StreamDecoder decoder_;
    PrimitiveWalker walker_;
    Changes changes_;
    DrawnCounter drawn_;
};

} // namespace

StreamCounts StreamCounts::operator-(const StreamCounts& before) const {
    StreamCounts difference = *this;
    for (const auto number : kNumbers) {
        difference.*number -= before.*number;
    }
    for (size_t i = 0; i < stored.size(); ++i) {
        difference.stored[i] -= before.stored[i];
    }
    difference.drawn = drawn - before.drawn;
    return difference;
}

Statistics CountStream(Source& source) {
    return Counter().Run(source, nullptr);
}

Statistics CountStream(Player& player) {
    Counter counter;
    player.Board().SetProbe(&counter.Probe());
    Statistics statistics = counter.Run(player.From(), &player);
    player.Board().SetProbe(nullptr);
    return statistics;
}

} // namespace stream
