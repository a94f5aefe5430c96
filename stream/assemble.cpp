#include "stream/assemble.h"

#include "board/values/register_names.h"
#include "chip/register_table.h"
#include "chip/words.h"
#include "stream/explain.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <unordered_map>
#include <utility>

namespace stream {

namespace {

constexpr uint32_t kLongestHold = 0x10000;
constexpr uint32_t kGroupMask = 0xF;
constexpr const char* kRest = "rest";

// Up to eight hex digits without a prefix.
std::optional<uint32_t> HexOf(std::string_view text) {
    uint32_t value{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value, 16);
    const bool whole = error == std::errc() && end == text.data() + text.size();
    return whole && text.size() <= 8 ? std::optional(value) : std::nullopt;
}

const Register* RegisterOf(std::string_view name) {
    static const std::unordered_map<std::string_view, const Register*> kByName = [] {
        std::unordered_map<std::string_view, const Register*> map;
        for (const Register& entry : kRegisters) {
            map.emplace(entry.name, &entry);
        }
        return map;
    }();
    const auto found = kByName.find(name);
    return found != kByName.end() ? found->second : nullptr;
}

std::vector<std::string> RegisterNames(bool stream) {
    std::vector<std::string> names;
    for (const Register& entry : kRegisters) {
        if (entry.HasTag() || !stream) {
            names.emplace_back(entry.name);
        }
    }
    return names;
}

bool IsMapped(uint32_t offset) {
    return offset >= reg::MappedRegisters && offset < reg::ApertureBytes && offset % 8 == 0;
}

uint32_t TagOf(uint32_t offset) {
    return (offset - reg::MappedRegisters) / 8;
}

} // namespace

// One line. Words are gathered first and sent when all of it has been understood.
class Assembler::Statement {
  public:
    Statement(Assembler& owner, std::string_view line)
        : owner_(owner), tokens_(TokensOf(line)),
          lineEnd_(tokens_.empty() ? 1 : tokens_.back().column + tokens_.back().text.size()),
          decoder_(owner.decoder_) {}

    void Run() {
        if (tokens_.empty()) {
            return;
        }
        char carrier = 'f';
        const std::string_view first = tokens_[0].text;
        const bool named =
            first.size() != 1 || std::string_view("rwfd").find(first[0]) == std::string_view::npos;
        if (!named) {
            carrier = first[0];
            ++at_;
        }
        const bool access = carrier == 'r' || carrier == 'w';
        if (!named && at_ < tokens_.size() && HexOf(tokens_[at_].text)) {
            access ? RawAccess(carrier) : RawWord();
        } else {
            access ? NamedAccess(carrier) : NamedWords();
        }
        for (const uint32_t word : words_) {
            owner_.Word(carrier, word);
        }
    }

  private:
    struct Token {
        std::string_view text;
        size_t column; // from 1
    };

    static std::vector<Token> TokensOf(std::string_view line) {
        constexpr std::string_view kBlanks = " \t\r";
        constexpr std::string_view kMarks = "={},";
        std::vector<Token> tokens;
        tokens.reserve(8); // most lines have fewer
        line = line.substr(0, line.find(';'));
        size_t at = line.find_first_not_of(kBlanks);
        while (at < line.size()) {
            size_t end = at + 1;
            if (kMarks.find(line[at]) == std::string_view::npos) {
                end = std::min(line.find_first_of(" \t\r={},", at), line.size());
            }
            tokens.push_back({line.substr(at, end - at), at + 1});
            at = line.find_first_not_of(kBlanks, end);
        }
        return tokens;
    }

    [[noreturn]] void Fail(const Token& token, const std::string& problem,
                           const std::string& given = {}, std::vector<std::string> names = {}) {
        throw AssembleError(owner_.line_, token.column, problem, given, std::move(names));
    }

    bool AtEnd() const { return at_ == tokens_.size(); }
    bool Sees(std::string_view mark) const { return !AtEnd() && tokens_[at_].text == mark; }

    Token Next(std::string_view expected) {
        if (AtEnd()) {
            Fail({{}, lineEnd_}, fmt::format("the line ends here: expected {}", expected));
        }
        return tokens_[at_++];
    }

    bool Take(std::string_view mark) {
        const bool sees = Sees(mark);
        at_ += sees ? 1 : 0;
        return sees;
    }

    void Expect(std::string_view mark, std::string_view expected) {
        const Token token = Next(expected);
        if (token.text != mark) {
            Fail(token, fmt::format("'{}': expected {}", token.text, expected));
        }
    }

    void ExpectEnd() {
        if (!AtEnd()) {
            Fail(tokens_[at_],
                 fmt::format("'{}': expected the end of the line", tokens_[at_].text));
        }
    }

    uint32_t Hex(std::string_view expected, uint32_t most) {
        const Token token = Next(expected);
        const auto value = HexOf(token.text);
        if (!value || *value > most) {
            Fail(token, fmt::format("'{}': expected {}", token.text, expected));
        }
        return *value;
    }

    void RawWord() {
        words_.push_back(Hex("a word in hex", 0xFFFFFFFF));
        ExpectEnd();
    }

    void RawAccess(char carrier) {
        const uint32_t offset = Hex("an offset in hex", 0xFFFFFFFF);
        const uint32_t value = Hex("a value of up to eight hex digits", 0xFFFFFFFF);
        if (!AtEnd()) {
            const Token first = tokens_[at_];
            std::string name;
            while (!AtEnd()) {
                name += name.empty() ? "" : " ";
                name += tokens_[at_++].text;
            }
            if (name != board::OffsetName(offset)) {
                Fail(first, fmt::format("'{}': expected {}, which is at offset {:04X}", name,
                                        board::OffsetName(offset), offset));
            }
        }
        owner_.Access(carrier, offset, value);
    }

    // A register by name: its byte offset. `stream`: one that has a tag.
    uint32_t Place(bool stream) {
        const Token token = Next(stream ? "a register of the stream" : "a register");
        if (token.text == "tag") {
            return MappedOffset(Hex("a tag from 0 to 3FF in hex", kTagMask));
        }
        if (token.text == "offset" && !stream) {
            return Hex("an offset in hex", 0xFFFFFFFF);
        }
        const size_t plus = token.text.find('+');
        const Register* entry = RegisterOf(token.text.substr(0, plus));
        if (entry == nullptr) {
            Fail(token, fmt::format("unknown register '{}'", token.text), std::string(token.text),
                 RegisterNames(stream));
        }
        uint32_t offset = entry->offset;
        if (plus != std::string_view::npos) {
            offset += Distance(token, *entry, token.text.substr(plus + 1));
        }
        if (stream && !IsMapped(offset)) {
            Fail(token, fmt::format("{} is no register of the stream: 'w {} = ...' writes it",
                                    entry->name, entry->name));
        }
        return offset;
    }

    // Bytes from a register to the one that NAME+NUMBER means: registers of the vertex store count
    // in decimal, places in the FIFO window in hex.
    uint32_t Distance(const Token& token, const Register& entry, std::string_view digits) {
        if (entry.use == Use::Vertex) {
            uint32_t number{};
            const char* end = digits.data() + digits.size();
            const auto [stop, error] = std::from_chars(digits.data(), end, number);
            if (error == std::errc() && stop == end && number <= kGroupMask) {
                return number * 8;
            }
            Fail(token, fmt::format("'{}': expected a register from +0 to +15", token.text));
        }
        if (entry.offset != reg::FIFOWindow) {
            Fail(token,
                 fmt::format("'{}': expected {} alone, which is no group", token.text, entry.name));
        }
        const auto place = HexOf(digits);
        if (!place || *place >= reg::FIFOPageBytes) {
            Fail(token, fmt::format("'{}': expected a place from +0 to +FFF", token.text));
        }
        return *place;
    }

    uint32_t Value(const ValueKind& kind, uint32_t width, const std::string& of) {
        const Token token = Next("a value of " + of);
        try {
            return ParseValue(token.text, kind, width, owner_.reading_);
        } catch (const ValueError& error) {
            const bool aName = !error.names.empty() && !HexOf(token.text) &&
                               !token.text.starts_with('-') && !token.text.starts_with("0x");
            Fail(token,
                 fmt::format("bad value '{}' of {}: expected {}", token.text, of, error.expected),
                 aName ? std::string(token.text) : std::string(), error.names);
        }
    }

    // The unit behind a value, which may be left out.
    void TakeUnit(const ValueKind& kind, const std::string& of) {
        if (AtEnd() || Sees("=") || Sees(",")) {
            return;
        }
        const Token token = tokens_[at_];
        if (*kind.unit == '\0') {
            Fail(token,
                 fmt::format("'{}': expected the end of the line, {} has no unit", token.text, of));
        }
        if (token.text != kind.unit) {
            Fail(token, fmt::format("'{}': {} counts in {}", token.text, of, kind.unit));
        }
        ++at_;
    }

    // FIELD=VALUE ..., into `word`.
    void Fields(const WordForm& form, const std::string& of, uint32_t& word) {
        uint32_t given = 0;
        while (!AtEnd()) {
            const Token name = Next("a field");
            const auto field = std::ranges::find(form.fields, name.text, &FieldRow::name);
            if (field == form.fields.end() && name.text != kRest) {
                std::vector<std::string> names{kRest};
                for (const FieldRow& one : form.fields) {
                    names.emplace_back(one.name);
                }
                Fail(name, fmt::format("unknown field '{}' of {}", name.text, of),
                     std::string(name.text), std::move(names));
            }
            const std::string title = fmt::format("{} {}", of, name.text);
            Expect("=", fmt::format("'=' and a value of {}", title));
            uint32_t mask;
            uint32_t bits;
            if (field != form.fields.end()) {
                mask = field->Mask();
                bits = Value(*field->kind, field->width, title) << field->low;
            } else {
                mask = RestOf(form, 0xFFFFFFFF);
                bits = Value(kind::Bits, 32, title);
                if ((bits & ~mask) != 0) {
                    Fail(name,
                         fmt::format("rest=0x{:X} has bits of fields: expected some of 0x{:X}",
                                     bits, mask));
                }
            }
            if ((given & mask) != 0) {
                Fail(name, fmt::format("{} is given twice", title));
            }
            given |= mask;
            word = (word & ~mask) | bits;
        }
    }

    // What stands behind a register: one value, or fields.
    uint32_t Meaning(uint32_t offset, const std::string& of) {
        const WordForm form = FormOf(offset);
        uint32_t word = 0;
        if (Take("=")) {
            word = Value(*form.kind, 32, of);
            if (form.fields.empty()) {
                TakeUnit(*form.kind, of);
                return word;
            }
        } else if (form.fields.empty()) {
            const Token token = Next(fmt::format("'=' and a value of {}", of));
            Fail(token, fmt::format("'{}': expected '=' and a value, as {} has no fields",
                                    token.text, of));
        } else if (AtEnd()) {
            Next(fmt::format("'=' and a value, or fields of {}", of));
        }
        Fields(form, of, word);
        return word;
    }

    void NamedAccess(char carrier) {
        const uint32_t offset = Place(false);
        const uint32_t value = Meaning(offset, board::OffsetName(offset));
        ExpectEnd();
        owner_.Access(carrier, offset, value);
    }

    void NamedWords() {
        const Token first = AtEnd() ? Token{{}, lineEnd_} : tokens_[at_];
        if (Sees("{")) {
            Indexed(first);
            return;
        }
        const uint32_t number = TagOf(Place(true));
        const std::string name = board::TagName(number);
        if (AtEnd()) {
            TagWord(first, number);
        } else if (const auto count = HoldCount(tokens_[at_])) {
            ++at_;
            ExpectEnd();
            TagWord(first, HoldTag(number, *count));
        } else {
            Pairs(first, number, name);
        }
    }

    // NAME xCOUNT: the tag word of a hold burst.
    std::optional<uint32_t> HoldCount(const Token& token) {
        uint32_t count{};
        const char* end = token.text.data() + token.text.size();
        if (token.text.size() < 2 || token.text[0] != 'x' || token.text[1] < '0' ||
            token.text[1] > '9') {
            return {};
        }
        const auto [stop, error] = std::from_chars(token.text.data() + 1, end, count);
        if (error != std::errc() || stop != end || count < 1 || count > kLongestHold) {
            Fail(token, fmt::format("'{}': expected x1 to x{}", token.text, kLongestHold));
        }
        return count;
    }

    void TagWord(const Token& token, uint32_t word) {
        if (decoder_.ExpectsData()) {
            Fail(token,
                 fmt::format("a tag word, but the burst before waits for data of {}: expected "
                             "'{} ...' or a word in hex",
                             board::TagName(decoder_.NextRegister()),
                             board::TagName(decoder_.NextRegister())));
        }
        Send(word);
    }

    // Data of a register: the burst's that waits for it, else with a tag word in front.
    void Pairs(const Token& token, uint32_t number, const std::string& name) {
        std::vector<uint32_t> data{Meaning(MappedOffset(number), name)};
        const WordForm form = FormOf(MappedOffset(number));
        while (Take(",")) {
            data.push_back(Value(*form.kind, 32, name));
            TakeUnit(*form.kind, name);
        }
        ExpectEnd();
        if (!decoder_.ExpectsData()) {
            if (data.size() > kLongestHold) {
                Fail(token,
                     fmt::format("{} values: expected at most {}", data.size(), kLongestHold));
            }
            Send(HoldTag(number, static_cast<uint32_t>(data.size())));
        }
        for (const uint32_t word : data) {
            Data(token, number, word);
        }
    }

    void Data(const Token& token, uint32_t number, uint32_t word) {
        if (!decoder_.ExpectsData() || decoder_.NextRegister() != number) {
            Fail(token,
                 decoder_.ExpectsData()
                     ? fmt::format("data of {}, but the burst before waits for {}",
                                   board::TagName(number), board::TagName(decoder_.NextRegister()))
                     : fmt::format("more data of {} than the burst before has",
                                   board::TagName(number)));
        }
        Send(word);
    }

    // {NAME, NAME, ...}, with values behind it or without.
    void Indexed(const Token& first) {
        Take("{");
        std::vector<uint32_t> numbers;
        uint32_t mask = 0;
        do {
            const Token token = AtEnd() ? first : tokens_[at_];
            const uint32_t number = TagOf(Place(true));
            if (!numbers.empty() && (number & ~kGroupMask) != (numbers[0] & ~kGroupMask)) {
                Fail(token, fmt::format("{} and {} are not in one group of 16 tags",
                                        board::TagName(number), board::TagName(numbers[0])));
            }
            if (!numbers.empty() && number <= numbers.back()) {
                Fail(token, fmt::format("{} stands behind {}: expected ascending tags",
                                        board::TagName(number), board::TagName(numbers.back())));
            }
            numbers.push_back(number);
            mask |= 1u << (number & kGroupMask);
        } while (Take(","));
        Expect("}", "',' or '}'");
        std::vector<uint32_t> data;
        if (Take("=")) {
            for (const uint32_t number : numbers) {
                if (!data.empty()) {
                    Expect(",", fmt::format("',' and a value of {}", board::TagName(number)));
                }
                const ValueKind& kind = *FormOf(MappedOffset(number)).kind;
                data.push_back(Value(kind, 32, board::TagName(number)));
                TakeUnit(kind, board::TagName(number));
            }
        }
        ExpectEnd();
        TagWord(first, IndexedTag(numbers[0] & ~kGroupMask, mask));
        for (const uint32_t word : data) {
            Send(word);
        }
    }

    void Send(uint32_t word) {
        board::RegisterWrite ignored{};
        decoder_.Feed(word, ignored);
        words_.push_back(word);
    }

    Assembler& owner_;
    std::vector<Token> tokens_;
    size_t lineEnd_; // column behind the line's last token
    size_t at_ = 0;
    board::StreamDecoder decoder_; // as the words of this line leave it
    std::vector<uint32_t> words_;
};

void Assembler::Line(std::string_view line) {
    ++line_;
    Statement(*this, line).Run();
}

void Assembler::Access(char carrier, uint32_t offset, uint32_t value) {
    ++accesses_;
    if (carrier == 'r') {
        out_.OnRead(offset, value);
        return;
    }
    FollowWrite(reading_, offset, value);
    out_.OnWrite(offset, value);
}

void Assembler::Word(char carrier, uint32_t word) {
    ++words_;
    board::RegisterWrite write{};
    if (decoder_.Feed(word, write) == board::StreamDecoder::Kind::Data) {
        FollowWrite(reading_, MappedOffset(write.tag), write.data);
    }
    carrier == 'd' ? out_.OnDmaWord(word) : out_.OnFifoWord(word);
}

} // namespace stream
