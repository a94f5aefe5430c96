#include "web/module/float_text.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

namespace float_text {

namespace {

float Convert(const char* text, char** end, float) {
    return std::strtof(text, end);
}
double Convert(const char* text, char** end, double) {
    return std::strtod(text, end);
}

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

// What of [first, last) is a number in decimal digits, a sign in front and an exponent behind: its
// end, or `first`.
const char* EndOfNumber(const char* first, const char* last) {
    const char* at = first;
    if (at != last && *at == '-') {
        ++at;
    }
    const char* const digits = at;
    at = std::find_if_not(at, last, IsDigit);
    size_t count = static_cast<size_t>(at - digits);
    if (at != last && *at == '.') {
        const char* const fraction = at + 1;
        at = std::find_if_not(fraction, last, IsDigit);
        count += static_cast<size_t>(at - fraction);
    }
    if (count == 0) {
        return first;
    }
    if (at != last && (*at == 'e' || *at == 'E')) {
        const char* exponent = at + 1;
        if (exponent != last && (*exponent == '-' || *exponent == '+')) {
            ++exponent;
        }
        const char* const end = std::find_if_not(exponent, last, IsDigit);
        at = end != exponent ? end : at;
    }
    return at;
}

// "inf", "infinity", "nan" and "nan(LETTERS)", a minus sign in front, in letters of either size.
const char* EndOfWord(const char* first, const char* last) {
    const char* const at = first != last && *first == '-' ? first + 1 : first;
    const auto begins = [&](const char* word) {
        const auto length = static_cast<std::ptrdiff_t>(std::strlen(word));
        return last - at >= length &&
               std::equal(word, word + length, at, [](char a, char b) { return a == (b | 0x20); });
    };
    if (begins("infinity")) {
        return at + 8;
    }
    if (begins("inf")) {
        return at + 3;
    }
    if (!begins("nan")) {
        return first;
    }
    const char* end = at + 3;
    if (end != last && *end == '(') {
        const char* const close = std::find_if_not(end + 1, last, [](char c) {
            return IsDigit(c) || c == '_' || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
        });
        end = close != last && *close == ')' ? close + 1 : end;
    }
    return end;
}

template <class Number>
std::from_chars_result ParseAs(const char* first, const char* last, Number& value) {
    const char* end = EndOfNumber(first, last);
    if (end == first) {
        end = EndOfWord(first, last);
    }
    if (end == first) {
        return {first, std::errc::invalid_argument};
    }
    const std::string text(first, end);
    errno = 0;
    const Number read = Convert(text.c_str(), nullptr, Number{});
    // Denormals are no error.
    if (errno == ERANGE && (read == 0 || std::isinf(read))) {
        return {end, std::errc::result_out_of_range};
    }
    value = read;
    return {end, std::errc{}};
}

// The fewest digits, as "d.ddde-xx".
std::string Scientific(float value) {
    constexpr int kMostDigits = 9;
    char text[32];
    for (int digits = 0; digits < kMostDigits; ++digits) {
        std::snprintf(text, sizeof text, "%.*e", digits, static_cast<double>(value));
        if (std::strtof(text, nullptr) == value) {
            break;
        }
    }
    return text;
}

// The same digits without an exponent; behind a whole number's last digit those that it has.
std::string Fixed(float value, const std::string& scientific) {
    const size_t e = scientific.find('e');
    const int exponent = std::atoi(scientific.c_str() + e + 1);
    const size_t point = scientific.find('.');
    const int decimals = point < e ? static_cast<int>(e - point) - 1 : 0;
    char text[80];
    std::snprintf(text, sizeof text, "%.*f", std::max(decimals - exponent, 0),
                  static_cast<double>(value));
    return text;
}

} // namespace

std::from_chars_result Parse(const char* first, const char* last, double& value) {
    return ParseAs(first, last, value);
}

std::from_chars_result Parse(const char* first, const char* last, float& value) {
    return ParseAs(first, last, value);
}

std::to_chars_result Write(char* first, char* last, float value) {
    std::string text;
    if (std::isnan(value)) {
        text = std::signbit(value) ? "-nan" : "nan";
    } else if (std::isinf(value)) {
        text = value < 0 ? "-inf" : "inf";
    } else {
        const std::string scientific = Scientific(value), fixed = Fixed(value, scientific);
        text = fixed.size() <= scientific.size() ? fixed : scientific;
    }
    if (static_cast<std::ptrdiff_t>(text.size()) > last - first) {
        return {last, std::errc::value_too_large};
    }
    return {std::copy(text.begin(), text.end(), first), std::errc{}};
}

} // namespace float_text
