#include "tools/korvchk/system.h"

namespace chk::system {

namespace {

// From here on Windows 95 maps memory alike in all processes.
constexpr uint32_t kFirstShared = 0x80000000;
constexpr const char* kClassName = "korvchk";

void Write(const char* text, uint32_t length) {
    DWORD written;
    WriteFile(GetStdHandle(STD_OUTPUT_HANDLE), text, length, &written, nullptr);
}

// Lets Windows paint and move on.
void Pump() {
    MSG message;
    while (PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE)) {
        DispatchMessageA(&message);
    }
}

} // namespace

void Print(const char* text) {
    uint32_t from = 0, at = 0;
    for (; text[at] != 0; ++at) {
        if (text[at] == '\n') {
            Write(text + from, at - from);
            Write("\r\n", 2);
            from = at + 1;
        }
    }
    Write(text + from, at - from);
}

bool SystemFolder(char* path, uint32_t bytes) {
    const UINT length = GetSystemDirectoryA(path, bytes);
    return length != 0 && length < bytes;
}

bool OwnFolder(char* path, uint32_t bytes) {
    DWORD length = GetModuleFileNameA(nullptr, path, bytes);
    if (length == 0 || length >= bytes) {
        return false;
    }
    while (length != 0 && path[length] != '\\') {
        --length;
    }
    path[length] = 0;
    return true;
}

bool IsShared(uint32_t address, uint32_t bytes) {
    return address >= kFirstShared && !IsBadReadPtr(reinterpret_cast<const void*>(address), bytes);
}

File ReadFile(const char* path) {
    const File none = {nullptr, 0};
    const HANDLE file = CreateFileA(path, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                                    FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE) {
        return none;
    }
    const DWORD size = GetFileSize(file, nullptr);
    void* memory = size != 0 && size != 0xFFFFFFFF
                       ? VirtualAlloc(nullptr, size, MEM_COMMIT, PAGE_READWRITE)
                       : nullptr;
    DWORD read = 0;
    if (memory != nullptr && (!::ReadFile(file, memory, size, &read, nullptr) || read != size)) {
        VirtualFree(memory, 0, MEM_RELEASE);
        memory = nullptr;
    }
    CloseHandle(file);
    return memory != nullptr ? File{static_cast<const uint8_t*>(memory), size} : none;
}

void FreeFile(const File& file) {
    VirtualFree(const_cast<uint8_t*>(file.bytes), 0, MEM_RELEASE);
}

bool CreateDirectDraw(IDirectDraw** out, uint32_t* result) {
    using Create = HRESULT(WINAPI*)(GUID*, IDirectDraw**, IUnknown*);
    const HMODULE library = LoadLibraryA("DDRAW.DLL");
    const auto create = library != nullptr ? reinterpret_cast<Create>(reinterpret_cast<void*>(
                                                 GetProcAddress(library, "DirectDrawCreate")))
                                           : nullptr;
    if (create == nullptr) {
        return false;
    }
    *result = static_cast<uint32_t>(create(nullptr, out, nullptr));
    return true;
}

bool LoadedDriver(int32_t* interfaceVersion) {
    using Initialize = int32_t(WINAPI*)(void*);
    const HMODULE library = GetModuleHandleA("KORV32.DLL");
    const auto initialize = library != nullptr
                                ? reinterpret_cast<Initialize>(reinterpret_cast<void*>(
                                      GetProcAddress(library, "KORV_Initialize")))
                                : nullptr;
    if (initialize == nullptr) {
        return false;
    }
    *interfaceVersion = initialize(nullptr);
    return true;
}

HWND OpenWindow(uint32_t x, uint32_t y, uint32_t width, uint32_t height) {
    const HINSTANCE instance = GetModuleHandleA(nullptr);
    WNDCLASSA kind{};
    kind.lpfnWndProc = DefWindowProcA;
    kind.hInstance = instance;
    kind.lpszClassName = kClassName;
    RegisterClassA(&kind); // fails for the second window, whose class is there
    if (width == 0) {
        x = y = 0;
        width = static_cast<uint32_t>(GetSystemMetrics(SM_CXSCREEN));
        height = static_cast<uint32_t>(GetSystemMetrics(SM_CYSCREEN));
    }
    const HWND window =
        CreateWindowExA(WS_EX_TOPMOST, kClassName, "korvchk", WS_POPUP | WS_VISIBLE,
                        static_cast<int>(x), static_cast<int>(y), static_cast<int>(width),
                        static_cast<int>(height), nullptr, nullptr, instance, nullptr);
    Pump();
    return window;
}

void CloseWindow(HWND window) {
    DestroyWindow(window);
    Pump();
}

void Pause(uint32_t milliseconds) {
    const DWORD start = GetTickCount();
    while (GetTickCount() - start < milliseconds) {
        Pump();
        Sleep(20);
    }
}

} // namespace chk::system
