#pragma once
#include <cstdlib>
#include <string>

namespace test {

// korvchk.exe: $KORVCHK_EXE, or what the preset windows95 has built.
inline std::string ProgramPath() {
    const char* named = std::getenv("KORVCHK_EXE");
    return named != nullptr ? named : KORVCHK_EXE_PATH;
}

} // namespace test
