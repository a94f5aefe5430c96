#include "stream/diff.h"

#include "chip/register_table.h"
#include "stream/alignment.h"

#include <array>
#include <map>

namespace stream {

namespace {

// As many are looked through for where the streams are one again, and so many have to be the same.
constexpr size_t kWindow = 2048, kRun = 3;
// Of drawings, which are larger.
constexpr size_t kDrawingWindow = 256;

// What has been read of one side and not been told yet.
template <class Element, class Reader>
class Side {
  public:
    explicit Side(Reader reader) : reader_(std::move(reader)) {}

    // Has `count` elements, if the stream does.
    void Fill(size_t count) {
        while (elements_.size() < count && !ended_) {
            Element element;
            if (reader_.Next(element)) {
                elements_.push_back(std::move(element));
            } else {
                ended_ = true;
            }
        }
    }
    bool Ended() const { return ended_; }
    size_t Size() const { return elements_.size(); }
    const Element& operator[](size_t index) const { return elements_[index]; }
    void Drop(size_t count) {
        elements_.erase(elements_.begin(), elements_.begin() + static_cast<std::ptrdiff_t>(count));
    }
    // How many there are before the next batch begins; all, if none does.
    size_t ToNextBatch() const {
        for (size_t i = 1; i < elements_.size(); ++i) {
            if (elements_[i].at.batch != elements_[0].at.batch) {
                return i;
            }
        }
        return elements_.size();
    }
    Position Here() { return elements_.empty() ? reader_.End() : elements_.front().at; }

  private:
    Reader reader_;
    std::deque<Element> elements_;
    bool ended_ = false;
};

// Walks both sides; tell(i, j) is told how many elements of each differ.
template <class Left, class Right, class Same, class Tell>
uint64_t Walk(Left& a, Right& b, size_t window, Same same, Tell tell) {
    uint64_t equal = 0;
    while (true) {
        a.Fill(1);
        b.Fill(1);
        if (a.Size() == 0 && b.Size() == 0) {
            return equal;
        }
        if (a.Size() != 0 && b.Size() != 0 && same(a[0], b[0])) {
            a.Drop(1);
            b.Drop(1);
            ++equal;
            continue;
        }
        a.Fill(window);
        b.Fill(window);
        const bool ends = a.Ended() && b.Ended();
        auto [i, j] = Apart(a.Size(), b.Size(), kRun, ends,
                            [&](size_t x, size_t y) { return same(a[x], b[y]); });
        if (i == a.Size() && j == b.Size() && !ends) {
            i = a.ToNextBatch();
            j = b.ToNextBatch();
        }
        const bool on = tell(i, j);
        a.Drop(i);
        b.Drop(j);
        if (!on) {
            return equal;
        }
    }
}

class SentSide {
  public:
    SentSide(Source& source, const std::set<uint32_t>& ignored)
        : reader_(source), ignored_(ignored) {}

    bool Next(Sent& sent) {
        while (reader_.Next(sent)) {
            if (sent.malformed || !ignored_.contains(sent.offset)) {
                return true;
            }
        }
        return false;
    }
    Position End() { return reader_.From().At(); }

  private:
    SentReader reader_;
    const std::set<uint32_t>& ignored_;
};

void Count(DiffTotals& totals, const Hunk& hunk) {
    ++totals.hunks;
    for (const Changed& one : hunk.changes) {
        ++(one.a && one.b ? totals.changed : one.a ? totals.onlyA : totals.onlyB);
    }
}

DiffTotals DiffSent(Source& first, Source& second, const DiffOptions& options,
                    const std::function<void(const Hunk&)>& found) {
    DiffTotals totals;
    Side<Sent, SentSide> a(SentSide(first, options.ignored)), b(SentSide(second, options.ignored));
    const auto same = [](const Sent& x, const Sent& y) { return x.SameAs(y); };
    const uint64_t outside = Walk(a, b, kWindow, same, [&](size_t i, size_t j) {
        Hunk hunk{a.Here(), b.Here(), {}};
        const auto pairs = Pairs(i, j, [&](size_t x, size_t y) -> uint32_t {
            if (same(a[x], b[y])) {
                return 3;
            }
            const bool place = a[x].offset == b[y].offset && a[x].memory == b[y].memory &&
                               a[x].address == b[y].address && a[x].malformed == b[y].malformed;
            return place ? 2 : 0;
        });
        size_t x = 0, y = 0;
        const auto alone = [&](size_t toX, size_t toY) {
            for (; x < toX; ++x) {
                hunk.changes.push_back({a[x], std::nullopt});
            }
            for (; y < toY; ++y) {
                hunk.changes.push_back({std::nullopt, b[y]});
            }
        };
        for (const auto& [left, right] : pairs) {
            alone(left, right);
            if (same(a[left], b[right])) {
                ++totals.same;
            } else {
                hunk.changes.push_back({a[left], b[right]});
            }
            ++x, ++y;
        }
        alone(i, j);
        Count(totals, hunk);
        found(hunk);
        return !options.first;
    });
    totals.same += outside;
    return totals;
}

// Registers that decide what is drawn: those of the stream, and two past it.
constexpr size_t kSlots = board::kTagCount + 2;
constexpr uint32_t kPorts[] = {reg::FBModeSel, reg::AGPTextureBase};

constexpr size_t SlotOf(uint32_t offset) {
    return offset >= reg::MappedRegisters ? (offset - reg::MappedRegisters) / 8
           : offset == kPorts[0]          ? board::kTagCount
           : offset == kPorts[1]          ? board::kTagCount + 1
                                          : kSlots;
}

constexpr uint32_t OffsetOf(size_t slot) {
    return slot < board::kTagCount ? MappedOffset(static_cast<uint32_t>(slot))
                                   : kPorts[slot - board::kTagCount];
}

constexpr uint64_t Mix(uint64_t slot, uint32_t value) {
    uint64_t mixed = (slot << 32 | value) + 0x9E3779B97F4A7C15u;
    mixed = (mixed ^ mixed >> 30) * 0xBF58476D1CE4E5B9u;
    mixed = (mixed ^ mixed >> 27) * 0x94D049BB133111EBu;
    return mixed ^ mixed >> 31;
}

// A drawing command, with all that it finds in the registers.
struct Drawing {
    Position at;
    uint32_t command = kSlots, data = 0; // its slot, and its word; no command at a stream's end
    uint64_t sent = 0;                   // of data that went to commands since the drawing before
    std::array<uint32_t, kSlots> state{};
    uint64_t sum = 0; // of the state's registers, Mix of each that is not 0
};

class DrawingSide {
  public:
    DrawingSide(Source& source, const std::set<uint32_t>& ignored)
        : reader_(source), ignored_(ignored) {}

    bool Next(Drawing& drawing) {
        Sent sent;
        while (reader_.Next(sent)) {
            TakeStart();
            if (sent.malformed || sent.IsStore() || ignored_.contains(sent.offset)) {
                if (sent.IsStore() && !ignored_.contains(sent.offset)) {
                    now_.sent = Mix(now_.sent, sent.value + sent.address);
                }
                continue;
            }
            const size_t slot = SlotOf(sent.offset);
            if (slot == kSlots) {
                continue;
            }
            if (Draws(slot)) {
                now_.at = sent.at;
                now_.command = static_cast<uint32_t>(slot);
                now_.data = sent.value;
                drawing = now_;
                now_.sent = 0;
                return true;
            }
            Take(slot, sent.value);
        }
        return false;
    }
    Position End() { return reader_.From().At(); }

  private:
    static bool Draws(size_t slot) {
        switch (slot) {
        case tag::Render:
        case tag::DrawTriangle:
        case tag::RepeatTriangle:
        case tag::DrawLine01:
        case tag::DrawLine10:
        case tag::ContinueNewLine:
        case tag::ContinueNewDom:
        case tag::ContinueNewSub:
        case tag::Continue:
            return true;
        default:
            return false;
        }
    }

    // Commands that have nothing to do with what is drawn.
    static bool IsIdle(size_t slot) {
        switch (slot) {
        case tag::WaitForCompletion:
        case tag::FlushSpan:
        case tag::Sync:
        case tag::SuspendUntilFrameBlank:
        case tag::ResetPickResult:
        case tag::PickResult:
            return true;
        default:
            return false;
        }
    }

    void Take(size_t slot, uint32_t value) {
        const Register* row = FindRegister(OffsetOf(slot));
        if (row != nullptr && row->use == Use::Command) {
            if (!IsIdle(slot)) {
                now_.sent = Mix(now_.sent ^ slot, value);
            }
            return;
        }
        uint32_t& word = now_.state[slot];
        now_.sum += (value != 0 ? Mix(slot, value) : 0) - (word != 0 ? Mix(slot, word) : 0);
        word = value;
    }

    void TakeStart() {
        if (started_) {
            return;
        }
        started_ = true;
        for (size_t slot = 0; slot < kSlots; ++slot) {
            const uint32_t offset = OffsetOf(slot);
            if (!ignored_.contains(offset)) {
                Take(slot, slot < board::kTagCount ? reader_.Start()[static_cast<uint32_t>(slot)]
                                                   : reader_.Start().Aperture(offset));
            }
        }
        now_.sent = 0;
    }

    SentReader reader_;
    const std::set<uint32_t>& ignored_;
    Drawing now_;
    bool started_ = false;
};

// Registers that differ in a way that has been told.
using Known = std::map<size_t, std::pair<uint32_t, uint32_t>>;

bool SameUnder(const Drawing& x, const Drawing& y, const Known& known) {
    if (x.command != y.command || x.data != y.data || x.sent != y.sent) {
        return false;
    }
    uint64_t a = x.sum, b = y.sum;
    for (const auto& [slot, values] : known) {
        if (x.state[slot] == values.first && y.state[slot] == values.second) {
            a -= values.first != 0 ? Mix(slot, values.first) : 0;
            b -= values.second != 0 ? Mix(slot, values.second) : 0;
        }
    }
    return a == b;
}

Sent AsSent(const Drawing& drawing, size_t slot, uint32_t value) {
    Sent sent;
    sent.offset = OffsetOf(slot);
    sent.value = value;
    sent.at = drawing.at;
    return sent;
}

DiffTotals DiffState(Source& first, Source& second, const DiffOptions& options,
                     const std::function<void(const Hunk&)>& found) {
    DiffTotals totals;
    Side<Drawing, DrawingSide> a(DrawingSide(first, options.ignored)),
        b(DrawingSide(second, options.ignored));
    Known known;
    const auto same = [&](const Drawing& x, const Drawing& y) { return SameUnder(x, y, known); };
    const uint64_t outside = Walk(a, b, kDrawingWindow, same, [&](size_t i, size_t j) {
        bool on = true;
        const auto tell = [&](Hunk hunk) {
            Count(totals, hunk);
            found(hunk);
            on = on && !options.first;
        };
        const auto alone = [&](const Drawing* x, const Drawing* y) {
            Hunk hunk{x != nullptr ? x->at : a.Here(), y != nullptr ? y->at : b.Here(), {}};
            Changed change;
            if (x != nullptr) {
                change.a = AsSent(*x, x->command, x->data);
            } else {
                change.b = AsSent(*y, y->command, y->data);
            }
            hunk.changes.push_back(change);
            tell(std::move(hunk));
        };
        const auto compare = [&](const Drawing& x, const Drawing& y) {
            Hunk hunk{x.at, y.at, {}};
            for (size_t slot = 0; slot < kSlots; ++slot) {
                const std::pair values(x.state[slot], y.state[slot]);
                const auto told = known.find(slot);
                if (values.first == values.second) {
                    if (told != known.end()) {
                        known.erase(told);
                    }
                } else if (told == known.end() || told->second != values) {
                    known[slot] = values;
                    hunk.changes.push_back(
                        {AsSent(x, slot, values.first), AsSent(y, slot, values.second)});
                }
            }
            if (x.data != y.data || x.sent != y.sent) {
                hunk.changes.push_back(
                    {AsSent(x, x.command, x.data), AsSent(y, y.command, y.data), x.data == y.data});
            }
            if (!hunk.changes.empty()) {
                tell(std::move(hunk));
            } else {
                ++totals.same;
            }
        };
        const auto pairs = Pairs(i, j, [&](size_t x, size_t y) -> uint32_t {
            return same(a[x], b[y]) ? 3 : a[x].command == b[y].command ? 2 : 0;
        });
        size_t x = 0, y = 0;
        for (size_t pair = 0; pair <= pairs.size() && on; ++pair) {
            const auto [left, right] = pair < pairs.size() ? pairs[pair] : std::pair(i, j);
            for (; x < left && on; ++x) {
                alone(&a[x], nullptr);
            }
            for (; y < right && on; ++y) {
                alone(nullptr, &b[y]);
            }
            if (pair < pairs.size() && on) {
                compare(a[x++], b[y++]);
            }
        }
        return on;
    });
    totals.same += outside;
    return totals;
}

} // namespace

DiffTotals Diff(Source& a, Source& b, const DiffOptions& options,
                const std::function<void(const Hunk&)>& found) {
    return options.state ? DiffState(a, b, options, found) : DiffSent(a, b, options, found);
}

} // namespace stream
