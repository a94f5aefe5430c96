#include "stream/dump.h"

#include "board/values/register_names.h"
#include "chip/register_table.h"
#include "stream/capture_text.h"
#include "stream/error.h"
#include "stream/primitives.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>

namespace stream {

namespace {

using Json = nlohmann::ordered_json;

constexpr size_t kFlushBytes = 64u << 10;

// By EventKind.
constexpr std::string_view kEventWords[] = {
    "read",      "write",      "fifo",      "dma",          "dmafault", "ticks",
    "clock",     "units",      "interrupt", "interruptend", "timing",   "videosource",
    "videoline", "hostmemory", "store",     "state",        "mark"};

std::string_view WordOf(EventKind kind) {
    return kEventWords[static_cast<size_t>(kind)];
}

constexpr MarkKind kLastMark = MarkKind::End;

std::string HexText(std::span<const uint8_t> bytes) {
    std::string text;
    for (const uint8_t byte : bytes) {
        board::AppendHex(text, byte, 2);
    }
    return text;
}

Json FieldsToJson(const Mark& mark) {
    Json fields = Json::object();
    for (const MarkField& field : mark.fields) {
        std::visit([&](const auto& value) { fields[field.name] = value; }, field.value);
    }
    return fields;
}

// What a listing of things done has no use for.
Mark WithoutChecksums(Mark mark) {
    std::erase_if(mark.fields, [](const MarkField& field) {
        return field.name == "frameBuffer" || field.name == "localBuffer" ||
               field.name == "registers" || field.name == "number";
    });
    return mark;
}

class Dumper {
  public:
    Dumper(Source& source, const DumpOptions& options, std::ostream& out)
        : source_(source), options_(options), out_(out), sieve_(options.only, options.changes),
          filtered_(!sieve_.WantsAll()), text_(source.Board().chip, filtered_),
          explainer_(source.Board().chip) {}

    void Run() {
        if (!Find()) {
            Missing(options_.from);
        }
        const bool whole = options_.from.kind == Place::Kind::Start && !filtered_ &&
                           !options_.json && !options_.summary;
        if (whole && source_.HasEvents()) {
            CaptureText::AppendBoard(lines_, source_.Board(), source_.Maker());
        }
        Event event;
        bool reached = HasReached(options_.to, source_.At());
        while (!reached && out_) {
            before_ = source_.At();
            if (!source_.Next(event)) {
                break;
            }
            Tell(event);
            Flush(kFlushBytes);
            reached = IsAt(options_.to, source_.At(), &event);
        }
        if (out_ && !reached && options_.to.kind != Place::Kind::End) {
            Flush(0);
            Missing(options_.to);
        }
        if (options_.summary) {
            EndPrimitive(walker_.Cut(source_.At().word));
        }
        Flush(0);
    }

  private:
    [[noreturn]] void Missing(const Place& place) {
        throw StreamError("it has no " + place.Text() + ": it ends behind " + TextOf(source_.At()));
    }

    // Writes what is there, if it is more than `from` bytes: up to where the line of a primitive
    // under way will stand.
    void Flush(size_t from) {
        const size_t ready = primitivePlace_.value_or(lines_.size());
        if (ready > from) {
            out_.write(lines_.data(), static_cast<std::streamsize>(ready));
            lines_.erase(0, ready);
            if (primitivePlace_) {
                primitivePlace_ = 0;
            }
        }
    }

    // Goes to the first place. What was sent before decides what words mean.
    bool Find() {
        if (HasReached(options_.from, source_.At())) {
            return true;
        }
        Event event;
        while (source_.Next(event)) {
            if (options_.summary) {
                Follow(event);
                if (event.IsWord()) {
                    walker_.Take(source_.At().word - 1, event.value);
                }
            } else if (options_.json || filtered_) {
                Follow(event);
            }
            text_.Skip(event);
            if (IsAt(options_.from, source_.At(), &event)) {
                walker_.Cut(source_.At().word);
                return true;
            }
        }
        return options_.from.kind == Place::Kind::End;
    }

    void Follow(const Event& event) {
        sieve_.Pass(event);
        Pass(event);
    }

    // The explainer goes on behind the event.
    void Pass(const Event& event) {
        if (event.IsWord()) {
            explainer_.Follow(event.value);
        } else if (event.kind == EventKind::Write) {
            explainer_.OnWrite(event.offset, event.value);
        }
    }

    void Tell(const Event& event) {
        if (options_.summary) {
            Summarise(event);
            return;
        }
        if (filtered_ && !sieve_.Wants(event)) {
            if (options_.json) {
                Pass(event);
            } else {
                text_.Skip(event);
            }
            return;
        }
        if (options_.json) {
            TellJson(event);
            return;
        }
        if (filtered_) {
            AppendPlace(event);
        }
        const size_t begin = lines_.size();
        text_.Append(lines_, event);
        if (!options_.plain.empty()) {
            Colour(event, begin);
        }
    }

    // A column in front of lines that do not follow each other.
    void AppendPlace(const Event& event) {
        constexpr size_t kColumn = 14;
        std::string place = PlaceAt(before_, event.IsWord()).Text();
        place.resize(std::max(place.size() + 1, kColumn), ' ');
        lines_ += place;
    }

    void Colour(const Event& event, size_t begin) {
        const bool mark = event.kind == EventKind::Mark;
        const size_t comment = mark ? begin : lines_.find(" ; ", begin);
        if (comment != std::string::npos) {
            lines_.insert(lines_.find('\n', comment), options_.plain);
            lines_.insert(comment, mark ? options_.mark : options_.comment);
        }
    }

    std::string Explain(const Event& event) {
        std::string text;
        if (event.IsWord()) {
            explainer_.Append(text, event.value);
        } else if (event.kind == EventKind::Read || event.kind == EventKind::Write) {
            explainer_.AppendAccess(text, event.offset, event.value);
            text.erase(0, text.starts_with(' ') ? 1 : 0);
            if (event.kind == EventKind::Write) {
                explainer_.OnWrite(event.offset, event.value);
            }
        }
        return text;
    }

    // Of things that are counted.
    std::optional<uint64_t> NumberOf(MarkKind kind) const {
        switch (kind) {
        case MarkKind::Step:
            return before_.step;
        case MarkKind::Call:
            return before_.call;
        case MarkKind::Batch:
            return before_.batch;
        case MarkKind::Frame:
            return before_.frame;
        default:
            return std::nullopt;
        }
    }

    void Line(const Json& json) {
        // Texts of a capture may be anything.
        lines_ += json.dump(-1, ' ', false, Json::error_handler_t::replace);
        lines_ += '\n';
    }

    void TellJson(const Event& event) {
        Json json{{"event", before_.event}, {"word", before_.word}, {"kind", WordOf(event.kind)}};
        if (event.ticked) {
            json["ticked"] = true;
        }
        switch (event.kind) {
        case EventKind::DmaWord:
        case EventKind::FifoWord:
            if (event.kind == EventKind::DmaWord) {
                json["address"] = event.offset;
            }
            json["raw"] = event.value;
            if (explainer_.ExpectsData()) {
                json["register"] = board::TagName(explainer_.NextRegister());
            }
            json["text"] = Explain(event);
            break;
        case EventKind::Read:
        case EventKind::Write:
            json["offset"] = event.offset;
            json["raw"] = event.value;
            json["register"] = board::OffsetName(event.offset);
            json["text"] = Explain(event);
            break;
        case EventKind::Mark:
            json["mark"] = WordOf(event.mark->kind);
            json["name"] = event.mark->name;
            if (const auto number = NumberOf(event.mark->kind)) {
                json["number"] = *number;
            }
            json["fields"] = FieldsToJson(*event.mark);
            break;
        case EventKind::Store:
            json["memory"] = kMemoryWords[static_cast<size_t>(event.memory)];
            json["offset"] = event.offset;
            json["bytes"] = HexText(event.bytes);
            break;
        case EventKind::State:
            json["bytes"] = HexText(event.bytes);
            break;
        case EventKind::HostMemory:
            json["address"] = event.offset;
            json["size"] = event.value;
            break;
        case EventKind::VideoLine:
            json["field"] = event.field;
            json["line"] = event.offset;
            json["pixels"] = event.pixels;
            break;
        case EventKind::Ticks:
        case EventKind::Clock:
            json["value"] = event.value;
            break;
        case EventKind::Timing:
            for (const TimingNumber& row : kTimingNumbers) {
                json[row.name] = event.timing->*row.number;
            }
            break;
        case EventKind::VideoSource:
            json["plugged"] = event.signal != nullptr;
            break;
        default:
            break;
        }
        Line(json);
    }

    void Summarise(const Event& event) {
        if (event.kind == EventKind::Mark) {
            SummariseMark(*event.mark);
            return;
        }
        if (event.IsWord()) {
            const auto drawn = walker_.Take(before_.word, event.value);
            if (drawn) {
                EndPrimitive(drawn);
            }
            if (explainer_.ExpectsData() && BeginsPrimitive(explainer_.NextRegister())) {
                command_ = Explain(event);
                primitivePlace_ = lines_.size();
                return;
            }
        }
        Pass(event);
    }

    void SummariseMark(const Mark& mark) {
        switch (mark.kind) {
        case MarkKind::Words:
        case MarkKind::Primitives:
            EndPrimitive(walker_.Cut(before_.word));
            break;
        case MarkKind::Step:
            Thing("step", before_.step, 0, mark);
            break;
        case MarkKind::Call:
            Thing("call", before_.call, 2, mark);
            break;
        case MarkKind::Batch:
            Thing("batch", before_.batch, 2, mark);
            break;
        case MarkKind::Frame:
            EndPrimitive(walker_.Cut(before_.word));
            Thing("frame", before_.frame, 0, mark);
            break;
        default:
            break;
        }
    }

    void Thing(const char* kind, uint64_t number, size_t indent, const Mark& mark) {
        const Mark told = WithoutChecksums(mark);
        const bool ends = mark.kind == MarkKind::Frame;
        if (options_.json) {
            Line({{"kind", kind},
                  {"number", number},
                  {ends ? "endWord" : "word", before_.word},
                  {"name", told.name},
                  {"fields", FieldsToJson(told)}});
            return;
        }
        std::string text;
        AppendMark(text, told);
        text.erase(0, WordOf(mark.kind).size());
        lines_.append(indent, ' ');
        lines_ += options_.mark;
        lines_ += kind;
        lines_ += ':' + std::to_string(number) + options_.plain;
        lines_ += ends ? " ends" : "";
        if (mark.kind == MarkKind::Batch || ends) {
            lines_ += " at " + PlaceAt(before_).Text();
            lines_ += mark.kind == MarkKind::Batch && mark.fields.empty() ? " by FIFO" : "";
        }
        lines_ += text + '\n';
    }

    void EndPrimitive(const std::optional<PrimitiveWords>& primitive) {
        if (!primitive) {
            return;
        }
        const uint64_t number = primitives_++;
        // What came behind its command has been told already.
        std::string behind = lines_.substr(primitivePlace_.value_or(lines_.size()));
        lines_.resize(lines_.size() - behind.size());
        if (options_.json) {
            Line({{"kind", "primitive"},
                  {"number", number},
                  {"word", primitive->first},
                  {"words", primitive->count},
                  {"text", command_}});
        } else {
            lines_ += "    primitive " + std::to_string(number) +
                      " word:" + std::to_string(primitive->first) + '-' +
                      std::to_string(primitive->first + primitive->count - 1) + options_.comment +
                      " ; " + command_ + options_.plain + '\n';
        }
        lines_ += behind;
        primitivePlace_.reset();
    }

    Source& source_;
    const DumpOptions& options_;
    std::ostream& out_;
    EventSieve sieve_;
    const bool filtered_;
    std::string lines_;
    CaptureText text_;
    Explainer explainer_; // of summaries and JSON
    Position before_;     // the event in hand
    PrimitiveWalker walker_;
    std::string command_;                  // that began the primitive under way
    std::optional<size_t> primitivePlace_; // its line's, in lines_
    uint64_t primitives_ = 0;
};

} // namespace

bool EventFilter::Add(std::string_view name) {
    bool known = false;
    const auto add = [&](uint64_t& set, size_t bit) {
        set |= uint64_t{1} << bit;
        known = true;
    };
    for (size_t i = 0; i < std::size(kEventWords); ++i) {
        if (kEventWords[i] == name) {
            add(kinds_, i);
        }
    }
    for (uint32_t i = 1; i <= static_cast<uint32_t>(kLastMark); ++i) {
        if (WordOf(static_cast<MarkKind>(i)) == name) {
            add(marks_, i);
        }
    }
    for (const UnitRow& unit : kUnits) {
        if (unit.name == name) {
            add(units_, static_cast<size_t>(unit.unit));
        }
    }
    for (const Register& row : kRegisters) {
        if (row.name == name) {
            offsets_.push_back(row.offset);
            known = true;
        }
    }
    empty_ = empty_ && !known;
    return known;
}

std::vector<std::string> EventFilter::Names() {
    std::vector<std::string> names;
    for (const std::string_view word : kEventWords) {
        names.emplace_back(word);
    }
    for (uint32_t i = 1; i <= static_cast<uint32_t>(kLastMark); ++i) {
        names.push_back(WordOf(static_cast<MarkKind>(i)));
    }
    for (const UnitRow& unit : kUnits) {
        names.emplace_back(unit.name);
    }
    for (const Register& row : kRegisters) {
        names.emplace_back(row.name);
    }
    return names;
}

bool EventFilter::HasKind(const Event& event) const {
    if ((kinds_ >> static_cast<size_t>(event.kind) & 1) != 0) {
        return true;
    }
    return event.kind == EventKind::Mark && static_cast<uint32_t>(event.mark->kind) < 64 &&
           (marks_ >> static_cast<uint32_t>(event.mark->kind) & 1) != 0;
}

bool EventFilter::HasRegister(uint32_t offset) const {
    const Register* row = RowAt(offset);
    return row != nullptr && ((units_ >> static_cast<size_t>(row->unit) & 1) != 0 ||
                              std::ranges::find(offsets_, row->offset) != offsets_.end());
}

namespace {

// The register that a word or an access writes, and what.
std::optional<std::pair<uint32_t, uint32_t>> WriteOf(const Event& event,
                                                     board::StreamDecoder& decoder) {
    if (event.kind == EventKind::Write) {
        return std::pair(event.offset, event.value);
    }
    board::RegisterWrite write{};
    if (event.IsWord() && decoder.Feed(event.value, write) == board::StreamDecoder::Kind::Data) {
        return std::pair(MappedOffset(write.tag), write.data);
    }
    return std::nullopt;
}

} // namespace

bool EventSieve::Wants(const Event& event) {
    const auto write = WriteOf(event, decoder_);
    if (changes_ && !(write && held_.Take(write->first, write->second))) {
        return false;
    }
    if (only_.Empty() || only_.HasKind(event)) {
        return true;
    }
    return write                           ? only_.HasRegister(write->first)
           : event.kind == EventKind::Read ? only_.HasRegister(event.offset)
                                           : false;
}

void EventSieve::Pass(const Event& event) {
    if (const auto write = WriteOf(event, decoder_)) {
        held_.Take(write->first, write->second);
    }
}

void Dump(Source& source, const DumpOptions& options, std::ostream& out) {
    Dumper(source, options, out).Run();
}

} // namespace stream
