#include "tests/korvchk/fake_system.h"

#include "tools/korvchk/system.h"

#include <cstring>

namespace test {

FakeSystem& TheSystem() {
    static FakeSystem system;
    return system;
}

} // namespace test

namespace chk::system {

using test::TheSystem;

namespace {

bool Give(const std::string& folder, char* path, uint32_t bytes) {
    if (folder.empty() || folder.size() >= bytes) {
        return false;
    }
    std::strcpy(path, folder.c_str());
    return true;
}

} // namespace

void Print(const char* text) {
    TheSystem().printed += text;
}

bool SystemFolder(char* path, uint32_t bytes) {
    return Give(TheSystem().systemFolder, path, bytes);
}

bool OwnFolder(char* path, uint32_t bytes) {
    return Give(TheSystem().ownFolder, path, bytes);
}

bool IsShared(uint32_t address, uint32_t) {
    return address >= 0x1000;
}

File ReadFile(const char* path) {
    const auto file = TheSystem().files.find(path);
    return file == TheSystem().files.end()
               ? File{nullptr, 0}
               : File{file->second.data(), static_cast<uint32_t>(file->second.size())};
}

void FreeFile(const File&) {}

bool CreateDirectDraw(IDirectDraw** out, uint32_t* result) {
    *out = TheSystem().directDraw;
    *result = TheSystem().createResult;
    return TheSystem().hasDirectX;
}

bool LoadedDriver(int32_t* interfaceVersion) {
    *interfaceVersion = TheSystem().driver.value_or(0);
    return TheSystem().driver.has_value();
}

HWND OpenWindow(uint32_t, uint32_t, uint32_t, uint32_t) {
    if (!TheSystem().windows) {
        return nullptr;
    }
    ++TheSystem().openWindows;
    return reinterpret_cast<HWND>(0x100);
}

void CloseWindow(HWND) {
    --TheSystem().openWindows;
}

void Pause(uint32_t milliseconds) {
    TheSystem().paused += milliseconds;
}

} // namespace chk::system
