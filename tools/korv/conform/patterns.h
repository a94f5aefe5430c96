#pragma once
// What memories are filled with before a case; docs/conformance.md defines the patterns.
#include <cstdint>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

namespace korv::conform {

// What is wrong with a pattern, in a line.
struct PatternError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// The bytes of a pattern given by its words: "noise BYTES SEED", "word BYTES VALUE",
// "gradient WIDTHxHEIGHT FORM", "checker WIDTHxHEIGHT FORM COLOUR COLOUR", "ramp BYTES",
// "bytes HEX". PatternError for what is none.
std::vector<uint8_t> PatternBytes(std::span<const std::string> words);

// A number, hexadecimal with 0x. PatternError for what is none.
uint32_t NumberOf(const std::string& text);
// "32x16"
struct SizeOf {
    uint32_t width, height;
};
SizeOf ParseExtent(const std::string& text);

} // namespace korv::conform
