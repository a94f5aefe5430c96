// korvchk.exe itself, mapped and run in a process of its own, with the host in Windows' place.
#include "host/display/machine.h"
#include "host/loader/imports.h"
#include "host/vdd/minivdd.h"
#include "host/win32/names.h"
#include "tests/korvchk/fake_system.h"
#include "tests/korvchk/windows_tables.h"
#include "tests/support_host/configs.h"
#include "tests/support_host/dll_path.h"
#include "tests/support_host/program_path.h"
#include "tests/windows95/project_files.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <memory>
#include <string>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

std::string commandLine;
std::string library; // KORV32.dll's bytes

// What CreateFileA gives for a file.
const HANDLE kFile = reinterpret_cast<HANDLE>(0x77);

const char* FOR_WINDOWS GetCommandLineA() {
    return commandLine.c_str();
}
void FOR_WINDOWS ExitProcess(uint32_t code) {
    _exit(static_cast<int>(code));
}
HANDLE FOR_WINDOWS GetStdHandle(uint32_t) {
    return reinterpret_cast<HANDLE>(1);
}
BOOL FOR_WINDOWS WriteFile(HANDLE, const void* bytes, DWORD count, DWORD* written, void*) {
    *written = static_cast<DWORD>(write(1, bytes, count));
    return 1;
}
uint32_t FOR_WINDOWS GetSystemDirectoryA(char* path, uint32_t) {
    std::strcpy(path, "C:\\WINDOWS\\SYSTEM");
    return static_cast<uint32_t>(std::strlen(path));
}
DWORD FOR_WINDOWS GetModuleFileNameA(HMODULE, char* path, DWORD) {
    std::strcpy(path, "C:\\WINDOWS\\korvchk.exe");
    return static_cast<DWORD>(std::strlen(path));
}
HANDLE FOR_WINDOWS OpenFile(const char* name, DWORD access, DWORD share, void* security,
                            DWORD creation, DWORD attributes, HANDLE form) {
    if (std::string(name) == "C:\\WINDOWS\\SYSTEM\\KORV32.dll") {
        return kFile;
    }
    return CreateFileA(name, access, share, security, creation, attributes, form);
}
BOOL FOR_WINDOWS CloseFile(HANDLE handle) {
    return handle == kFile ? 1 : CloseHandle(handle);
}
DWORD FOR_WINDOWS GetFileSize(HANDLE, DWORD*) {
    return static_cast<DWORD>(library.size());
}
BOOL FOR_WINDOWS ReadFile(HANDLE, void* to, DWORD count, DWORD* read, void*) {
    std::memcpy(to, library.data(), count);
    *read = count;
    return 1;
}
void* FOR_WINDOWS VirtualAlloc(void*, DWORD bytes, DWORD, DWORD) {
    return mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
}
BOOL FOR_WINDOWS VirtualFree(void*, DWORD, DWORD) {
    return 1;
}
BOOL FOR_WINDOWS IsBadReadPtr(const void*, DWORD) {
    return 0;
}
// DirectX, if this Windows 95 has it.
IDirectDraw* directDraw = nullptr;
const HMODULE kDirectX = reinterpret_cast<HMODULE>(0x10), kDriver = reinterpret_cast<HMODULE>(0x20),
              kProgram = reinterpret_cast<HMODULE>(0x400000);

HRESULT FOR_WINDOWS DirectDrawCreate(const GUID*, void** out, void*) {
    *out = test::ForWindows(directDraw);
    return DD_OK;
}
int32_t FOR_WINDOWS Initialize(void*) {
    return 0x10000;
}
HMODULE FOR_WINDOWS LoadLibraryA(const char* name) {
    return directDraw != nullptr && std::string(name) == "DDRAW.DLL" ? kDirectX : nullptr;
}
HMODULE FOR_WINDOWS ModuleHandle(const char* name) {
    return name == nullptr ? kProgram : std::string(name) == "KORV32.DLL" ? kDriver : nullptr;
}
void* FOR_WINDOWS GetProcAddress(HMODULE module, const char* name) {
    const std::string wanted = name;
    return module == kDirectX && wanted == "DirectDrawCreate"
               ? reinterpret_cast<void*>(&DirectDrawCreate)
           : module == kDriver && wanted == "KORV_Initialize" ? reinterpret_cast<void*>(&Initialize)
                                                              : nullptr;
}
uint16_t FOR_WINDOWS RegisterClassA(const void*) {
    return 1;
}
int windows = 0;
HWND FOR_WINDOWS CreateWindowExA(DWORD, const char*, const char*, DWORD, int, int, int, int, HWND,
                                 void*, HMODULE, void*) {
    ++windows;
    return reinterpret_cast<HWND>(0x200);
}
BOOL FOR_WINDOWS DestroyWindow(HWND) {
    --windows;
    return 1;
}
BOOL FOR_WINDOWS PeekMessageA(void*, HWND, uint32_t, uint32_t, uint32_t) {
    return 0;
}
int FOR_WINDOWS GetSystemMetrics(int) {
    return 640;
}
DWORD milliseconds = 0;
DWORD FOR_WINDOWS GetTickCount() {
    return milliseconds;
}
void FOR_WINDOWS Sleep(DWORD time) {
    milliseconds += time;
}

// Nothing else is called.
void FOR_WINDOWS NotExpected() {
    _exit(99);
}

void* Import(const std::string& dll, const std::string& name) {
#define OURS(function)                                                                             \
    { #function, reinterpret_cast < void*>(&function) }
    static const std::map<std::string, void*> ours = {
        OURS(GetCommandLineA),
        OURS(ExitProcess),
        OURS(GetStdHandle),
        OURS(WriteFile),
        OURS(GetSystemDirectoryA),
        OURS(GetModuleFileNameA),
        OURS(GetFileSize),
        OURS(ReadFile),
        OURS(VirtualAlloc),
        OURS(VirtualFree),
        OURS(IsBadReadPtr),
        OURS(LoadLibraryA),
        OURS(GetProcAddress),
        OURS(RegisterClassA),
        OURS(CreateWindowExA),
        OURS(DestroyWindow),
        OURS(PeekMessageA),
        OURS(GetSystemMetrics),
        OURS(GetTickCount),
        OURS(Sleep),
        {"GetModuleHandleA", reinterpret_cast<void*>(&ModuleHandle)},
        {"CreateFileA", reinterpret_cast<void*>(&OpenFile)},
        {"CloseHandle", reinterpret_cast<void*>(&CloseFile)},
    };
#undef OURS
    if (const auto found = ours.find(name); found != ours.end()) {
        return found->second;
    }
    void* hosts = host::loader::FindImport(dll, name);
    return hosts != nullptr ? hosts : reinterpret_cast<void*>(&NotExpected);
}

// Maps the file where it wants to lie, binds its imports and gives its entry.
void (*Map(const std::string& file))() {
    const auto word = [](const char* at) {
        uint32_t value;
        std::memcpy(&value, at, 4);
        return value;
    };
    const auto half = [](const char* at) {
        uint16_t value;
        std::memcpy(&value, at, 2);
        return value;
    };
    const char* header = file.data() + word(file.data() + 0x3C);
    const char* optional = header + 24;
    const uint32_t base = word(optional + 28), bytes = word(optional + 56);
    auto* image = static_cast<char*>(
        mmap(reinterpret_cast<void*>(base), bytes, PROT_READ | PROT_WRITE | PROT_EXEC,
             MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED_NOREPLACE, -1, 0));
    if (reinterpret_cast<uintptr_t>(image) != base) {
        _exit(98);
    }
    const char* section = optional + half(header + 20);
    for (uint32_t i = 0; i < half(header + 6); ++i, section += 40) {
        std::memcpy(image + word(section + 12), file.data() + word(section + 20),
                    std::min(word(section + 16), word(section + 8)));
    }
    for (char* entry = image + word(optional + 104); word(entry + 12) != 0; entry += 20) {
        const std::string dll = image + word(entry + 12);
        for (char* slot = image + word(entry + 16); word(slot) != 0; slot += 4) {
            void* function = Import(dll, image + word(slot) + 2);
            std::memcpy(slot, &function, 4);
        }
    }
    return reinterpret_cast<void (*)()>(image + word(optional + 16));
}

// The records as a mini VDD has them: where all processes see them.
class SharedRecords : public host::Device {
  public:
    explicit SharedRecords(host::Display& display) {
        constexpr uintptr_t kShared = 0x90000000;
        auto* memory = static_cast<uint8_t*>(
            mmap(reinterpret_cast<void*>(kShared), 0x20000, PROT_READ | PROT_WRITE,
                 MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED_NOREPLACE, -1, 0));
        data_ = new (memory) DriverData(*display.Driver());
        data_->ChipInfo = new (memory + 0x4000) ChipInfo(*display.Chip());
        std::memcpy(memory + 0x8000, display.Chip()->ContextBlocks, 0x8000);
        data_->ChipInfo->ContextBlocks = reinterpret_cast<ContextBlock*>(memory + 0x8000);
    }
    bool Control(uint32_t code, const void* in, uint32_t inBytes, void* out, uint32_t outBytes,
                 uint32_t* returned) override {
        if (code != MiniVDDGetDriverData) {
            return host::TheMiniVdd().Control(code, in, inBytes, out, outBytes, returned);
        }
        std::memcpy(out, &data_, 4);
        *returned = 4;
        return true;
    }

  private:
    DriverData* data_;
};

struct Ran {
    int code;
    std::string printed;
};

enum class Below { Nothing, Records, All };

Ran RunProgram(const std::string& arguments, Below below) {
    int ends[2];
    EXPECT_EQ(pipe(ends), 0);
    const pid_t child = fork();
    if (child == 0) {
        dup2(ends[1], 1);
        close(ends[0]);
        library = test::Read(test::DllPath());
        commandLine = "\"C:\\Program Files\\korvchk.exe\" " + arguments;
        host::PowerCycle();
        host::DisplayConfig config = test::ConfigFor(DevicePermedia2);
        config.registry["Direct3DHAL.NoDMA"] = "1";
        host::Display display(config);
        std::unique_ptr<test::FakeDirectX> directX;
        if (below == Below::All && display.Start()) {
            directX = std::make_unique<test::FakeDirectX>(display);
            directDraw = directX->Interface();
        }
        SharedRecords records(display);
        if (below == Below::Nothing) {
            host::UnregisterDevice(kMiniVDDName);
        } else {
            host::RegisterDevice(kMiniVDDName, &records);
        }
        Map(test::Read(test::ProgramPath()))();
        _exit(97);
    }
    close(ends[1]);
    Ran ran;
    char buffer[512];
    for (ssize_t count; (count = read(ends[0], buffer, sizeof(buffer))) > 0;) {
        ran.printed.append(buffer, static_cast<size_t>(count));
    }
    close(ends[0]);
    int status = 0;
    waitpid(child, &status, 0);
    ran.code = WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    return ran;
}

using testing::HasSubstr;

TEST(Program, RunsOnAWindowsWithoutDirectX) {
    const Ran ran = RunProgram("", Below::Records);
    EXPECT_EQ(ran.code, 1);
    EXPECT_THAT(ran.printed, testing::StartsWith("korvchk "));
    EXPECT_THAT(ran.printed, HasSubstr("  exports    all 20\r\n"));
    EXPECT_THAT(ran.printed, HasSubstr("  mini VDD   answers at \\\\.\\glintmvd\r\n"));
    EXPECT_THAT(ran.printed, HasSubstr("  mode       640 by 480, 16 bits\r\n"));
    EXPECT_THAT(ran.printed, HasSubstr("  records    filled as KORV32 expects\r\n"));
    EXPECT_THAT(ran.printed,
                HasSubstr("  Direct3DHAL.NoDMA                    1       from the registry\r\n"));
    EXPECT_THAT(ran.printed,
                HasSubstr("  !! DirectX is not installed on this machine: install it first.\r\n"));
    EXPECT_THAT(ran.printed, HasSubstr("1 thing is wrong"));
}

// Its calls of DirectDraw and Direct3D are those of Windows' headers.
TEST(Program, Draws) {
    const Ran ran = RunProgram("/draw", Below::All);
    EXPECT_EQ(ran.code, 0) << ran.printed;
    EXPECT_THAT(ran.printed, HasSubstr("  KORV32     loaded, and its display is up\r\n"));
    EXPECT_THAT(ran.printed,
                HasSubstr("  triangles  dither, depth test, fog, stipple, subpixels\r\n"));
    for (const char* place : {"off the screen", "in a window   ", "full screen   "}) {
        EXPECT_THAT(ran.printed, HasSubstr(std::string("  ") + place +
                                           "                8 of 8 places have the right"));
    }
    EXPECT_THAT(ran.printed, HasSubstr("Nothing is wrong.\r\n"));
}

TEST(Program, RunsWithoutADriverBelow) {
    const Ran ran = RunProgram("/switches", Below::Nothing);
    EXPECT_EQ(ran.code, 1);
    EXPECT_THAT(ran.printed, HasSubstr("  !! No device answers at \\\\.\\glintmvd"));
}

TEST(Program, ReadsItsCommandLine) {
    Ran ran = RunProgram("/?", Below::Nothing);
    EXPECT_EQ(ran.code, 0);
    EXPECT_THAT(ran.printed, HasSubstr("korvchk /draw"));
    ran = RunProgram("/wrong", Below::Nothing);
    EXPECT_EQ(ran.code, 2);
    EXPECT_EQ(ran.printed, "korvchk: '/wrong' means nothing here; korvchk /? tells what does\r\n");
}

} // namespace
