#include "driver/core/globals.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <map>
#include <sstream>
#include <string>
#include <vector>

namespace {

// Writable symbols of the driver's library by name, with their sizes, as the linker's own tool
// lists them.
std::map<std::string, uint32_t> WritableSymbols() {
    std::map<std::string, uint32_t> symbols;
    FILE* listing = popen(KORV_NM " -C -f sysv " KORV_DRIVER_LIBRARY, "r");
    std::string text;
    char part[4096];
    while (size_t got = std::fread(part, 1, sizeof part, listing)) {
        text.append(part, got);
    }
    EXPECT_EQ(pclose(listing), 0);
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        // name|value|class|type|size|line|section
        std::vector<std::string> columns;
        std::istringstream cells(line);
        for (std::string cell; std::getline(cells, cell, '|');) {
            const size_t first = cell.find_first_not_of(' ');
            const size_t last = cell.find_last_not_of(' ');
            columns.push_back(first == std::string::npos ? ""
                                                         : cell.substr(first, last - first + 1));
        }
        if (columns.size() != 7 || columns[3] != "OBJECT") {
            continue;
        }
        const std::string& section = columns[6];
        const bool relocated = section.rfind(".data.rel.ro", 0) == 0;
        const bool writable =
            section.rfind(".data", 0) == 0 || section.rfind(".bss", 0) == 0 || section == "*COM*";
        if (writable && !relocated && columns[0].rfind("__", 0) != 0) {
            symbols[columns[0]] = static_cast<uint32_t>(std::stoul(columns[4], nullptr, 16));
        }
    }
    return symbols;
}

bool IsDriverFunctionStatic(const std::string& name) {
    return name.rfind("DriverGlobals()::", 0) == 0 ||
           name.rfind("guard variable for DriverGlobals()", 0) == 0;
}

// Not the driver's state, or reset by a routine of its own.
bool IsLeftOut(const std::string& name) {
    static const char* const kLeftOut[] = {
        "(anonymous namespace)::attachments", // the host's buses, which outlive a driver
        "KORV_DebugHelp::CurrentLine",        // never written
        "ShmAddr",                            // the trace's, ended by TermTrace()
        "hShm",
        "hSemC",
        "hSemP",
    };
    for (const char* known : kLeftOut) {
        if (name == known) {
            return true;
        }
    }
    return IsDriverFunctionStatic(name);
}

} // namespace

TEST(Globals, EveryWritableSymbolOfTheLibraryIsReset) {
    std::map<std::string, uint32_t> listed;
    for (const DriverGlobal& global : DriverGlobals()) {
        listed[global.Name] = global.Bytes;
    }
    std::map<std::string, uint32_t> symbols;
    for (const auto& [name, bytes] : WritableSymbols()) {
        if (!IsLeftOut(name)) {
            symbols[name] = bytes;
        }
    }
    EXPECT_GT(symbols.size(), 20u);
    EXPECT_EQ(symbols, listed);
}

TEST(Globals, ResettingGivesAllTheirFirstValues) {
    ResetDriverGlobals();
    std::map<std::string, std::vector<uint8_t>> first;
    for (const DriverGlobal& global : DriverGlobals()) {
        const auto* bytes = static_cast<const uint8_t*>(global.Address);
        first[global.Name].assign(bytes, bytes + global.Bytes);
    }
    for (const DriverGlobal& global : DriverGlobals()) {
        std::memset(global.Address, 0xA5, global.Bytes);
    }
    ResetDriverGlobals();
    for (const DriverGlobal& global : DriverGlobals()) {
        EXPECT_EQ(std::memcmp(global.Address, first[global.Name].data(), global.Bytes), 0)
            << global.Name;
    }
}
