#include "stream/value_text.h"

#include "board/values/register_names.h"
#include "stream/fixed_text.h"

#include <fmt/format.h>

#include <bit>
#include <charconv>
#include <cmath>
#include <limits>

namespace stream {

namespace {

constexpr uint32_t kLargestShift = 31;

constexpr uint32_t MaskOf(uint32_t width) {
    return width == 32 ? 0xFFFFFFFF : (1u << width) - 1;
}

// Two's complement of `width` bits.
constexpr int64_t SignedOf(uint32_t bits, uint32_t width) {
    const int64_t sign = int64_t{1} << (width - 1);
    return (int64_t{bits} ^ sign) - sign;
}

void AppendBits(std::string& text, uint32_t bits) {
    text += "0x";
    board::AppendHex(text, bits);
}

void AppendDecimal(std::string& text, int64_t value) {
    char digits[24];
    const auto end = std::to_chars(std::begin(digits), std::end(digits), value).ptr;
    text.append(digits, end);
}

void AppendCode(std::string& text, const ValueKind& kind, uint32_t bits) {
    for (const Code& code : kind.codes) {
        if (code.value == bits) {
            text += code.name;
            return;
        }
    }
    AppendDecimal(text, bits);
}

void AppendPower(std::string& text, uint32_t exponent) {
    if (exponent <= kLargestShift) {
        AppendDecimal(text, int64_t{1} << exponent);
    } else {
        text += "2^";
        AppendDecimal(text, exponent);
    }
}

void AppendSignedFixed(std::string& text, uint32_t bits, uint32_t places) {
    const int64_t value = SignedOf(bits, 32);
    if (value < 0) {
        text += '-';
    }
    AppendFixed(text, static_cast<uint32_t>(value < 0 ? -value : value), places);
}

void AppendColour(std::string& text, uint32_t word) {
    text += '#';
    for (uint32_t shift = 0; shift < 32; shift += 8) {
        board::AppendHex(text, word >> shift & 0xFF, 2);
    }
}

void AppendSingle(std::string& text, uint32_t bits) {
    const float value = std::bit_cast<float>(bits);
    if (!std::isfinite(value)) {
        AppendBits(text, bits);
        return;
    }
    char digits[32];
    const auto end = std::to_chars(std::begin(digits), std::end(digits), value).ptr;
    text.append(digits, end);
}

template <typename Number>
std::optional<Number> WholeText(std::string_view text, int base = 10) {
    Number value{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value, base);
    if (text.empty() || error != std::errc() || end != text.data() + text.size()) {
        return {};
    }
    return value;
}

std::optional<uint32_t> Within(std::optional<int64_t> value, int64_t low, int64_t high) {
    if (!value || *value < low || *value > high) {
        return {};
    }
    return static_cast<uint32_t>(*value);
}

std::optional<uint32_t> ParseBits(std::string_view digits, uint32_t width) {
    const auto bits = WholeText<uint32_t>(digits, 16);
    if (!bits || (*bits & ~MaskOf(width)) != 0) {
        return {};
    }
    return bits;
}

std::optional<uint32_t> ParsePower(std::string_view text, const ValueKind& kind, uint32_t width) {
    std::optional<uint32_t> exponent;
    if (text.starts_with("2^")) {
        exponent = WholeText<uint32_t>(text.substr(2));
    } else if (const auto size = WholeText<uint32_t>(text); size && std::has_single_bit(*size)) {
        exponent = static_cast<uint32_t>(std::countr_zero(*size));
    } else if (size && *size == 0 && kind.form == Form::Product) {
        return 0;
    }
    if (!exponent) {
        return {};
    }
    const int64_t lowest = kind.form == Form::Product ? 1 : 0; // 0 stands for nothing
    return Within(int64_t{*exponent} - kind.bias, lowest, MaskOf(width));
}

std::optional<uint32_t> ParseSignedFixed(std::string_view text, uint32_t places) {
    const bool negative = text.starts_with('-');
    const auto magnitude = ParseFixed(text.substr(negative ? 1 : 0), places);
    const uint64_t most = (uint64_t{1} << 31) - (negative ? 0 : 1);
    if (!magnitude || *magnitude > most) {
        return {};
    }
    const auto bits = static_cast<uint32_t>(*magnitude);
    return negative ? 0 - bits : bits;
}

std::optional<uint32_t> ParseFraction(std::string_view text) {
    const auto bits = ParseFixed(text, 32);
    return bits && *bits <= 0xFFFFFFFF ? std::optional(static_cast<uint32_t>(*bits)) : std::nullopt;
}

std::optional<uint32_t> ParseColour(std::string_view text) {
    if (!text.starts_with('#') || (text.size() != 7 && text.size() != 9)) {
        return {};
    }
    std::optional<uint32_t> word = WholeText<uint32_t>(text.substr(1), 16);
    if (word && text.size() == 7) {
        word = *word << 8 | 0xFF;
    }
    if (word) {
        word = *word >> 24 | (*word >> 8 & 0xFF00) | (*word & 0xFF00) << 8 | *word << 24;
    }
    return word;
}

std::optional<uint32_t> ParseSingle(std::string_view text) {
    float value{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size() || !std::isfinite(value)) {
        return {};
    }
    return std::bit_cast<uint32_t>(value);
}

std::optional<uint32_t> ParseCode(std::string_view text, const ValueKind& kind, uint32_t width) {
    for (const Code& code : kind.codes) {
        if (text == code.name) {
            return code.value;
        }
    }
    return Within(WholeText<int64_t>(text), 0, MaskOf(width));
}

std::optional<uint32_t> ParseForm(std::string_view text, const ValueKind& kind, uint32_t width,
                                  const Reading& reading) {
    switch (kind.form) {
    case Form::Flag:
    case Form::Number:
    case Form::Address:
    case Form::Fields:
    case Form::Bits:
        return Within(WholeText<int64_t>(text), 0, MaskOf(width));
    case Form::Code:
        return ParseCode(text, kind, width);
    case Form::Signed: {
        const int64_t limit = int64_t{1} << (width - 1);
        const auto value = Within(WholeText<int64_t>(text), -limit, limit - 1);
        return value ? std::optional(*value & MaskOf(width)) : value;
    }
    case Form::Log2:
    case Form::Product:
        return ParsePower(text, kind, width);
    case Form::Fixed:
        return ParseSignedFixed(text, kind.places);
    case Form::Fraction:
        return ParseFraction(text);
    case Form::Texel: {
        const auto places = TexelPlaces(reading);
        return places ? ParseSignedFixed(text, *places) : std::nullopt;
    }
    case Form::Colour:
        return ParseColour(text);
    case Form::Single:
        return ParseSingle(text);
    case Form::VertexFixed:
    case Form::VertexSingle:
        return {};
    }
    return {};
}

std::string ExpectedFixed(uint32_t places) {
    return fmt::format("a decimal from {} to below {}", -(int64_t{1} << (31 - places)),
                       int64_t{1} << (31 - places));
}

// What ParseForm takes, in words.
std::string Expected(const ValueKind& kind, uint32_t width, const Reading& reading) {
    switch (kind.form) {
    case Form::Flag:
        return "0 or 1";
    case Form::Code:
        return fmt::format("{}a number from 0 to {}", kind.codes.empty() ? "" : "a name or ",
                           MaskOf(width));
    case Form::Signed: {
        const int64_t limit = int64_t{1} << (width - 1);
        return fmt::format("a whole number from {} to {}", -limit, limit - 1);
    }
    case Form::Log2:
        return width + kind.bias < 6 ? fmt::format("a power of two from {} to {}", 1u << kind.bias,
                                                   uint64_t{1} << (MaskOf(width) + kind.bias))
                                     : std::string("a power of two");
    case Form::Product:
        return fmt::format("0 or a power of two from {} to {}", 1u << (1 + kind.bias),
                           1u << (MaskOf(width) + kind.bias));
    case Form::Fixed:
        return ExpectedFixed(kind.places);
    case Form::Fraction:
        return "a decimal from 0 to below 1";
    case Form::Texel: {
        const auto places = TexelPlaces(reading);
        return places ? ExpectedFixed(*places) : "0x and bits, as no chip is given";
    }
    case Form::Colour:
        return "#RRGGBBAA or #RRGGBB in hex";
    case Form::Single:
        return "a decimal of single precision";
    default:
        return fmt::format("a whole number from 0 to {}", MaskOf(width));
    }
}

} // namespace

std::optional<uint32_t> TexelPlaces(const Reading& reading) {
    if (!reading.chip) {
        return {};
    }
    if (DeviceOf(*reading.chip).IsPermedia()) {
        return 20;
    }
    return reading.perspective ? 30 : 21;
}

void AppendValue(std::string& text, const ValueKind& kind, uint32_t bits, uint32_t width,
                 const Reading& reading) {
    switch (kind.form) {
    case Form::Flag:
    case Form::Number:
        return AppendDecimal(text, bits);
    case Form::Code:
        return AppendCode(text, kind, bits);
    case Form::Signed:
        return AppendDecimal(text, SignedOf(bits, width));
    case Form::Log2:
        return AppendPower(text, bits + kind.bias);
    case Form::Product:
        return bits == 0 ? AppendDecimal(text, 0) : AppendPower(text, bits + kind.bias);
    case Form::Fixed:
        return AppendSignedFixed(text, bits, kind.places);
    case Form::Fraction:
        return AppendFixed(text, bits, kind.places);
    case Form::Texel:
        if (const auto places = TexelPlaces(reading)) {
            return AppendSignedFixed(text, bits, *places);
        }
        return AppendBits(text, bits);
    case Form::Colour:
        return AppendColour(text, bits);
    case Form::Single:
        return AppendSingle(text, bits);
    default:
        return AppendBits(text, bits);
    }
}

uint32_t ParseValue(std::string_view text, const ValueKind& kind, uint32_t width,
                    const Reading& reading) {
    const bool hex = text.starts_with("0x") || text.starts_with("0X");
    const auto bits =
        hex ? ParseBits(text.substr(2), width) : ParseForm(text, kind, width, reading);
    if (bits) {
        return *bits;
    }
    ValueError error;
    error.expected =
        hex ? fmt::format("at most {} bits in hex", width) : Expected(kind, width, reading);
    for (const Code& code : kind.codes) {
        error.names.emplace_back(code.name);
    }
    throw error;
}

} // namespace stream
