#pragma once
#include <cstdlib>
#include <string>

namespace test {

// The DLL under test: $KORV_DLL, or what the preset windows95 has built.
inline std::string DllPath() {
    const char* named = std::getenv("KORV_DLL");
    return named != nullptr ? named : KORV_DLL_PATH;
}

} // namespace test
