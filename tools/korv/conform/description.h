#pragma once
// Descriptions of cases, taken apart; docs/conformance.md tells the format.
#include <cstddef>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace korv::conform {

// A line that is wrong: `what()` begins with file and line.
struct DescriptionError : std::runtime_error {
    DescriptionError(const std::string& file, size_t line, const std::string& problem)
        : std::runtime_error(file + ":" + std::to_string(line) + ": " + problem) {}
};

struct DescribedLine {
    size_t number = 0;              // in its file, from 1
    std::vector<std::string> chips; // that it is for; none: all
    std::string text;               // without them, blanks and comments
};

// A parameter that a case is repeated for.
struct Variants {
    DescribedLine line;
    std::vector<std::string> names;
    struct Choice {
        std::string label;
        std::vector<std::string> values; // one a name
    };
    std::vector<Choice> choices;
};

struct Macro {
    std::string name;
    std::vector<std::string> parameters;
    std::vector<DescribedLine> body;
};

struct DescribedCase {
    size_t line = 0;
    std::string name;
    std::vector<std::string> chips;
    std::vector<Variants> variants;
    std::string known, deduced;
    std::vector<DescribedLine> body;
};

struct Description {
    std::string file;
    std::string unit, about; // no unit: macros for all
    std::vector<Macro> macros;
    std::vector<DescribedCase> cases;
};

// DescriptionError for what is none.
Description ParseDescription(const std::string& file, std::string_view text);

// Words between blanks.
std::vector<std::string> WordsOf(std::string_view line);

} // namespace korv::conform
