#include "stream/fixed_text.h"

#include <charconv>
#include <iterator>

namespace stream {

namespace {

constexpr size_t kMostDecimals = 18; // 10^18 and its double fit into 64 bits
constexpr uint64_t kTooLarge = uint64_t{1} << 32;

} // namespace

void AppendFixed(std::string& text, uint32_t magnitude, uint32_t places) {
    // All divisors are powers of two.
    const uint64_t one = uint64_t{1} << places;
    char digits[32];
    char* end = std::to_chars(std::begin(digits), std::end(digits),
                              static_cast<uint32_t>(uint64_t{magnitude} >> places))
                    .ptr;
    uint64_t rest = magnitude & (one - 1);
    if (rest != 0) {
        *end++ = '.';
    }
    // In halves of the last place: digits are made until what is left out is less than half of it
    // either way, so that the nearest multiple is the one that was written.
    const uint64_t whole = one * 2;
    const uint32_t wholeBits = places + 1;
    uint64_t half = 1;
    rest *= 2;
    bool more = rest != 0;
    while (more) {
        rest *= 10;
        half *= 10;
        auto digit = static_cast<char>('0' + (rest >> wholeBits));
        rest &= whole - 1;
        more = rest >= half && rest + half <= whole;
        if (!more) {
            digit = static_cast<char>(digit + (rest * 2 >= whole ? 1 : 0));
        }
        *end++ = digit;
    }
    text.append(digits, end);
}

std::optional<uint64_t> ParseFixed(std::string_view text, uint32_t places) {
    const size_t point = text.find('.');
    const std::string_view whole = text.substr(0, point);
    const std::string_view decimals =
        point == std::string_view::npos ? std::string_view{} : text.substr(point + 1);
    const bool pointAlone = point != std::string_view::npos && decimals.empty();
    if (whole.empty() || pointAlone || decimals.size() > kMostDecimals) {
        return {};
    }
    uint64_t value = 0;
    for (const char c : whole) {
        if (c < '0' || c > '9') {
            return {};
        }
        value = value * 10 + static_cast<uint64_t>(c - '0');
        if (value >= kTooLarge) {
            return {};
        }
    }
    uint64_t numerator = 0, denominator = 1;
    for (const char c : decimals) {
        if (c < '0' || c > '9') {
            return {};
        }
        numerator = numerator * 10 + static_cast<uint64_t>(c - '0');
        denominator *= 10;
    }
    // Bit by bit, so that nothing is rounded before the last place.
    if (places > 31 && value != 0) {
        return {};
    }
    for (uint32_t i = 0; i < places; ++i) {
        numerator *= 2;
        const bool bit = numerator >= denominator;
        numerator -= bit ? denominator : 0;
        value = value * 2 + (bit ? 1 : 0);
    }
    return value + (numerator * 2 >= denominator ? 1 : 0);
}

} // namespace stream
