#pragma once
// KORV32.dll as a file.
#include <cstdint>

namespace chk {

class Report;

inline constexpr uint32_t kExports = 20;
// In the order of their ordinals, from 1.
extern const char* const kExportNames[kExports];

enum class LibraryState { Good, NoLibrary, OtherLibrary };

struct LibraryFacts {
    LibraryState state;
    // Of the version resource; all zeros without one.
    uint16_t version[4];
    // Bit i: the export with ordinal i + 1 is there under its name.
    uint32_t exports;
};

// Reads a file's bytes, whatever they are.
LibraryFacts ReadLibrary(const uint8_t* bytes, uint32_t size);

// Finds the file where Windows looks for it and tells of it: version, exports, checksum, and
// whether that is the one in the package's list, if the list lies beside this program.
void CheckLibrary(Report& report);

} // namespace chk
