// The table of registers says of codes and formats what the board makes of them.
#include "board/pixel/blend.h"
#include "board/setup/vertex_store.h"
#include "board/texture/texel_format.h"
#include "board/values/compare.h"
#include "board/values/fixed.h"
#include "board/values/format.h"
#include "board/values/logic_op.h"
#include "board/values/registers.h"
#include "chip/register_table.h"

#include <gtest/gtest.h>

#include <bit>
#include <map>
#include <string>

namespace board {
namespace {

TEST(Vocabulary, ComparisonsAreWhatTheirNamesSay) {
    // Whether 1 compares so to 2, 2 to 2, 3 to 2.
    const std::map<std::string, std::string> expected = {
        {"Never", "nnn"},   {"Less", "ynn"},     {"Equal", "nyn"},        {"LessEqual", "yyn"},
        {"Greater", "nny"}, {"NotEqual", "yny"}, {"GreaterEqual", "nyy"}, {"Always", "yyy"}};
    ASSERT_EQ(std::size(codes::Compare), expected.size());
    for (const Code& code : codes::Compare) {
        std::string results;
        for (const uint32_t fresh : {1u, 2u, 3u}) {
            results += Passes(static_cast<Compare>(code.value), fresh, 2) ? 'y' : 'n';
        }
        EXPECT_EQ(results, expected.at(code.name)) << code.name;
    }
}

TEST(Vocabulary, LogicalOperationsAreWhatTheirNamesSay) {
    // Of source bits 1100 and dest bits 1010.
    const std::map<std::string, uint32_t> expected = {
        {"Clear", 0b0000},        {"And", 0b1000},         {"AndReverse", 0b0100},
        {"Copy", 0b1100},         {"AndInverted", 0b0010}, {"NoOperation", 0b1010},
        {"Xor", 0b0110},          {"Or", 0b1110},          {"Nor", 0b0001},
        {"Equivalent", 0b1001},   {"Invert", 0b0101},      {"OrReverse", 0b1101},
        {"CopyInverted", 0b0011}, {"OrInverted", 0b1011},  {"Nand", 0b0111},
        {"Set", 0b1111}};
    ASSERT_EQ(std::size(codes::LogicOp), expected.size());
    for (const Code& code : codes::LogicOp) {
        EXPECT_EQ(LogicOp(code.value, 0b1100, 0b1010) & 0xF, expected.at(code.name)) << code.name;
    }
}

TEST(Vocabulary, BlendFactorsAreWhatTheirNamesSay) {
    // A red of 255 against one of 0, the other factor being Zero: the result is 255 times the
    // factor. Of two sides the other's colour counts.
    const Colour source{255, 255, 255, 51};
    const Colour dest{102, 102, 102, 204};
    const std::map<std::string, int32_t> ofSource = {{"Zero", 0},
                                                     {"One", 255},
                                                     {"DestColour", 102},
                                                     {"InverseDestColour", 153},
                                                     {"SourceAlpha", 51},
                                                     {"InverseSourceAlpha", 204},
                                                     {"DestAlpha", 204},
                                                     {"InverseDestAlpha", 51},
                                                     {"SourceAlphaSaturate", 51}};
    ASSERT_EQ(std::size(codes::SourceFactor), ofSource.size());
    for (const Code& code : codes::SourceFactor) {
        EXPECT_EQ(Blend(source, dest, static_cast<SourceFactor>(code.value), DestFactor::Zero).red,
                  ofSource.at(code.name))
            << code.name;
    }
    const Colour over{102, 102, 102, 51};
    const Colour under{255, 255, 255, 204};
    const std::map<std::string, int32_t> ofDest = {
        {"Zero", 0},           {"One", 255},
        {"SourceColour", 102}, {"InverseSourceColour", 153},
        {"SourceAlpha", 51},   {"InverseSourceAlpha", 204},
        {"DestAlpha", 204},    {"InverseDestAlpha", 51}};
    ASSERT_EQ(std::size(codes::DestFactor), ofDest.size());
    for (const Code& code : codes::DestFactor) {
        EXPECT_EQ(Blend(over, under, SourceFactor::Zero, static_cast<DestFactor>(code.value)).red,
                  ofDest.at(code.name))
            << code.name;
    }
}

// "1:5:5:5" by the widths of a format, "5:6:5" where it has no alpha.
std::string WidthsOf(const PixelFormat& format) {
    std::string text = format.alpha.width != 0 ? std::to_string(format.alpha.width) + ":" : "";
    for (const ChannelBits& bits : {format.red, format.green, format.blue}) {
        text += std::to_string(bits.width) + (&bits == &format.blue ? "" : ":");
    }
    return text.substr(0, text.find_last_not_of(':') + 1);
}

TEST(Vocabulary, FormatsHaveTheWidthsOfTheirNames) {
    for (const Code& code : codes::ColourFormat) {
        const std::string name = code.name;
        const size_t slash = name.find('/');
        const auto plain = FormatOfCode(code.value, 0, true);
        const auto extended = FormatOfCode(code.value, 1, true);
        // Packed pixels are there with the extension alone.
        ASSERT_TRUE(plain || extended) << name;
        EXPECT_EQ(WidthsOf(plain ? *plain : *extended), name.substr(0, slash)) << name;
        if (slash != name.npos && name.find(':', slash) != name.npos) {
            EXPECT_EQ(WidthsOf(*extended), name.substr(slash + 1)) << name;
        }
    }
    for (const Code& code : codes::PermediaPixelSize) {
        EXPECT_EQ(std::to_string(*PermediaTexelBits(code.value)) + "bit", code.name);
    }
}

TEST(Vocabulary, PartialProductsAreWhatThePitchAddsUp) {
    for (uint32_t code = 1; code < 8; ++code) {
        EXPECT_EQ(PitchFromProducts(code), 1u << (code + kind::Product.bias));
    }
}

TEST(Vocabulary, InterpolantsHaveTheBoardsFractionBits) {
    const auto places = [](uint32_t tagNumber) {
        return FindRegister(MappedOffset(tagNumber))->kind->places;
    };
    for (uint32_t number = tag::RStart; number <= tag::dAdyDom; ++number) {
        EXPECT_EQ(places(number), kColourFractionBits);
    }
    for (const uint32_t start : {tag::FStart, tag::KsStart}) {
        for (uint32_t step = 0; step < 3; ++step) {
            EXPECT_EQ(places(start + step), kFogFractionBits);
        }
    }
    for (uint32_t number = tag::StartXDom; number <= tag::dY; ++number) {
        EXPECT_EQ(1 << places(number), kOnePixel);
    }
    EXPECT_EQ(places(tag::QStart), kQFractionBits);
}

TEST(Vocabulary, FixedWordsOfVerticesMeanWhatTheSinglesDo) {
    for (const VertexRow& row : kVertexRows) {
        if (row.kind->form != Form::Fixed) {
            continue;
        }
        VertexStore fixed, single;
        ASSERT_TRUE(fixed.Write({tag::V0Fixed + row.index, 1u << row.kind->places}, false));
        ASSERT_TRUE(single.Write({tag::V0Float + row.index, std::bit_cast<uint32_t>(1.0f)}, false));
        double sum = 0;
        for (uint32_t i = 0; i < static_cast<uint32_t>(Quantity::kCount); ++i) {
            const auto quantity = static_cast<Quantity>(i);
            EXPECT_EQ(fixed[0][quantity], single[0][quantity]) << row.name;
            sum += fixed[0][quantity] - VertexStore()[0][quantity];
        }
        EXPECT_NE(sum, 0) << row.name;
    }
    for (uint32_t index = 0; index < 16; ++index) {
        EXPECT_EQ(VertexStore().Write({tag::V0Fixed + index, 0}, false),
                  FindVertexRow(tag::V0Fixed + index) != nullptr)
            << index;
    }
}

} // namespace
} // namespace board
