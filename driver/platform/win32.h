// Win32 types, constants and entries that the driver calls. On Windows the import libraries supply
// the entries; the hosted build links its own definitions of the same names.
#pragma once

#include <cstddef>
#include <cstdint>

static_assert(sizeof(void*) == 4, "HAL records hold 32-bit pointers: build with -m32");

// Convention of every Win32 entry and of every HAL callback, in both builds.
#ifdef __i386__
#define KORV_STDCALL __attribute__((stdcall))
#else
#define KORV_STDCALL
#endif

using BYTE = uint8_t;
using WORD = uint16_t;
using DWORD = uint32_t;
using LONG = int32_t;
using BOOL = int32_t;
using ULONG_PTR = uint32_t;
using HANDLE = void*;
using HINSTANCE = struct HINSTANCE__*;
using HMODULE = HINSTANCE;
using HKEY = struct HKEY__*;
// Unsigned, as result codes are only stored and compared, never tested by sign.
using HRESULT = uint32_t;

struct GUID {
    uint32_t Data1;
    uint16_t Data2, Data3;
    uint8_t Data4[8];
};
static_assert(sizeof(GUID) == 16);

/// True if all 128 bits of a and b agree.
constexpr bool IsEqualGuid(const GUID& a, const GUID& b) {
    bool equal = a.Data1 == b.Data1 && a.Data2 == b.Data2 && a.Data3 == b.Data3;
    for (int i = 0; i < 8; ++i) {
        equal = equal && a.Data4[i] == b.Data4[i];
    }
    return equal;
}

struct POINT {
    LONG x, y;
};

// Right and bottom are exclusive.
struct RECT {
    LONG left, top, right, bottom;
};
using RECTL = RECT;
static_assert(sizeof(RECT) == 16 && offsetof(RECT, bottom) == 12);

struct PALETTEENTRY {
    BYTE peRed, peGreen, peBlue, peFlags;
};
static_assert(sizeof(PALETTEENTRY) == 4 && offsetof(PALETTEENTRY, peBlue) == 2);

struct SYSTEM_INFO {
    DWORD dwOemId;
    DWORD dwPageSize;
    void* lpMinimumApplicationAddress;
    void* lpMaximumApplicationAddress;
    DWORD dwActiveProcessorMask;
    DWORD dwNumberOfProcessors;
    DWORD dwProcessorType;
    DWORD dwAllocationGranularity;
    WORD wProcessorLevel, wProcessorRevision;
};
static_assert(sizeof(SYSTEM_INFO) == 36 && offsetof(SYSTEM_INFO, dwNumberOfProcessors) == 20 &&
              offsetof(SYSTEM_INFO, dwProcessorType) == 24);

using DCIRVAL = int32_t; // negative: failure

struct DCISURFACEINFO {
    DWORD dwSize, dwDCICaps, dwCompression, dwMask[3];
    DWORD dwWidth, dwHeight; // pixels
    LONG lStride;            // bytes
    DWORD dwBitCount;
    ULONG_PTR dwOffSurface;
    WORD wSelSurface, wReserved;
    DWORD dwReserved1, dwReserved2, dwReserved3;
    DCIRVAL(KORV_STDCALL* BeginAccess)(void*, RECT*);
    void(KORV_STDCALL* EndAccess)(void*);
    void(KORV_STDCALL* DestroySurface)(void*);
};
static_assert(sizeof(DCISURFACEINFO) == 72 && offsetof(DCISURFACEINFO, dwWidth) == 24 &&
              offsetof(DCISURFACEINFO, dwHeight) == 28 &&
              offsetof(DCISURFACEINFO, BeginAccess) == 60);

inline constexpr DWORD GENERIC_READ = 0x80000000, GENERIC_WRITE = 0x40000000;
inline constexpr DWORD FILE_SHARE_READ = 1, FILE_SHARE_WRITE = 2;
inline constexpr DWORD OPEN_EXISTING = 3;
inline constexpr DWORD FILE_ATTRIBUTE_NORMAL = 0x80;
inline constexpr DWORD FILE_MAP_WRITE = 2;
inline constexpr DWORD SEMAPHORE_ALL_ACCESS = 0x1F0003;
inline constexpr DWORD INFINITE = 0xFFFFFFFF;
inline constexpr DWORD WAIT_OBJECT_0 = 0, WAIT_TIMEOUT = 258, WAIT_FAILED = 0xFFFFFFFF;
inline constexpr DWORD HEAP_ZERO_MEMORY = 8;
inline constexpr DWORD DLL_PROCESS_DETACH = 0, DLL_PROCESS_ATTACH = 1;
inline constexpr DWORD PROCESSOR_INTEL_PENTIUM = 586;
inline constexpr DWORD REG_SZ = 1, REG_BINARY = 3, REG_DWORD = 4;
inline constexpr DWORD KEY_READ = 0x20019, KEY_SET_VALUE = 2;
inline constexpr LONG ERROR_SUCCESS = 0, ERROR_FILE_NOT_FOUND = 2, ERROR_MORE_DATA = 234;
inline constexpr HRESULT E_NOTIMPL = 0x80004001, E_FAIL = 0x80004005, E_OUTOFMEMORY = 0x8007000E,
                         E_INVALIDARG = 0x80070057;
inline constexpr DWORD SRCCOPY = 0x00CC0020, BLACKNESS = 0x00000042, WHITENESS = 0x00FF0062;
inline constexpr int DCI_OK = 0, DCI_FAIL_GENERIC = -1;

// Pointers made from integers can't be constants of the language.
#define INVALID_HANDLE_VALUE (reinterpret_cast<HANDLE>(0xFFFFFFFFu))
#define HKEY_LOCAL_MACHINE (reinterpret_cast<HKEY>(0x80000002u))

extern "C" {

// KERNEL32
HANDLE KORV_STDCALL CreateFileA(const char* name, DWORD access, DWORD share, void* security,
                                DWORD creation, DWORD attributes, HANDLE templateFile);
BOOL KORV_STDCALL DeviceIoControl(HANDLE device, DWORD code, void* in, DWORD inBytes, void* out,
                                  DWORD outBytes, DWORD* returned, void* overlapped);
BOOL KORV_STDCALL CloseHandle(HANDLE handle);
void KORV_STDCALL GetSystemInfo(SYSTEM_INFO* info);
HANDLE KORV_STDCALL HeapCreate(DWORD options, DWORD initialBytes, DWORD maximumBytes);
void* KORV_STDCALL HeapAlloc(HANDLE heap, DWORD flags, DWORD bytes);
BOOL KORV_STDCALL HeapFree(HANDLE heap, DWORD flags, void* block);
HMODULE KORV_STDCALL GetModuleHandleA(const char* name);
BOOL KORV_STDCALL DisableThreadLibraryCalls(HMODULE module);
char* KORV_STDCALL lstrcpyA(char* to, const char* from);
char* KORV_STDCALL lstrcatA(char* to, const char* from);
HANDLE KORV_STDCALL OpenSemaphoreA(DWORD access, BOOL inherit, const char* name);
DWORD KORV_STDCALL WaitForSingleObject(HANDLE object, DWORD milliseconds);
BOOL KORV_STDCALL ReleaseSemaphore(HANDLE semaphore, LONG count, LONG* previous);
HANDLE KORV_STDCALL OpenFileMappingA(DWORD access, BOOL inherit, const char* name);
void* KORV_STDCALL MapViewOfFile(HANDLE mapping, DWORD access, DWORD offsetHigh, DWORD offsetLow,
                                 DWORD bytes);
BOOL KORV_STDCALL UnmapViewOfFile(const void* view);

// WINMM
DWORD KORV_STDCALL timeGetTime(); // milliseconds

// ADVAPI32
LONG KORV_STDCALL RegOpenKeyExA(HKEY key, const char* path, DWORD options, DWORD access,
                                HKEY* result);
LONG KORV_STDCALL RegQueryValueExA(HKEY key, const char* name, DWORD* reserved, DWORD* type,
                                   BYTE* data, DWORD* bytes);
LONG KORV_STDCALL RegSetValueExA(HKEY key, const char* name, DWORD reserved, DWORD type,
                                 const BYTE* data, DWORD bytes);

// DCIMAN32
DCIRVAL KORV_STDCALL DCIBeginAccess(DCISURFACEINFO* surface, int x, int y, int width, int height);
void KORV_STDCALL DCIEndAccess(DCISURFACEINFO* surface);
}
