// The OBJ reader takes what it can and guesses the rest; this finds what it would guess.
#include "tools/korv/model/obj.h"

#include <fmt/format.h>

#include <charconv>
#include <cmath>
#include <sstream>
#include <string_view>
#include <vector>

namespace korv {

namespace {

std::vector<std::string_view> Words(std::string_view line) {
    constexpr std::string_view kBlanks = " \t\r";
    std::vector<std::string_view> words;
    for (size_t at = line.find_first_not_of(kBlanks); at != line.npos;) {
        const size_t end = std::min(line.find_first_of(kBlanks, at), line.size());
        words.push_back(line.substr(at, end - at));
        at = line.find_first_not_of(kBlanks, end);
    }
    return words;
}

bool IsNumber(std::string_view word) {
    if (word.starts_with('+')) {
        word.remove_prefix(1);
    }
    double value = 0;
    const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), value);
    return error == std::errc() && end == word.data() + word.size() && std::isfinite(value);
}

struct Counts {
    long positions = 0, coordinates = 0, normals = 0;
};

// Empty when `count` elements have one of that number: 1 is the first, -1 the latest.
std::string CheckIndex(std::string_view word, long count, std::string_view element) {
    long index = 0;
    const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), index);
    if (error != std::errc() || end != word.data() + word.size() || index == 0) {
        return fmt::format("'{}' in a face, expected the number of a {}", word, element);
    }
    if (index > count || index < -count) {
        return fmt::format("face uses {} {}, but only {} came before it", element, index, count);
    }
    return {};
}

std::string CheckCorner(std::string_view corner, const Counts& counts) {
    const size_t slash = corner.find('/');
    std::string wrong = CheckIndex(corner.substr(0, slash), counts.positions, "vertex");
    if (!wrong.empty() || slash == corner.npos) {
        return wrong;
    }
    const std::string_view rest = corner.substr(slash + 1);
    const size_t second = rest.find('/');
    if (const auto coordinate = rest.substr(0, second); !coordinate.empty()) {
        wrong = CheckIndex(coordinate, counts.coordinates, "texture coordinate");
    }
    if (wrong.empty() && second != rest.npos) {
        wrong = CheckIndex(rest.substr(second + 1), counts.normals, "normal");
    }
    return wrong;
}

std::string CheckNumbers(const std::vector<std::string_view>& words, size_t least) {
    if (words.size() <= least) {
        return fmt::format("'{}' has {} numbers, expected {}", words[0], words.size() - 1, least);
    }
    for (size_t i = 1; i < words.size(); ++i) {
        if (!IsNumber(words[i])) {
            return fmt::format("'{}' after '{}', expected a number", words[i], words[0]);
        }
    }
    return {};
}

std::string CheckLine(const std::vector<std::string_view>& words, Counts& counts) {
    if (words[0] == "v") {
        ++counts.positions;
        return CheckNumbers(words, 3);
    }
    if (words[0] == "vn") {
        ++counts.normals;
        return CheckNumbers(words, 3);
    }
    if (words[0] == "vt") {
        ++counts.coordinates;
        return CheckNumbers(words, 1);
    }
    if (words[0] != "f") {
        return {};
    }
    if (words.size() < 4) {
        return fmt::format("face has {} corners, expected 3 or more", words.size() - 1);
    }
    for (size_t i = 1; i < words.size(); ++i) {
        if (std::string wrong = CheckCorner(words[i], counts); !wrong.empty()) {
            return wrong;
        }
    }
    return {};
}

} // namespace

std::string CheckObj(std::istream& text) {
    Counts counts;
    bool hasFace = false;
    long number = 0;
    for (std::string line; std::getline(text, line);) {
        ++number;
        if (line.find('\0') != line.npos) {
            return fmt::format("{}: not text, expected a Wavefront OBJ model", number);
        }
        const auto words = Words(std::string_view(line).substr(0, line.find('#')));
        if (words.empty()) {
            continue;
        }
        if (const std::string wrong = CheckLine(words, counts); !wrong.empty()) {
            return fmt::format("{}: {}", number, wrong);
        }
        hasFace |= words[0] == "f";
    }
    return hasFace ? "" : fmt::format("{}: no face ('f') in the file", number);
}

} // namespace korv
