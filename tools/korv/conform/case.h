#pragma once
// A case of the conformance kit: what is done to a board, and what of it is looked at afterwards.
#include "board/config.h"
#include "stream/event.h"

#include <cstdint>
#include <string>
#include <vector>

namespace korv::conform {

// How the bits of a picture's element are to be taken.
enum class PixelForm : uint8_t {
    Argb8888,
    Rgb888,
    Rgb565,
    Argb1555,
    Argb4444,
    Rgb332,
    Argb1232,
    Index8,
    Depth16,
    Depth32,
};

// The form's name in descriptions, and its bytes.
const char* NameOf(PixelForm form);
uint32_t BytesOf(PixelForm form);

// A part of a memory that is a picture: it is shown, and may deviate a little where a case says so.
struct PictureArea {
    std::string name;
    stream::Memory memory{};
    uint32_t offset = 0, pitch = 0; // bytes
    uint32_t width = 0, height = 0; // pixels
    PixelForm form{};
    // What is allowed: a pixel may differ by `limit` in each channel, of depths in the value, and
    // `pixels` of them by anything. Zeroes: nothing is.
    uint32_t limit = 0, pixels = 0;
};

// What is done to the board, one after the other. Of an event's kinds these: Write, Read, FifoWord,
// Ticks, Clock, HostMemory, Store.
struct Step {
    stream::EventKind kind{};
    stream::Memory memory{};    // Store
    uint32_t offset = 0;        // in the aperture, or of memory, bytes; HostMemory: bus address
    uint32_t value = 0;         // word, or register's value; Ticks; Clock: microseconds;
                                // HostMemory: bytes
    std::vector<uint8_t> bytes; // Store
};

struct Case {
    std::string id;   // UNIT/NAME@CHIP
    std::string unit; // of the kit
    std::string name; // within its unit, with the variant
    std::string chip; // as --chip takes it
    board::Config config;
    std::vector<PictureArea> pictures;
    std::vector<Step> steps;
    // Why the result is what it is: what a driver depends on, and what this board made of that.
    std::string known, deduced;
};

} // namespace korv::conform
