// Values in the units of people, and back.
#include "chip/register_table.h"
#include "stream/fixed_text.h"
#include "stream/value_text.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <random>

namespace stream {
namespace {

std::string Fixed(uint32_t magnitude, uint32_t places) {
    std::string text;
    AppendFixed(text, magnitude, places);
    return text;
}

std::string Text(const ValueKind& kind, uint32_t bits, uint32_t width = 32, Reading reading = {}) {
    std::string text;
    AppendValue(text, kind, bits, width, reading);
    return text;
}

// What was expected instead; empty where the text is a value.
std::string Refusal(const char* text, const ValueKind& kind, uint32_t width = 32,
                    Reading reading = {}) {
    try {
        ParseValue(text, kind, width, reading);
    } catch (const ValueError& error) {
        return error.expected;
    }
    return "";
}

uint32_t Bits(const char* text, const ValueKind& kind, uint32_t width = 32, Reading reading = {}) {
    return ParseValue(text, kind, width, reading);
}

TEST(FixedText, WritesTheFewestDecimalsThatReadBack) {
    EXPECT_EQ(Fixed(0, 16), "0");
    EXPECT_EQ(Fixed(0x18000, 16), "1.5");
    EXPECT_EQ(Fixed(1, 1), "0.5");
    EXPECT_EQ(Fixed(1, 16), "0.00002"); // 0.0000152...; 0.00001 is as near to 0.0000153 as to 0
    EXPECT_EQ(Fixed(0xFFFF, 16), "0.99998"); // 0.9999847...
    EXPECT_EQ(Fixed(0x1999, 16), "0.09999"); // 0.0999908...; the next is 0.1000061
    EXPECT_EQ(Fixed(0x199A, 16), "0.1");
    EXPECT_EQ(Fixed(0x80000000, 31), "1");
    EXPECT_EQ(Fixed(0x80000000, 32), "0.5");
    EXPECT_EQ(Fixed(0xFFFFFFFF, 32), "0.9999999998");
    EXPECT_EQ(Fixed(77, 0), "77");
}

// By floating point, which has more than enough places: the text's value is nearer to this multiple
// than half a step, and no text with a decimal less is.
TEST(FixedText, IsNearestAndShortestForEveryFractionOf16Places) {
    for (uint32_t bits = 0; bits <= 0xFFFF; ++bits) {
        const std::string text = Fixed(bits, 16);
        ASSERT_EQ(ParseFixed(text, 16), bits) << text;
        ASSERT_LT(std::fabs(std::strtod(text.c_str(), nullptr) * 65536 - bits), 0.5) << text;
        const size_t point = text.find('.');
        if (point != std::string::npos) {
            const double tens = std::pow(10, static_cast<double>(text.size() - point - 2));
            const double shorter = std::round(bits / 65536.0 * tens) / tens;
            ASSERT_GE(std::fabs(shorter * 65536 - bits), 0.5 - 1e-9) << text;
        }
    }
}

TEST(FixedText, ReadsBackWhatItWrote) {
    std::mt19937 random(1);
    for (int i = 0; i < 50000; ++i) {
        const uint32_t bits = random() >> (random() % 32);
        const uint32_t places = random() % 33;
        ASSERT_EQ(ParseFixed(Fixed(bits, places), places), bits) << Fixed(bits, places);
    }
}

TEST(FixedText, ReadsDecimalsToTheNearestMultiple) {
    EXPECT_EQ(ParseFixed("0.5", 16), 0x8000u);
    EXPECT_EQ(ParseFixed("3", 16), 0x30000u);
    EXPECT_EQ(ParseFixed("3.0", 16), 0x30000u);
    EXPECT_EQ(ParseFixed("0.25", 1), 1u); // a tie goes up
    EXPECT_EQ(ParseFixed("0.24", 1), 0u);
    EXPECT_EQ(ParseFixed("0.99", 1), 2u);
    EXPECT_EQ(ParseFixed("0.0000076293945312500", 16), std::nullopt); // 18 decimals at most
    EXPECT_EQ(ParseFixed("0.00000762939453125", 16), 1u);             // half a step
    EXPECT_EQ(ParseFixed("0.00000762939453124", 16), 0u);
    for (const char* text : {"", ".", ".5", "5.", "1e3", "-1", "0x1", " 1", "1 ", "99999999999"}) {
        EXPECT_EQ(ParseFixed(text, 16), std::nullopt) << text;
    }
}

TEST(ValueText, EachFormHasItsOwn) {
    EXPECT_EQ(Text(kind::Mask, 0xFF00), "0xFF00");
    EXPECT_EQ(Text(kind::Flag, 1, 1), "1");
    EXPECT_EQ(Text(kind::Compare, 3, 3), "LessEqual");
    EXPECT_EQ(Text(kind::Primitive, 3, 2), "3"); // no name
    EXPECT_EQ(Text(kind::Number, 0xFFFFFFFF), "4294967295");
    EXPECT_EQ(Text(kind::Pixels, 0xFFFFFD80), "-640");
    EXPECT_EQ(Text(kind::Pixels, 0xFFFF, 16), "-1");
    EXPECT_EQ(Text(kind::Pixels, 4, 3), "-4");
    EXPECT_EQ(Text(kind::AddressPixels, 0x96000), "0x96000");
    EXPECT_EQ(Text(kind::LogTexels, 8, 4), "256");
    EXPECT_EQ(Text(kind::StippleSize, 2, 3), "8");
    EXPECT_EQ(Text(kind::Product, 0, 3), "0");
    EXPECT_EQ(Text(kind::Product, 1, 3), "32");
    EXPECT_EQ(Text(kind::Product, 7, 3), "2048");
    EXPECT_EQ(Text(kind::Fixed16, 0xFFFF8000), "-0.5");
    EXPECT_EQ(Text(kind::Fixed16, 0x80000000), "-32768");
    EXPECT_EQ(Text(kind::Fixed15, 255 << 15), "255");
    EXPECT_EQ(Text(kind::Fixed22, 0x400000), "1");
    EXPECT_EQ(Text(kind::Fixed30, 0xC0000000), "-1");
    EXPECT_EQ(Text(kind::DepthFraction, 0xC0000000), "0.75");
    EXPECT_EQ(Text(kind::Colour, 0x80FF4020), "#2040FF80"); // red low, alpha top
    EXPECT_EQ(Text(kind::Single, 0x3F800000), "1");
    EXPECT_EQ(Text(kind::Single, 0xBFC00000), "-1.5");
    EXPECT_EQ(Text(kind::Single, 0x80000000), "-0");
    EXPECT_EQ(Text(kind::Single, 0x7FC00001), "0x7FC00001"); // no number
    EXPECT_EQ(Text(kind::Single, 0xFF800000), "0xFF800000"); // infinity
}

TEST(ValueText, TextureCoordinatesDependOnChipAndMode) {
    EXPECT_EQ(Text(kind::Texel, 0x200000), "0x200000");
    EXPECT_EQ(Text(kind::Texel, 0x200000, 32, {ChipModel::Permedia2}), "2");
    EXPECT_EQ(Text(kind::Texel, 0x200000, 32, {ChipModel::Permedia, true}), "2");
    EXPECT_EQ(Text(kind::Texel, 0x200000, 32, {ChipModel::TX}), "1");
    EXPECT_EQ(Text(kind::Texel, 0x20000000, 32, {ChipModel::MX, true}), "0.5");
    EXPECT_EQ(Bits("0.5", kind::Texel, 32, {ChipModel::MX, true}), 0x20000000u);
    EXPECT_EQ(Refusal("0.5", kind::Texel), "0x and bits, as no chip is given");
    EXPECT_EQ(Bits("0x77", kind::Texel), 0x77u);
}

TEST(ValueText, TakesOtherFormsOfTheSame) {
    EXPECT_EQ(Bits("3", kind::Compare, 3), 3u);
    EXPECT_EQ(Bits("0x3", kind::Compare, 3), 3u);
    EXPECT_EQ(Bits("2^8", kind::LogTexels, 4), 8u);
    EXPECT_EQ(Bits("0x8", kind::LogTexels, 4), 8u);
    EXPECT_EQ(Bits("#FF8000", kind::Colour), 0xFF0080FFu);
    EXPECT_EQ(Bits("#ff8000FF", kind::Colour), 0xFF0080FFu);
    EXPECT_EQ(Bits("0.50000", kind::Fixed16), 0x8000u);
    EXPECT_EQ(Bits("1e1", kind::Single), 0x41200000u);
    EXPECT_EQ(Bits("16bit", kind::PermediaPixelSize, 3), 1u);
    EXPECT_EQ(Bits("16bit", kind::PortFormat, 3), 4u);
    EXPECT_EQ(Bits("40", kind::AddressPixels), 40u);
    EXPECT_EQ(Bits("-4", kind::Pixels, 3), 4u);
    EXPECT_EQ(Bits("-1", kind::Pixels), 0xFFFFFFFFu);
}

TEST(ValueText, RefusesWhatIsOutOfRangeOrNoValue) {
    EXPECT_EQ(Refusal("2", kind::Flag, 1), "0 or 1");
    EXPECT_EQ(Refusal("-1", kind::Number, 8), "a whole number from 0 to 255");
    EXPECT_EQ(Refusal("256", kind::Number, 8), "a whole number from 0 to 255");
    EXPECT_EQ(Refusal("1.5", kind::Number, 8), "a whole number from 0 to 255");
    EXPECT_EQ(Refusal("4", kind::Pixels, 3), "a whole number from -4 to 3");
    EXPECT_EQ(Refusal("Lesss", kind::Compare, 3), "a name or a number from 0 to 7");
    EXPECT_EQ(Refusal("8", kind::Compare, 3), "a name or a number from 0 to 7");
    EXPECT_EQ(Refusal("100", kind::LogTexels, 4), "a power of two from 1 to 32768");
    EXPECT_EQ(Refusal("65536", kind::LogTexels, 4), "a power of two from 1 to 32768");
    EXPECT_EQ(Refusal("2^16", kind::LogTexels, 4), "a power of two from 1 to 32768");
    EXPECT_EQ(Refusal("1", kind::StippleSize, 3), "a power of two from 2 to 256");
    EXPECT_EQ(Refusal("16", kind::Product, 3), "0 or a power of two from 32 to 2048");
    EXPECT_EQ(Refusal("4096", kind::Product, 3), "0 or a power of two from 32 to 2048");
    EXPECT_EQ(Refusal("32768", kind::Fixed16), "a decimal from -32768 to below 32768");
    EXPECT_EQ(Refusal("-32768.1", kind::Fixed16), "a decimal from -32768 to below 32768");
    EXPECT_EQ(Refusal("1,5", kind::Fixed16), "a decimal from -32768 to below 32768");
    EXPECT_EQ(Refusal("--1", kind::Fixed16), "a decimal from -32768 to below 32768");
    EXPECT_EQ(Refusal("1", kind::DepthFraction), "a decimal from 0 to below 1");
    EXPECT_EQ(Refusal("FF8000", kind::Colour), "#RRGGBBAA or #RRGGBB in hex");
    EXPECT_EQ(Refusal("#F80", kind::Colour), "#RRGGBBAA or #RRGGBB in hex");
    EXPECT_EQ(Refusal("nan", kind::Single), "a decimal of single precision");
    EXPECT_EQ(Refusal("1e99", kind::Single), "a decimal of single precision");
    EXPECT_EQ(Refusal("0x1FF", kind::Number, 8), "at most 8 bits in hex");
    EXPECT_EQ(Refusal("0x", kind::Number), "at most 32 bits in hex");
    EXPECT_EQ(Refusal("0x100000000", kind::Number), "at most 32 bits in hex");
    EXPECT_EQ(Refusal("", kind::Number), "a whole number from 0 to 4294967295");
}

// Every kind that a register or field has, with every width that it has there.
TEST(ValueText, ReadsBackWhatItWroteForEveryRegisterAndField) {
    std::mt19937 random(7);
    const auto check = [&](const std::string& name, const ValueKind& kind, uint32_t width) {
        for (int i = 0; i < 50; ++i) {
            const uint32_t bits =
                random() >> (random() % 32) & (width == 32 ? ~0u : (1u << width) - 1);
            for (const auto chip : {std::optional<ChipModel>(), std::optional(ChipModel::TX)}) {
                const Reading reading{chip, (i & 1) != 0};
                const std::string text = Text(kind, bits, width, reading);
                ASSERT_EQ(ParseValue(text, kind, width, reading), bits) << name << " " << text;
            }
        }
    };
    for (const Register& entry : kRegisters) {
        if (entry.kind->form != Form::Fields && entry.use != Use::Vertex) {
            check(entry.name, *entry.kind, 32);
        }
    }
    for (const FieldRow& field : kFields) {
        check(field.name, *field.kind, field.width);
    }
    for (const VertexRow& row : kVertexRows) {
        check(row.name, *row.kind, 32);
    }
    check("single", kind::Single, 32);
}

} // namespace
} // namespace stream
