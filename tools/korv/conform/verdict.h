#pragma once
// Whether a board did what ours does.
#include "tools/korv/conform/subject.h"

#include <optional>
#include <string>

namespace korv::conform {

// The first thing that is not as it should be.
struct Fault {
    enum class Kind { Pixel, Memory, Read, Interrupts };
    Kind kind{};
    const PictureArea* picture = nullptr; // Pixel
    uint32_t x = 0, y = 0;                // Pixel
    stream::Memory memory{};              // Pixel, Memory
    uint32_t offset = 0;                  // bytes in the memory; of a Read, in the aperture
    size_t read = 0;                      // Read: its number
    uint32_t expected = 0, found = 0;     // pixel, byte, value or count

    // "pixel 3, 4 of colour is FF00FF00, expected FFFF0000"
    std::string Text() const;
};

struct Verdict {
    std::optional<Fault> first; // none: passed
    size_t pixels = 0;          // wrong ones in all pictures
    size_t bytes = 0;           // wrong ones outside of pictures
    size_t reads = 0;           // wrong ones
};

// Compares by what the case allows.
Verdict Judge(const Case& one, const Outcome& expected, const Outcome& found);

} // namespace korv::conform
