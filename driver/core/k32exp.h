#pragma once
// Entries of the system's KERNEL32 that it hides from import tables.
#include "driver/platform/win32.h"

#include <cstdint>

inline constexpr uint32_t kOrdinalGetpWin16Lock = 93;
inline constexpr uint32_t kOrdinalEnterWin16Lock = 97;
inline constexpr uint32_t kOrdinalLeaveWin16Lock = 98;

// KERNEL32, from the first question on.
extern HMODULE hmod;

// Address of the entry with this ordinal, or null.
void* GetK32ProcAddress(uint32_t ordinal);
