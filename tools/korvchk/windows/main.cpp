// Where Windows enters: there is no runtime library that would.
#include "tools/korvchk/check.h"
#include "tools/korvchk/platform.h"

namespace {

// What stands behind the program's name, which may be quoted.
const char* Arguments(const char* line) {
    const bool quoted = *line == '"';
    const char end = quoted ? '"' : ' ';
    if (quoted) {
        ++line;
    }
    while (*line != 0 && *line != end) {
        ++line;
    }
    return *line != 0 ? line + 1 : line;
}

} // namespace

extern "C" [[noreturn]] void Start() {
    ExitProcess(static_cast<UINT>(chk::Run(Arguments(GetCommandLineA()))));
}
