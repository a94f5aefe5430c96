#pragma once
// Processor, modules and text of KERNEL32, and the Win16 lock that it hides behind ordinals.
#include "driver/platform/win32.h"

#include <cstdint>

namespace host {

// What GetSystemInfo tells.
void SetProcessor(uint32_t type, uint32_t count);

// How often DisableThreadLibraryCalls was called.
uint32_t ThreadLibraryCallsDisabled();

// The image that GetModuleHandleA("KERNEL32") gives.
struct SystemImage {
    bool present = true;   // no module at all otherwise
    bool mzMark = true;    // "MZ" at the start
    bool peMark = true;    // "PE" at the header
    uint32_t exports = 98; // NumberOfFunctions
};
// Lays the image out anew. The address stays the same.
void SetSystemImage(const SystemImage& image);

// The lock behind ordinals 93, 97 and 98.
struct Win16LockState {
    uint32_t depth = 0;      // takings not yet left
    uint32_t taken = 0;      // takings so far
    uint32_t unbalanced = 0; // leavings of a lock that nobody held, or calls with a wrong address
};
const Win16LockState& Win16Lock();
// With false, GetpWin16Lock gives 0.
void SetWin16LockPresent(bool present);
// The value that GetpWin16Lock gives.
uint32_t Win16LockAddress();

void ResetSystem();

} // namespace host
