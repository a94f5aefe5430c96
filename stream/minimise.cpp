#include "stream/minimise.h"

#include "board/bus/decoder.h"
#include "chip/registers.h"
#include "stream/capture_writer.h"
#include "stream/checksum.h"
#include "stream/decoder_state.h"
#include "stream/error.h"
#include "stream/kept_events.h"
#include "stream/player.h"
#include "stream/primitives.h"
#include "stream/sent.h"

#include <algorithm>
#include <map>
#include <sstream>
#include <utility>

namespace stream {

namespace {

// What goes or stays as one: events, and where they belong.
struct Piece {
    EventList events;
    uint64_t batch = 0, primitive = 0;
    bool needed = false; // never left out
};

std::shared_ptr<const KeptEvent> Keep(const Event& event) {
    return std::make_shared<const KeptEvent>(event);
}

std::shared_ptr<const KeptEvent> FifoWord(uint32_t word) {
    Event event;
    event.kind = EventKind::FifoWord;
    event.value = word;
    return Keep(event);
}

// Marks that tell what there is, and those at which people look.
bool StaysWithoutCarrier(MarkKind kind) {
    switch (kind) {
    case MarkKind::Step:
    case MarkKind::Call:
    case MarkKind::CallEnd:
    case MarkKind::Words:
    case MarkKind::Primitives:
    case MarkKind::Batch:
        return false;
    default:
        return true;
    }
}

// The whole batches of a part.
std::vector<Piece> Batches(const EventList& events) {
    std::vector<Piece> pieces;
    uint64_t batch = 0;
    for (const auto& one : events) {
        const Event& event = one->Get();
        const MarkKind kind = event.kind == EventKind::Mark ? event.mark->kind : MarkKind{};
        Piece piece;
        piece.events.push_back(one);
        batch += kind == MarkKind::Batch ? 1 : 0;
        piece.batch = batch;
        piece.needed = event.kind == EventKind::State || event.kind == EventKind::HostMemory ||
                       event.kind == EventKind::VideoSource || batch == 0 ||
                       (event.kind == EventKind::Mark && kind != MarkKind::Batch);
        pieces.push_back(std::move(piece));
    }
    return pieces;
}

// The same part without its carriers.
class Flattener {
  public:
    explicit Flattener(const board::Config& board) : board_(board) {}

    std::vector<Piece> Flatten(const EventList& events) {
        for (const auto& one : events) {
            Take(one);
        }
        EndBurst();
        return std::move(pieces_);
    }

  private:
    void Take(const std::shared_ptr<const KeptEvent>& one) {
        const Event& event = one->Get();
        switch (event.kind) {
        case EventKind::FifoWord:
        case EventKind::DmaWord:
            TakeWord(event.value);
            break;
        case EventKind::Write:
            if (!CarriesWords(event.offset)) {
                Add({one}, false);
            }
            break;
        case EventKind::Store:
            Add({one}, false);
            break;
        case EventKind::HostMemory:
            Add({one}, true);
            break;
        case EventKind::State:
            decoder_ = DecoderIn(event.bytes);
            Add({one, AlwaysReady(), Unplugged()}, true);
            break;
        case EventKind::VideoSource:
            if (words_ == 0) {
                Add({one}, true);
            }
            break;
        case EventKind::Mark:
            batch_ += event.mark->kind == MarkKind::Batch ? 1 : 0;
            if (StaysWithoutCarrier(event.mark->kind)) {
                Add({one}, true);
            }
            break;
        default:
            break;
        }
    }

    void TakeWord(uint32_t word) {
        board::RegisterWrite write{};
        const auto kind = decoder_.Feed(word, write);
        if (walker_.Take(words_++, word)) {
            EndBurst();
            ++primitive_;
        }
        burst_.push_back(FifoWord(word));
        waits_ = waits_ || (kind == board::StreamDecoder::Kind::Data &&
                            write.tag == tag::SuspendUntilFrameBlank);
        if (!decoder_.ExpectsData()) {
            EndBurst();
        }
    }

    void EndBurst() {
        if (burst_.empty()) {
            return;
        }
        if (std::exchange(waits_, false)) {
            // Until the beam has come round.
            Event event;
            event.kind = EventKind::Clock;
            event.value = 1'000'000 / board_.refreshRate + 1;
            burst_.push_back(Keep(event));
            event.kind = EventKind::Ticks;
            event.value = 1;
            burst_.push_back(Keep(event));
        }
        Piece piece;
        piece.events.swap(burst_);
        piece.batch = batch_;
        piece.primitive = primitive_;
        pieces_.push_back(std::move(piece));
    }

    void Add(EventList events, bool needed) {
        EndBurst();
        pieces_.push_back({std::move(events), batch_, primitive_, needed});
    }

    static std::shared_ptr<const KeptEvent> AlwaysReady() {
        static const board::Timing kAtOnce;
        Event event;
        event.kind = EventKind::Timing;
        event.timing = &kAtOnce;
        return Keep(event);
    }
    static std::shared_ptr<const KeptEvent> Unplugged() {
        Event event;
        event.kind = EventKind::VideoSource;
        return Keep(event);
    }

    const board::Config& board_;
    std::vector<Piece> pieces_;
    board::StreamDecoder decoder_;
    PrimitiveWalker walker_;
    EventList burst_;
    bool waits_ = false;
    uint64_t words_ = 0, batch_ = 0, primitive_ = 0;
};

// Each burst as pairs of tag and data; pieces that are none stay.
std::vector<Piece> AsPairs(const std::vector<Piece>& pieces) {
    std::vector<Piece> single;
    board::StreamDecoder decoder;
    for (const Piece& piece : pieces) {
        std::vector<Piece> pairs;
        bool good = !piece.needed;
        for (const auto& one : piece.events) {
            board::RegisterWrite write{};
            const Event& event = one->Get();
            if (event.kind != EventKind::FifoWord) {
                good = false;
                break;
            }
            const bool first = one == piece.events.front();
            const auto kind = decoder.Feed(event.value, write);
            good = good && kind == (first ? board::StreamDecoder::Kind::Tag
                                          : board::StreamDecoder::Kind::Data);
            if (kind == board::StreamDecoder::Kind::Data) {
                pairs.push_back({{FifoWord(write.tag), one}, piece.batch, piece.primitive, false});
            }
        }
        if (good && !decoder.ExpectsData()) {
            std::ranges::move(pairs, std::back_inserter(single));
        } else {
            decoder = {};
            single.push_back(piece);
        }
    }
    return single;
}

class Minimiser {
  public:
    Minimiser(const board::Config& board, const std::string& maker,
              const std::function<bool(const std::string&)>& holds)
        : board_(board), maker_(maker), holds_(holds) {}

    // What is left of them is a stream with which it happens: takes it up.
    bool Try(const std::vector<Piece>& pieces) {
        const std::string bytes = Encode(pieces);
        if (bytes.empty()) {
            return false;
        }
        ++best.tries;
        if (!holds_(bytes)) {
            return false;
        }
        best.capture = bytes;
        best.words = words_;
        return true;
    }

    // Leaves out groups of pieces, which group(piece) tells.
    template <class Group>
    void Reduce(std::vector<Piece>& pieces, Group group) {
        std::map<uint64_t, size_t> numbers;
        std::vector<size_t> of(pieces.size());
        for (size_t i = 0; i < pieces.size(); ++i) {
            if (!pieces[i].needed) {
                of[i] = numbers.emplace(group(pieces[i], i), numbers.size()).first->second;
            }
        }
        const auto left = [&](const std::vector<size_t>& kept) {
            std::vector<Piece> some;
            for (size_t i = 0; i < pieces.size(); ++i) {
                if (pieces[i].needed || std::ranges::binary_search(kept, of[i])) {
                    some.push_back(pieces[i]);
                }
            }
            return some;
        };
        pieces = left(NeededPieces(
            numbers.size(), [&](const std::vector<size_t>& kept) { return Try(left(kept)); }));
    }

    Minimised best;

  private:
    // Empty for what no board plays.
    std::string Encode(const std::vector<Piece>& pieces) {
        EventList events;
        for (const Piece& piece : pieces) {
            events.insert(events.end(), piece.events.begin(), piece.events.end());
        }
        ListSource source(events, board_);
        Player player(source);
        std::ostringstream out;
        CaptureWriter writer(out, board_, maker_);
        try {
            Event event;
            while (player.Step(event)) {
                if (event.kind == EventKind::Mark && event.mark->Number("registers")) {
                    writer.Put(Checked(*event.mark, player.Board()));
                    continue;
                }
                if (event.kind == EventKind::Read) {
                    event.value = player.LatestRead();
                }
                writer.Put(event);
            }
        } catch (const StreamError&) {
            return {};
        }
        writer.Finish();
        words_ = writer.At().word;
        return out.str();
    }

    static Mark Checked(Mark mark, board::Board& board) {
        const Checksums sums = ChecksumsOf(board);
        for (MarkField& field : mark.fields) {
            if (field.name == "frameBuffer") {
                field.value = int64_t{sums.frameBuffer};
            } else if (field.name == "localBuffer") {
                field.value = int64_t{sums.localBuffer};
            } else if (field.name == "registers") {
                field.value = int64_t{sums.registers};
            }
        }
        return mark;
    }

    const board::Config& board_;
    const std::string& maker_;
    const std::function<bool(const std::string&)>& holds_;
    uint64_t words_ = 0; // of what was encoded last
};

} // namespace

std::vector<size_t> NeededPieces(size_t count,
                                 const std::function<bool(const std::vector<size_t>&)>& holds) {
    std::vector<size_t> kept(count);
    for (size_t i = 0; i < count; ++i) {
        kept[i] = i;
    }
    size_t run = std::max<size_t>(count, 1);
    while (!kept.empty()) {
        bool changed = false;
        for (size_t first = 0; first < kept.size();) {
            std::vector<size_t> fewer = kept;
            const size_t behind = std::min(first + run, fewer.size());
            fewer.erase(fewer.begin() + static_cast<std::ptrdiff_t>(first),
                        fewer.begin() + static_cast<std::ptrdiff_t>(behind));
            if (holds(fewer)) {
                kept = std::move(fewer);
                changed = true;
            } else {
                first = behind;
            }
        }
        if (run > 1) {
            run = (run + 1) / 2;
        } else if (!changed) {
            break;
        }
    }
    return kept;
}

Minimised Minimise(Source& part, const std::string& maker,
                   const std::function<bool(const std::string&)>& holds) {
    const board::Config board = part.Board();
    const EventList events = KeepAll(part);
    Minimiser minimiser(board, maker, holds);
    std::vector<Piece> pieces;
    for (const auto& one : events) {
        pieces.push_back({{one}, 0, 0, true});
    }
    if (!minimiser.Try(pieces)) {
        throw StreamError("it does not happen with the whole part, so there is nothing to find");
    }
    minimiser.best.wordsBefore = minimiser.best.words;
    pieces = Flattener(board).Flatten(events);
    const auto byBatch = [](const Piece& piece, size_t) { return piece.batch; };
    const auto byPrimitive = [](const Piece& piece, size_t) { return piece.primitive; };
    const auto bySelf = [](const Piece&, size_t index) { return uint64_t{index}; };
    if (!minimiser.Try(pieces)) {
        pieces = Batches(events);
        minimiser.best.asCarried = true;
        minimiser.Reduce(pieces, byBatch);
        return minimiser.best;
    }
    minimiser.Reduce(pieces, byBatch);
    minimiser.Reduce(pieces, byPrimitive);
    minimiser.Reduce(pieces, bySelf);
    std::vector<Piece> pairs = AsPairs(pieces);
    if (minimiser.Try(pairs)) {
        minimiser.Reduce(pairs, bySelf);
    }
    return minimiser.best;
}

} // namespace stream
