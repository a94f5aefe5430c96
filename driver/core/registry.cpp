#include "driver/core/registry.h"

#include "driver/core/driverdata.h"

#include <cstddef>

namespace {

// Read and write a value, enumerate and create keys.
constexpr DWORD kKeyAccess = 0x2001B;
constexpr uint32_t kPathBytes = 52; // RegistryName has at most 34 characters
// Longer values count as absent.
constexpr DWORD kValueBytes = 10;
// Numbers are written with this length whatever they are: longer ones are cut.
constexpr uint32_t kStoredBytes = 4;

bool IsBlank(char c) {
    return (c >= 9 && c <= 13) || c == 32;
}

uint32_t ParseNumber(const char* text) {
    while (IsBlank(*text)) {
        ++text;
    }
    const bool negative = *text == '-';
    if (*text == '-' || *text == '+') {
        ++text;
    }
    uint32_t sum = 0;
    for (; *text >= '0' && *text <= '9'; ++text) {
        sum = sum * 10 + static_cast<uint32_t>(*text - '0');
    }
    return negative ? 0 - sum : sum;
}

// Decimal text of `value`, zero-terminated, into at least 11 bytes.
void FormatNumber(uint32_t value, char* text) {
    char digits[10];
    uint32_t count = 0;
    do {
        digits[count++] = static_cast<char>('0' + value % 10);
        value /= 10;
    } while (value != 0);
    while (count != 0) {
        *text++ = digits[--count];
    }
    *text = 0;
}

uint32_t ValueOrZero(const char* name) {
    uint32_t value;
    bGlintQueryRegistryValueUlong(name, &value);
    return value;
}

uint32_t IsOne(const char* name) {
    return RegistrySwitchIsOne(name) ? 1 : 0;
}

} // namespace

HKEY registryKey;

void vGlintInitializeRegistryKey(DriverData* driver) {
    char path[kPathBytes];
    lstrcpyA(path, "SOFTWARE\\");
    lstrcatA(path, driver->ChipInfo->RegistryName);
    lstrcatA(path, "\\DirectX");
    HKEY opened;
    if (RegOpenKeyExA(HKEY_LOCAL_MACHINE, path, 0, kKeyAccess, &opened) == ERROR_SUCCESS) {
        registryKey = opened;
    }
}

uint32_t bGlintQueryRegistryValueUlong(const char* name, uint32_t* value) {
    char text[kValueBytes + 1] = {};
    if (bGlintQueryRegistryValueString(name, text, kValueBytes) == 0) {
        *value = 0;
        return 0;
    }
    *value = ParseNumber(text);
    return 1;
}

uint32_t bGlintQueryRegistryValueString(const char* name, char* buffer, uint32_t size) {
    DWORD type;
    DWORD bytes = size;
    if (RegQueryValueExA(registryKey, name, nullptr, &type, reinterpret_cast<BYTE*>(buffer),
                         &bytes) != ERROR_SUCCESS) {
        buffer[0] = 0;
        return 0;
    }
    return 1;
}

int32_t bGlintSetRegistryValueString(const char* name, uint32_t value) {
    char text[11] = {};
    FormatNumber(value, text);
    return RegSetValueExA(registryKey, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(text),
                          kStoredBytes) == ERROR_SUCCESS
               ? 1
               : 0;
}

void SetupGlobalData(DriverData* driver) {
    DXGlobals.AppStats = ValueOrZero("Direct3DHAL.AppStats") != 0;
    DXGlobals.ForceAGPTextures = ValueOrZero("Direct3DHAL.ForceAGPTextures") != 0;
    const uint32_t patchMode = ValueOrZero("Direct3DHAL.PatchMode");
    DXGlobals.PatchMode = patchMode < 3 ? patchMode : 0;
    DXGlobals.ZPatch = IsOne("Direct3DHAL.ZPatch");
    DXGlobals.AdvancedDebug = IsOne("Direct3DHAL.AdvancedDebug");
    DXGlobals.NoVBlankWait = IsOne("Direct3DHAL.NoVBlankWait");
    DXGlobals.FilterStretch = IsOne("Direct3DHAL.FilterStretch");
    DXGlobals.FilterVideo = IsOne("Direct3DHAL.FilterVideo");
    // Glint boards always allocate in rectangles; the value is not even read.
    driver->RectAlloc =
        driver->ChipInfo->Family == FamilyGlint ? 1 : IsOne("Direct3DHAL.RectAlloc");
    DXGlobals.NoFlip = IsOne("Direct3DHAL.NoFlip");
    DXGlobals.AlwaysDither = IsOne("Direct3DHAL.AlwaysDither");
}
