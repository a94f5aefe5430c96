#pragma once
// What the system gives besides the Win32 entries that the driver itself calls, registry and
// devices: windows/ has it for Windows 95, tests have theirs.
#include "tools/korvchk/platform.h"

#include <cstdint>

namespace chk::system {

// Writes text to the console; "\n" ends a line.
void Print(const char* text);

// Where Windows keeps its libraries, and where this program lies: without a backslash at the end.
bool SystemFolder(char* path, uint32_t bytes);
bool OwnFolder(char* path, uint32_t bytes);

// Whether memory there can be read, at an address that all processes see.
bool IsShared(uint32_t address, uint32_t bytes);

struct File {
    const uint8_t* bytes; // null if it can't be read
    uint32_t size;
};
File ReadFile(const char* path);
void FreeFile(const File& file);

// DirectDraw's own entry. False if this system has none; *result is what it answers.
bool CreateDirectDraw(IDirectDraw** out, uint32_t* result);

// Whether KORV32.dll lies in this process, as it does behind DirectDraw's start; *interfaceVersion
// is then what KORV_Initialize answers for the primary display.
bool LoadedDriver(int32_t* interfaceVersion);

// A window of that size on top of all others, or one that covers the screen for 0 by 0. Null:
// failure.
HWND OpenWindow(uint32_t x, uint32_t y, uint32_t width, uint32_t height);
void CloseWindow(HWND window);
// Lets a picture stand.
void Pause(uint32_t milliseconds);

} // namespace chk::system
