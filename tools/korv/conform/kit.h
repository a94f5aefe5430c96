#pragma once
// The kit as a whole: all cases, and what is known of their results.
#include "tools/korv/conform/case.h"
#include "tools/korv/conform/description.h"

#include <cstdint>
#include <map>
#include <span>
#include <string>
#include <vector>

namespace korv::conform {

// Of cases and their results; docs/conformance.md tells what it promises.
inline constexpr int kKitVersion = 1;

// A file of conformance/, as the tool was built with it.
struct KitFile {
    const char* name;
    const char* text;
};
std::span<const KitFile> KitFiles();

// All descriptions; the first one has the macros.
std::vector<Description> AllDescriptions();
// All cases, unit by unit.
std::vector<Case> AllCases();

// What the list of results says of a case: checksums (CRC-32 of whole memories), what was read,
// and the checksum of its capture.
struct Golden {
    uint32_t frameBuffer = 0, localBuffer = 0;
    std::vector<uint32_t> reads;
    uint32_t interrupts = 0;
    uint32_t capture = 0;
    bool operator==(const Golden&) const = default;
};
// By case.
std::map<std::string, Golden> GoldenList();
// What our board makes of a case, for the list.
Golden GoldenOf(const Case& one);
std::string GoldenLine(const std::string& id, const Golden& golden);

// What of the kit somebody asks for; empty: all. Units and chips by name, cases by a pattern with
// *.
struct Filter {
    std::vector<std::string> units, chips, cases;
};
// UserError for names that do not exist, and for filters that leave nothing.
std::vector<Case> Chosen(const Filter& filter);

} // namespace korv::conform
