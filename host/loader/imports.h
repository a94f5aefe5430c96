#pragma once
// The Win32 entries that a DLL can import here.
#include <cstdint>
#include <string_view>

namespace host::loader {

// The function of host/win32 that stands for `name` of `dll` ("KERNEL32.dll", any case, with or
// without the extension), or null. What comes back may be called by code that keeps its stack
// aligned to 4 bytes only and has changed the x87 control word.
void* FindImport(std::string_view dll, std::string_view name);

// The x87 control word that code compiled for Linux expects.
inline constexpr uint16_t kHostControlWord = 0x37F;

inline uint16_t ControlWord() {
    uint16_t word;
    asm volatile("fnstcw %0" : "=m"(word));
    return word;
}

inline void SetControlWord(uint16_t word) {
    asm volatile("fldcw %0" : : "m"(word));
}

} // namespace host::loader
