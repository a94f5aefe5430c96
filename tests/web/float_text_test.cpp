// The module's text of floats is that of a whole standard library.
#include "web/module/float_text.h"

#include <gtest/gtest.h>

#include <bit>
#include <charconv>
#include <cmath>
#include <random>

namespace {

std::string Written(float value) {
    char text[80];
    const auto [end, error] = float_text::Write(std::begin(text), std::end(text), value);
    EXPECT_EQ(error, std::errc());
    return {text, end};
}

std::string Expected(float value) {
    char text[80];
    return {text, std::to_chars(std::begin(text), std::end(text), value).ptr};
}

template <class Number>
void ExpectReadAlike(const std::string& text) {
    const char *first = text.data(), *last = first + text.size();
    Number here = 17, there = 17;
    const auto mine = float_text::Parse(first, last, here);
    const auto library = std::from_chars(first, last, there);
    EXPECT_EQ(mine.ptr - first, library.ptr - first) << "'" << text << "'";
    EXPECT_EQ(mine.ec, library.ec) << "'" << text << "'";
    EXPECT_TRUE(here == there || (std::isnan(here) && std::isnan(there))) << "'" << text << "'";
}

TEST(FloatText, WritesTheFewestDigits) {
    for (const float value : {0.0f, -0.0f, 1.0f, 0.1f, 1e9f, 1e10f, 123456789.0f, 1e-4f, 1e-5f,
                              3.4e38f, 1e-45f, 16777216.0f, 0.3333333f, 100000.0f, 1234567.0f}) {
        EXPECT_EQ(Written(value), Expected(value));
        EXPECT_EQ(Written(-value), Expected(-value));
    }
    std::mt19937 dice(5);
    for (int i = 0; i < 200000; ++i) {
        const auto value = std::bit_cast<float>(static_cast<uint32_t>(dice()));
        ASSERT_EQ(Written(value), Expected(value));
    }
}

TEST(FloatText, SaysWhenThereIsNoRoom) {
    char text[3];
    EXPECT_EQ(float_text::Write(text, text + 3, 1234.5f).ec, std::errc::value_too_large);
    EXPECT_EQ(float_text::Write(text, text + 3, 1.5f).ec, std::errc());
}

TEST(FloatText, ReadsWhatALibraryReads) {
    for (const std::string text : {"",         "-",        "+1",
                                   " 1",       "1",        "-1.5",
                                   ".5",       "5.",       ".",
                                   "1e",       "1e+",      "1e5",
                                   "1E-3x",    "1.5.5",    "0x10",
                                   "-0x1p3",   "1e400",    "-1e400",
                                   "1e-400",   "inf",      "-INFINITY",
                                   "infinit",  "nan",      "-NaN",
                                   "nan(abc)", "nan(a",    "nan(-)",
                                   "e5",       "00012.50", "1,5",
                                   "1e-46",    "3.5e38",   "9007199254740993"}) {
        ExpectReadAlike<double>(text);
        ExpectReadAlike<float>(text);
    }
    std::mt19937 dice(6);
    const std::string letters = "0123456789.-+eEx";
    for (int i = 0; i < 100000; ++i) {
        std::string text;
        for (size_t n = dice() % 12; n != 0; --n) {
            text += letters[dice() % letters.size()];
        }
        ExpectReadAlike<double>(text);
        ExpectReadAlike<float>(text);
    }
}

} // namespace
