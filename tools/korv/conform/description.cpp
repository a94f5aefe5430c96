#include "tools/korv/conform/description.h"

#include <fmt/format.h>

#include <algorithm>

namespace korv::conform {

namespace {

constexpr std::string_view kBlanks = " \t\r";

std::string_view Trimmed(std::string_view text) {
    const size_t begin = text.find_first_not_of(kBlanks);
    if (begin == text.npos) {
        return {};
    }
    return text.substr(begin, text.find_last_not_of(kBlanks) - begin + 1);
}

std::vector<std::string> Split(std::string_view text, char separator) {
    std::vector<std::string> parts;
    while (true) {
        const size_t end = text.find(separator);
        parts.emplace_back(Trimmed(text.substr(0, end)));
        if (end == text.npos) {
            return parts;
        }
        text.remove_prefix(end + 1);
    }
}

// Letters, digits and dots of a value; what lies between them is one hyphen.
std::string LabelOf(std::string_view value) {
    std::string label = value.starts_with('-') ? "minus" : "";
    for (const char c : value) {
        if (std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '.') {
            label += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        } else if (!label.empty() && !label.ends_with('-')) {
            label += '-';
        }
    }
    return label.ends_with('-') ? label.substr(0, label.size() - 1) : label;
}

class Parser {
  public:
    Parser(const std::string& file, std::string_view text) : text_(text) {
        description_.file = file;
    }

    Description Parse() {
        while (NextLine()) {
            if (word_ == "unit") {
                Single(description_.unit);
            } else if (word_ == "about") {
                Append(description_.about);
            } else if (word_ == "macro") {
                ParseMacro();
            } else if (word_ == "case") {
                ParseCase();
            } else {
                Fail(
                    fmt::format("'{}' stands outside: expected unit, about, macro or case", word_));
            }
        }
        return std::move(description_);
    }

  private:
    [[noreturn]] void Fail(const std::string& problem) const {
        throw DescriptionError(description_.file, number_, problem);
    }

    // The next line with something on it.
    bool NextLine() {
        while (!text_.empty()) {
            const size_t end = text_.find('\n');
            std::string_view line = text_.substr(0, end);
            text_.remove_prefix(end == text_.npos ? text_.size() : end + 1);
            ++number_;
            line = Trimmed(line.substr(0, line.find(';')));
            if (line.empty()) {
                continue;
            }
            line_ = {number_, {}, {}};
            if (line.front() == '@') {
                const size_t blank = std::min(line.find_first_of(kBlanks), line.size());
                line_.chips = Split(line.substr(1, blank - 1), ',');
                line = Trimmed(line.substr(blank));
            }
            line_.text = line;
            word_ = line.substr(0, line.find_first_of(kBlanks));
            rest_ = Trimmed(line.substr(word_.size()));
            return true;
        }
        return false;
    }

    void Single(std::string& to) const {
        if (!to.empty() || rest_.empty() || rest_.find(' ') != rest_.npos) {
            Fail(fmt::format("expected one name behind '{}', once", word_));
        }
        to = rest_;
    }
    void Append(std::string& to) const { to += (to.empty() ? "" : " ") + rest_; }

    void ParseMacro() {
        const std::vector<std::string> words = WordsOf(rest_);
        if (words.empty()) {
            Fail("a macro needs a name");
        }
        Macro macro{words.front(), {words.begin() + 1, words.end()}, {}};
        const size_t begin = number_;
        while (NextLine() && line_.text != "end") {
            macro.body.push_back(line_);
        }
        CheckEnd(begin);
        description_.macros.push_back(std::move(macro));
    }

    void ParseCase() {
        DescribedCase one;
        one.line = number_;
        Single(one.name);
        while (NextLine() && line_.text != "end") {
            if (word_ == "chips") {
                one.chips = WordsOf(rest_);
            } else if (word_ == "for") {
                one.variants.push_back(ParseVariants());
            } else if (word_ == "known") {
                Append(one.known);
            } else if (word_ == "deduced") {
                Append(one.deduced);
            } else {
                one.body.push_back(line_);
            }
        }
        CheckEnd(one.line);
        number_ = one.line;
        if (one.known.empty() && one.deduced.empty()) {
            Fail(fmt::format("'{}' tells neither what is known nor what is deduced", one.name));
        }
        if (one.chips.empty()) {
            Fail(fmt::format("'{}' names no chips", one.name));
        }
        number_ = line_.number;
        description_.cases.push_back(std::move(one));
    }

    void CheckEnd(size_t begin) {
        if (line_.text != "end") {
            number_ = begin;
            Fail("what begins here has no 'end'");
        }
    }

    // "for $A $B in LABEL: VALUE VALUE, VALUE VALUE"
    Variants ParseVariants() {
        const size_t in = rest_.find(" in ");
        if (in == rest_.npos) {
            Fail("expected 'for $NAME in VALUE, VALUE, ...'");
        }
        Variants variants{line_, WordsOf(rest_.substr(0, in)), {}};
        for (const std::string& item : Split(rest_.substr(in + 4), ',')) {
            const size_t colon = item.find(": ");
            const std::string value(
                Trimmed(colon == item.npos ? item : std::string_view(item).substr(colon + 1)));
            Variants::Choice choice;
            choice.values =
                variants.names.size() == 1 ? std::vector<std::string>{value} : WordsOf(value);
            if (choice.values.size() != variants.names.size()) {
                Fail(fmt::format("'{}' has not one value for each name", item));
            }
            choice.label = LabelOf(colon == item.npos ? value : item.substr(0, colon));
            variants.choices.push_back(std::move(choice));
        }
        return variants;
    }

    Description description_;
    std::string_view text_;
    size_t number_ = 0;
    DescribedLine line_;
    std::string word_, rest_;
};

} // namespace

std::vector<std::string> WordsOf(std::string_view line) {
    std::vector<std::string> words;
    while (true) {
        line = Trimmed(line);
        if (line.empty()) {
            return words;
        }
        const size_t end = std::min(line.find_first_of(kBlanks), line.size());
        words.emplace_back(line.substr(0, end));
        line.remove_prefix(end);
    }
}

Description ParseDescription(const std::string& file, std::string_view text) {
    return Parser(file, text).Parse();
}

} // namespace korv::conform
