#include "stream/capture_assembler.h"

#include "board/values/register_names.h"
#include "chip/registers.h"
#include "stream/error.h"
#include "stream/format.h"
#include "stream/records.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <limits>

namespace stream {

namespace {

constexpr std::string_view kLineBlanks = " \t\r";

bool IsBlank(char c) {
    return kLineBlanks.find(c) != std::string_view::npos;
}

std::optional<uint32_t> HexDigit(char c) {
    return c >= '0' && c <= '9'   ? std::optional(static_cast<uint32_t>(c - '0'))
           : c >= 'A' && c <= 'F' ? std::optional(static_cast<uint32_t>(c - 'A' + 10))
           : c >= 'a' && c <= 'f' ? std::optional(static_cast<uint32_t>(c - 'a' + 10))
                                  : std::nullopt;
}

} // namespace

// Takes a line apart: words, NAME=NUMBER, quoted texts.
class CaptureAssembler::Reader {
  public:
    Reader(std::string_view line, size_t number) : line_(line), number_(number) { SkipBlanks(); }

    bool AtEnd() const { return at_ == line_.size() || line_[at_] == ';'; }
    size_t Column() const { return at_ + 1; }
    char Peek() const { return AtEnd() ? '\0' : line_[at_]; }

    [[noreturn]] void Fail(size_t column, const std::string& problem) const {
        throw AssembleError(number_, column, problem);
    }
    [[noreturn]] void Fail(const std::string& problem) const { Fail(Column(), problem); }

    // Up to a blank, '=' or the end.
    std::string_view Word() {
        const size_t begin = at_;
        while (!AtEnd() && !IsBlank(line_[at_]) && line_[at_] != '=') {
            ++at_;
        }
        const std::string_view word = line_.substr(begin, at_ - begin);
        SkipBlanks();
        return word;
    }

    // A word, or a text in quotation marks.
    std::string Text(const char* expected) {
        if (AtEnd()) {
            Fail(fmt::format("the line ends here: expected {}", expected));
        }
        return Peek() == '"' ? Quoted() : std::string(Word());
    }

    std::string Quoted() {
        const size_t begin = Column();
        std::string text;
        for (++at_; at_ < line_.size() && line_[at_] != '"'; ++at_) {
            if (line_[at_] != '\\') {
                text += line_[at_];
                continue;
            }
            ++at_;
            const char escape = at_ < line_.size() ? line_[at_] : '\0';
            const auto high = at_ + 2 < line_.size() ? HexDigit(line_[at_ + 1]) : std::nullopt;
            const auto low = at_ + 2 < line_.size() ? HexDigit(line_[at_ + 2]) : std::nullopt;
            if (escape == '"' || escape == '\\') {
                text += escape;
            } else if (escape == 'x' && high && low) {
                text += static_cast<char>(*high << 4 | *low);
                at_ += 2;
            } else {
                Fail(at_, "expected \\\", \\\\ or \\x and two hex digits");
            }
        }
        if (at_ == line_.size()) {
            Fail(begin, "a text without its second quotation mark");
        }
        ++at_;
        SkipBlanks();
        return text;
    }

    void Equals(std::string_view name) {
        if (Peek() != '=') {
            Fail(fmt::format("expected '=' behind {}", name));
        }
        ++at_;
        SkipBlanks();
    }

    // A whole number, hexadecimal with 0x.
    template <typename Number>
    Number Whole(std::string_view of, Number low, Number high) {
        const size_t column = Column();
        const std::string_view word = Word();
        const bool hex = word.starts_with("0x");
        Number value{};
        const char* end = word.data() + word.size();
        const auto [stop, error] =
            std::from_chars(word.data() + (hex ? 2 : 0), end, value, hex ? 16 : 10);
        if (error != std::errc() || stop != end || value < low || value > high) {
            Fail(column, fmt::format("bad value '{}' of {}: expected a whole number from {} to {}",
                                     word, of, low, high));
        }
        return value;
    }
    uint32_t Word32(std::string_view of, uint32_t high = 0xFFFFFFFF) {
        return Whole<uint32_t>(of, 0, high);
    }

    // NAME=NUMBER, with that name.
    uint64_t Named(std::string_view name, uint64_t high) {
        const size_t column = Column();
        const std::string_view word = Word();
        if (word != name) {
            Fail(column, fmt::format("'{}': expected {}=", word, name));
        }
        Equals(name);
        return Whole<uint64_t>(name, 0, high);
    }
    uint32_t Named32(std::string_view name, uint32_t high = 0xFFFFFFFF) {
        return static_cast<uint32_t>(Named(name, high));
    }

    uint32_t Hex(const char* expected) {
        const size_t column = Column();
        const std::string_view word = Word();
        uint32_t value{};
        const char* end = word.data() + word.size();
        const auto [stop, error] = std::from_chars(word.data(), end, value, 16);
        if (error != std::errc() || stop != end || word.size() > 8) {
            Fail(column, fmt::format("'{}': expected {}", word, expected));
        }
        return value;
    }

    void End() const {
        if (!AtEnd()) {
            Fail(fmt::format("'{}': expected the end of the line", line_.substr(at_, 20)));
        }
    }

    // Does something that may find a record wrong.
    template <class Work>
    auto Checked(Work work) const {
        try {
            return work();
        } catch (const StreamError& error) {
            Fail(1, error.what());
        }
    }

  private:
    void SkipBlanks() {
        while (at_ < line_.size() && IsBlank(line_[at_])) {
            ++at_;
        }
    }

    std::string_view line_;
    size_t number_;
    size_t at_ = 0;
};

namespace {

template <class Reader>
board::Timing ReadTimingOf(Reader& reader) {
    board::Timing timing;
    for (const TimingNumber& row : kTimingNumbers) {
        timing.*row.number = reader.Named32(row.name);
    }
    reader.Checked([&] {
        ByteWriter bytes;
        WriteTiming(bytes, timing);
        ByteReader back(bytes.Bytes());
        return ReadTiming(back);
    });
    return timing;
}

// The place of a word among some.
template <class Reader, size_t Count>
uint32_t OneOf(Reader& reader, const char* const (&words)[Count]) {
    const size_t column = reader.Column();
    const std::string_view word = reader.Word();
    const auto found = std::ranges::find(words, word);
    if (found == std::end(words)) {
        std::string expected;
        for (const char* one : words) {
            expected += expected.empty() ? "" : ", ";
            expected += one;
        }
        reader.Fail(column, fmt::format("'{}': expected one of {}", word, expected));
    }
    return static_cast<uint32_t>(found - words);
}

} // namespace

void CaptureAssembler::Line(std::string_view line) {
    ++line_;
    Reader reader(line, line_);
    if (reader.AtEnd()) {
        assembler_.Line({});
        return;
    }
    const char first = reader.Peek();
    if (first == line_word::kBytes || first == line_word::kRepeat) {
        assembler_.Line({});
        if (!waiting_) {
            reader.Fail("bytes, but the line before is no event that has some");
        }
        first == line_word::kBytes ? ReadBytes(reader) : ReadRepeat(reader);
        return;
    }
    if (waiting_) {
        reader.Fail(fmt::format("expected {} more bytes of the event before",
                                waitingBytes_ - bytes_.size()));
    }
    if (OwnLine(reader)) {
        assembler_.Line({});
        begun_ = true;
        return;
    }
    begun_ = true;
    const size_t begin = reader.Column() - 1;
    const bool alone = line.size() == begin + 1 || IsBlank(line[begin + 1]);
    ticked_ = alone && (first == 'R' || first == 'W' || first == 'F');
    if (ticked_) {
        std::string lower(line);
        lower[begin] = static_cast<char>(first - 'A' + 'a');
        assembler_.Line(lower);
    } else {
        assembler_.Line(line);
    }
    ticked_ = false;
}

void CaptureAssembler::End() {
    if (waiting_) {
        throw AssembleError(line_ + 1, 1,
                            fmt::format("the text ends here: expected {} more bytes of the last "
                                        "event",
                                        waitingBytes_ - bytes_.size()));
    }
}

// Lines that only captures have. False: it is none.
bool CaptureAssembler::OwnLine(Reader& reader) {
    Reader ahead = reader;
    const std::string_view word = ahead.Word();
    Event event;
    const auto take = [&](EventKind kind) {
        event.kind = kind;
        reader = ahead;
    };
    if (word == line_word::kBoard) {
        ReadBoard(ahead);
    } else if (word == line_word::kMark) {
        ReadMark(ahead);
    } else if (word == line_word::kDma) {
        address_.Set(ahead.Hex("a bus address in hex"));
        ahead.End();
    } else if (word == line_word::kTicks || word == line_word::kClock) {
        const bool ticks = word == line_word::kTicks;
        event.value = ahead.Word32(word, ticks ? format::kMostTicks : format::kMostMicroseconds);
        ahead.End();
        take(ticks ? EventKind::Ticks : EventKind::Clock);
        Send(event);
    } else if (word == line_word::kTiming) {
        const board::Timing timing = ReadTimingOf(ahead);
        ahead.End();
        take(EventKind::Timing);
        event.timing = &timing;
        Send(event);
    } else if (word == line_word::kVideoSource) {
        board::VideoSignal signal;
        if (!ahead.AtEnd()) {
            for (const SignalNumber& row : kSignalNumbers) {
                signal.*row.number = ahead.Named32(row.name);
            }
            signal.lineReferenceHigh = ahead.Named("lineReferenceHigh", 1) != 0;
            signal.fieldReferenceHigh = ahead.Named("fieldReferenceHigh", 1) != 0;
            ahead.End();
            ahead.Checked([&] {
                ByteWriter bytes;
                WriteSignal(bytes, signal);
                ByteReader back(bytes.Bytes());
                return ReadSignal(back);
            });
            event.signal = &signal;
        }
        take(EventKind::VideoSource);
        Send(event);
    } else if (word == line_word::kVideoLine) {
        event.field = ahead.Named("field", ~uint64_t{0});
        event.offset = ahead.Named32("line");
        const uint32_t pixels = ahead.Named32("pixels", format::kMostLinePixels);
        ahead.End();
        take(EventKind::VideoLine);
        Expect(event, uint64_t{pixels} * 2);
    } else if (word == line_word::kHostMemory) {
        event.offset = ahead.Named32("address");
        event.value = ahead.Named32("bytes", format::kMostMemoryBytes);
        ahead.End();
        take(EventKind::HostMemory);
        Send(event);
    } else if (word == line_word::kStore) {
        event.memory = static_cast<Memory>(OneOf(ahead, kMemoryWords));
        event.offset = ahead.Named32("offset");
        const uint32_t bytes = ahead.Named32("bytes", format::kMostStoreBytes);
        ahead.End();
        take(EventKind::Store);
        Expect(event, bytes);
    } else if (word == line_word::kState) {
        const uint32_t bytes = ahead.Named32("bytes", format::kMostChunkBytes);
        ahead.End();
        take(EventKind::State);
        Expect(event, bytes);
    } else {
        static constexpr struct {
            std::string_view word;
            EventKind kind;
        } kBare[] = {{line_word::kDmaFault, EventKind::DmaFault},
                     {line_word::kUnits, EventKind::Units},
                     {line_word::kInterrupt, EventKind::Interrupt},
                     {line_word::kInterruptEnd, EventKind::InterruptEnd}};
        const auto found =
            std::ranges::find_if(kBare, [&](const auto& row) { return row.word == word; });
        if (found == std::end(kBare)) {
            return false;
        }
        ahead.End();
        take(found->kind);
        Send(event);
    }
    return true;
}

void CaptureAssembler::ReadBoard(Reader& reader) {
    if (begun_) {
        reader.Fail(1, "expected the board before everything else");
    }
    board::Config board;
    const auto name = [&](const char* expected) {
        const size_t column = reader.Column();
        if (reader.Text(expected) != expected) {
            reader.Fail(column, fmt::format("expected {}=", expected));
        }
        reader.Equals(expected);
    };
    name("chip");
    board.chip = static_cast<board::Chip>(OneOf(reader, kChipWords));
    board.setupUnit = reader.Named("setupUnit", 1) != 0;
    for (const ConfigNumber& row : kConfigNumbers) {
        board.*row.number = reader.Named32(row.name);
    }
    board.timing = ReadTimingOf(reader);
    name("maker");
    const std::string maker = reader.Text("a text");
    reader.End();
    reader.Checked([&] {
        ByteWriter bytes;
        WriteConfig(bytes, board);
        ByteReader back(bytes.Bytes());
        return ReadConfig(back);
    });
    assembler_.SetChip(board.chip);
    out_.OnBoard(board, maker);
}

void CaptureAssembler::ReadMark(Reader& reader) {
    const size_t column = reader.Column();
    const std::string word(reader.Word());
    uint32_t kind = 1;
    while (NameOf(static_cast<MarkKind>(kind)) != nullptr &&
           WordOf(static_cast<MarkKind>(kind)) != word) {
        ++kind;
    }
    if (NameOf(static_cast<MarkKind>(kind)) == nullptr) {
        Reader number = Reader(word, line_);
        if (word.empty() || !HexDigit(word[0]) || word[0] > '9') {
            reader.Fail(column, fmt::format("'{}': expected a kind of mark", word));
        }
        kind = number.Word32("a kind of mark");
    }
    Mark mark(static_cast<MarkKind>(kind));
    // A name stands alone; a field has '=' behind it.
    while (!reader.AtEnd()) {
        const size_t place = reader.Column();
        const bool quoted = reader.Peek() == '"';
        std::string text = reader.Text("a name or a field");
        if (reader.Peek() != '=') {
            if (!quoted || !mark.name.empty() || !mark.fields.empty()) {
                reader.Fail(place, fmt::format("'{}': expected FIELD=VALUE", text));
            }
            mark.name = std::move(text);
            continue;
        }
        reader.Equals(text);
        if (reader.Peek() == '"') {
            mark.Add(std::move(text), reader.Quoted());
        } else {
            mark.Add(text, reader.Whole<int64_t>(text, std::numeric_limits<int64_t>::min(),
                                                 std::numeric_limits<int64_t>::max()));
        }
    }
    Event event;
    event.mark = &mark;
    Send(event);
}

// Bytes of this event follow in lines of their own.
void CaptureAssembler::Expect(const Event& event, uint64_t bytes) {
    waiting_ = event;
    waitingBytes_ = static_cast<size_t>(bytes);
    lastLineBytes_ = 0;
    bytes_.clear();
    FinishBytes();
}

void CaptureAssembler::ReadBytes(Reader& reader) {
    const size_t begin = reader.Column();
    const std::string_view dot = reader.Word();
    if (dot.size() != 1) {
        reader.Fail(begin, "expected '.' and bytes in hex");
    }
    const size_t column = reader.Column();
    const std::string_view digits = reader.Word();
    reader.End();
    if (digits.empty() || digits.size() % 2 != 0 ||
        !std::ranges::all_of(digits, [](char c) { return HexDigit(c).has_value(); })) {
        reader.Fail(column, "expected bytes of two hex digits each");
    }
    if (digits.size() / 2 > waitingBytes_ - bytes_.size()) {
        reader.Fail(column, fmt::format("expected {} more bytes, and no more of them",
                                        waitingBytes_ - bytes_.size()));
    }
    for (size_t i = 0; i < digits.size(); i += 2) {
        bytes_.push_back(
            static_cast<uint8_t>(*HexDigit(digits[i]) << 4 | *HexDigit(digits[i + 1])));
    }
    lastLineBytes_ = digits.size() / 2;
    FinishBytes();
}

void CaptureAssembler::ReadRepeat(Reader& reader) {
    reader.Word();
    const size_t column = reader.Column();
    if (lastLineBytes_ == 0) {
        reader.Fail(column, "expected a line of bytes before one that repeats it");
    }
    const auto most = static_cast<uint32_t>((waitingBytes_ - bytes_.size()) / lastLineBytes_);
    const uint32_t times = reader.Word32("the number of times", most);
    reader.End();
    bytes_.reserve(bytes_.size() + times * lastLineBytes_);
    for (size_t left = times * lastLineBytes_; left != 0; --left) {
        bytes_.push_back(bytes_[bytes_.size() - lastLineBytes_]);
    }
    FinishBytes();
}

void CaptureAssembler::FinishBytes() {
    if (bytes_.size() != waitingBytes_) {
        return;
    }
    Event event = *waiting_;
    waiting_.reset();
    if (event.kind == EventKind::VideoLine) {
        pixels_.clear();
        for (size_t i = 0; i < bytes_.size(); i += 2) {
            pixels_.push_back(static_cast<uint16_t>(bytes_[i] | bytes_[i + 1] << 8));
        }
        event.pixels = pixels_;
    } else {
        event.bytes = bytes_;
    }
    Send(event);
}

void CaptureAssembler::Send(const Event& event) {
    ++others_;
    Give(event);
}

void CaptureAssembler::Give(const Event& event) {
    try {
        out_.OnEvent(event);
    } catch (const StreamError& error) {
        throw AssembleError(line_, 1, error.what());
    }
}

void CaptureAssembler::SendAccess(EventKind kind, uint32_t offset, uint32_t value) {
    Event event;
    event.kind = kind;
    event.ticked = ticked_;
    event.offset = offset;
    event.value = value;
    address_.Pass(event);
    Give(event);
}

void CaptureAssembler::OnRead(uint32_t offset, uint32_t value) {
    SendAccess(EventKind::Read, offset, value);
}

void CaptureAssembler::OnWrite(uint32_t offset, uint32_t value) {
    SendAccess(EventKind::Write, offset, value);
}

void CaptureAssembler::OnFifoWord(uint32_t word) {
    SendAccess(EventKind::FifoWord, 0, word);
}

void CaptureAssembler::OnDmaWord(uint32_t word) {
    SendAccess(EventKind::DmaWord, address_.Next(), word);
}

} // namespace stream
