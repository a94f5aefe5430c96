#include "stream/trim.h"

#include "stream/checksum.h"
#include "stream/error.h"
#include "stream/format.h"

#include <algorithm>
#include <charconv>
#include <string_view>

namespace stream {

namespace {

// A place that a mark names lies behind that mark, which belongs to what begins there.
bool BeginsWithItsMark(const Place& place) {
    return place.kind == Place::Kind::Call || place.kind == Place::Kind::Batch ||
           place.kind == Place::Kind::Step;
}

void PutStore(CaptureWriter& writer, Memory memory, uint32_t offset,
              std::span<const uint8_t> bytes) {
    Event event;
    event.kind = EventKind::Store;
    event.memory = memory;
    while (!bytes.empty()) {
        event.offset = offset;
        event.bytes = bytes.first(std::min<size_t>(bytes.size(), format::kMostStoreBytes));
        writer.Put(event);
        offset += static_cast<uint32_t>(event.bytes.size());
        bytes = bytes.subspan(event.bytes.size());
    }
}

// What differs from the zeroes that power leaves, by pages.
void PutMemory(CaptureWriter& writer, Memory memory, uint32_t base,
               std::span<const uint8_t> bytes) {
    constexpr size_t kPage = 4096;
    size_t first = 0;
    for (size_t at = 0; at < bytes.size(); at += kPage) {
        const auto page = bytes.subspan(at, std::min(kPage, bytes.size() - at));
        if (std::ranges::all_of(page, [](uint8_t byte) { return byte == 0; })) {
            PutStore(writer, memory, base + static_cast<uint32_t>(first),
                     bytes.subspan(first, at - first));
            first = at + page.size();
        }
    }
    if (first < bytes.size()) {
        PutStore(writer, memory, base + static_cast<uint32_t>(first), bytes.subspan(first));
    }
}

// "FIRST+COUNT ..." counted from word `from` on; primitives that begin before it are left out.
std::string MovedPrimitives(std::string_view list, uint64_t from) {
    std::string moved;
    while (!list.empty()) {
        const size_t end = std::min(list.find(' '), list.size());
        uint64_t first = 0;
        const auto [rest, error] = std::from_chars(list.data(), list.data() + end, first);
        if (error == std::errc() && first >= from) {
            moved += (moved.empty() ? "" : " ") + std::to_string(first - from) +
                     std::string(rest, list.data() + end);
        }
        list.remove_prefix(std::min(end + 1, list.size()));
    }
    return moved;
}

} // namespace

bool Trimmer::Pass(Event& event) {
    if (!player_.Step(event)) {
        return false;
    }
    ++items_;
    switch (event.kind) {
    case EventKind::Mark:
        live_.Follow(*event.mark);
        break;
    case EventKind::VideoSource:
        signal_ = event.signal != nullptr ? std::optional(*event.signal) : std::nullopt;
        break;
    case EventKind::VideoLine:
        lines_.push_back({event.field, event.offset, {event.pixels.begin(), event.pixels.end()}});
        break;
    default:
        lines_.clear();
        break;
    }
    return true;
}

// How many events and marks there are up to where the words of these calls have gone; 0 if none of
// them has words.
uint64_t Trimmer::ItemsToEndOfCalls(const PlaceRange& range) {
    Source& source = player_.From();
    const uint64_t first = range.from.kind == Place::Kind::Call ? range.from.number : 0;
    const uint64_t behind = range.to.kind == Place::Kind::Call ? range.to.number : ~uint64_t{0};
    uint64_t items = 0, last = 0;
    Event event;
    while (source.Next(event)) {
        ++items;
        if (event.kind == EventKind::Mark && event.mark->kind == MarkKind::Primitives) {
            const auto call = static_cast<uint64_t>(event.mark->Number("call").value_or(-1));
            if (call >= first && call < behind) {
                last = items;
            }
        }
    }
    source.Seek({Place::Kind::Start, 0, {}});
    return last;
}

void Trimmer::Begin() {
    Source& source = player_.From();
    from_ = source.At();
    writer_.emplace(out_, source.Board(), maker_);
    for (const Mark& mark : live_.All()) {
        writer_->Put(mark);
    }
    for (const auto& [address, bytes] : player_.HostMemory()) {
        Event event;
        event.kind = EventKind::HostMemory;
        event.offset = address;
        event.value = static_cast<uint32_t>(bytes.size());
        writer_->Put(event);
        PutMemory(*writer_, Memory::Host, address, bytes);
    }
    board::Board& board = player_.Board();
    PutMemory(*writer_, Memory::FrameBuffer, 0, board.FrameBuffer());
    PutMemory(*writer_, Memory::LocalBuffer, 0, board.LocalBuffer());
    Event event;
    if (signal_) {
        event.kind = EventKind::VideoSource;
        event.signal = &*signal_;
        writer_->Put(event);
    }
    const std::vector<uint8_t> state = board.Save(board::Board::Contents::StateAlone);
    event = {};
    event.kind = EventKind::State;
    event.bytes = state;
    writer_->Put(event);
    for (const Line& line : lines_) {
        event = {};
        event.kind = EventKind::VideoLine;
        event.field = line.field;
        event.offset = line.line;
        event.pixels = line.pixels;
        writer_->Put(event);
    }
}

// Marks that name calls and words count them from the part's start; those of what began before it
// go.
void Trimmer::CopyMark(Mark mark) {
    const auto call = mark.Number("call");
    switch (mark.kind) {
    case MarkKind::Call:
        ++openCalls_;
        break;
    case MarkKind::CallEnd:
        if (openCalls_ == 0) {
            return;
        }
        --openCalls_;
        break;
    case MarkKind::Words:
    case MarkKind::Primitives:
        if (!call || static_cast<uint64_t>(*call) < from_.call) {
            return;
        }
        for (MarkField& field : mark.fields) {
            if (field.name == "call") {
                field.value = *call - static_cast<int64_t>(from_.call);
            } else if (const auto* text = std::get_if<std::string>(&field.value);
                       text != nullptr && field.name == "words") {
                field.value = MovedPrimitives(*text, from_.word);
            }
        }
        break;
    default:
        break;
    }
    writer_->Put(mark);
}

void Trimmer::Copy(const Event& event) {
    if (event.kind == EventKind::Mark) {
        CopyMark(*event.mark);
    } else {
        writer_->Put(event);
    }
}

// The stream has ended: what a range ends with must have been in it.
void Trimmer::CheckLast(const Place& to) const {
    Place last = to;
    if (to.kind == Place::Kind::Mark) {
        throw StreamError("there is no " + to.Text());
    }
    if (to.kind == Place::Kind::End || to.number == 0) {
        return;
    }
    --last.number;
    const bool counted = to.kind == Place::Kind::Word || to.kind == Place::Kind::Event;
    const Position& at = player_.From().At();
    if (!HasReached(counted ? to : last, at)) {
        throw StreamError("there is no " + last.Text() + ": the stream ends behind " + TextOf(at));
    }
}

TrimmedPart Trimmer::Write(const PlaceRange& range) {
    const uint64_t callsEnd = range.from.kind == Place::Kind::Call ? ItemsToEndOfCalls(range) : 0;
    Source& source = player_.From();
    Event event;
    bool there = range.from.kind == Place::Kind::Start || HasReached(range.from, source.At());
    bool first = there;
    if (there) {
        Begin();
    }
    while (!there) {
        const Position before = source.At();
        if (!Pass(event)) {
            throw StreamError("there is no " + range.from.Text() + ": the stream ends behind " +
                              TextOf(source.At()));
        }
        there = IsAt(range.from, source.At(), &event);
        if (there) {
            Begin();
            if (event.kind == EventKind::Mark && BeginsWithItsMark(range.from)) {
                from_ = before;
                Copy(event);
            }
        }
    }
    bool endMark = false;
    while (first || !IsAt(range.to, source.At(), &event) || items_ < callsEnd) {
        first = false;
        if (!Pass(event)) {
            CheckLast(range.to);
            break;
        }
        const bool behindPart = event.kind == EventKind::Mark && BeginsWithItsMark(range.to) &&
                                items_ >= callsEnd && IsAt(range.to, source.At(), &event);
        if (!behindPart) {
            endMark = event.kind == EventKind::Mark && event.mark->kind == MarkKind::End;
            Copy(event);
        }
    }
    if (!endMark) {
        const Checksums sums = ChecksumsOf(player_.Board());
        Mark end(MarkKind::End);
        end.Add("frameBuffer", sums.frameBuffer);
        end.Add("localBuffer", sums.localBuffer);
        end.Add("registers", sums.registers);
        writer_->Put(end);
    }
    writer_->Finish();
    return {from_, source.At()};
}

} // namespace stream
