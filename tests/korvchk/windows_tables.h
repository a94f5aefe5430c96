#pragma once
// The fake DirectDraw's objects as a program compiled for Windows calls them: by tables in the
// order that Windows' headers publish.
#include "tools/korvchk/platform.h"

// Windows code aligns its stack to 4 bytes only.
#define FOR_WINDOWS KORV_STDCALL __attribute__((force_align_arg_pointer))

namespace test {

// An object for such a program that passes its calls on to `directDraw`. It lives as long as the
// process.
void* ForWindows(IDirectDraw* directDraw);

} // namespace test
