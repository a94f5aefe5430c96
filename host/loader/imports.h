#pragma once
// The Win32 entries that a DLL can import here.
#include <cstdint>
#include <string_view>

namespace host::loader {

// The function of host/win32 that stands for `name` of `dll` ("KERNEL32.dll", any case, with or
// without the extension), or null. What comes back may be called by code that keeps its stack
// aligned to 4 bytes only and has changed the x87 control word.
// The x87 control word of this call is the program's own: the functions run under it.
void* FindImport(std::string_view dll, std::string_view name);

inline uint16_t ControlWord() {
    uint16_t word;
    asm volatile("fnstcw %0" : "=m"(word));
    return word;
}

inline void SetControlWord(uint16_t word) {
    asm volatile("fldcw %0" : : "m"(word));
}

} // namespace host::loader
