#include "tools/korv/base/text.h"

#include <fmt/format.h>

#include <algorithm>
#include <numeric>
#include <utility>
#include <vector>

namespace korv {

namespace {

// The bytes of the character that `text` begins with, 0 for what is none or a control character.
size_t PrintableBytes(std::string_view text) {
    const auto byte = [&](size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned char first = byte(0);
    if (first < 0x80) {
        return first >= 0x20 && first != 0x7F;
    }
    const size_t length = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
    if (first < 0xC2 || first > 0xF4 || text.size() < length) {
        return 0;
    }
    for (size_t i = 1; i < length; ++i) {
        if ((byte(i) & 0xC0) != 0x80) {
            return 0;
        }
    }
    // Overlong forms, surrogates, what lies beyond Unicode, and the control characters from 0x80.
    const unsigned char second = byte(1);
    const bool none = (first == 0xE0 && second < 0xA0) || (first == 0xED && second >= 0xA0) ||
                      (first == 0xF0 && second < 0x90) || (first == 0xF4 && second >= 0x90) ||
                      (first == 0xC2 && second < 0xA0);
    return none ? 0 : length;
}

size_t Distance(std::string_view a, std::string_view b) {
    std::vector<size_t> row(b.size() + 1);
    std::iota(row.begin(), row.end(), 0);
    for (size_t i = 0; i < a.size(); ++i) {
        size_t diagonal = std::exchange(row[0], i + 1);
        for (size_t j = 0; j < b.size(); ++j) {
            const size_t replaced = diagonal + (a[i] != b[j]);
            diagonal = row[j + 1];
            row[j + 1] = std::min({replaced, row[j] + 1, diagonal + 1});
        }
    }
    return row.back();
}

} // namespace

std::string Printable(std::string_view text) {
    std::string shown;
    while (!text.empty()) {
        size_t bytes = PrintableBytes(text);
        if (bytes != 0) {
            shown += text.substr(0, bytes);
        } else {
            bytes = 1;
            const char c = text[0];
            shown += c == '\n'   ? "\\n"
                     : c == '\t' ? "\\t"
                     : c == '\r' ? "\\r"
                                 : fmt::format("\\x{:02X}", static_cast<unsigned char>(c));
        }
        text.remove_prefix(bytes);
    }
    return shown;
}

std::string Count(uint64_t number, std::string_view noun) {
    return fmt::format("{} {}{}", number, noun, number == 1 ? "" : "s");
}

std::string Nearest(std::string_view word, std::span<const std::string> names) {
    const auto nearest = std::ranges::min_element(
        names, {}, [&](const std::string& name) { return Distance(word, name); });
    return nearest == names.end() ? "" : *nearest;
}

} // namespace korv
