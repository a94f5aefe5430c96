#include "host/loader/imports.h"

#include "driver/platform/win32.h"
#include "host/win32/names.h"

#include <string>

namespace host::loader {

namespace {

// A program need not run under the one that Linux gives it: one built for single precision sets its
// own before main.
uint16_t programsControlWord;

class HostControlWord {
  public:
    HostControlWord() : saved_(ControlWord()) { SetControlWord(programsControlWord); }
    ~HostControlWord() { SetControlWord(saved_); }

  private:
    uint16_t saved_;
};

// Windows code promises less about the stack than this program's functions count on.
template <auto Function>
struct Entry;
template <class Result, class... Arguments, Result(KORV_STDCALL* Function)(Arguments...)>
struct Entry<Function> {
    __attribute__((force_align_arg_pointer)) static Result KORV_STDCALL
    Call(Arguments... arguments) {
        const HostControlWord word;
        return Function(arguments...);
    }
};

struct Import {
    const char* dll;
    const char* name;
    void* function;
};

#define KORV_IMPORT(dll, name)                                                                     \
    { dll, #name, reinterpret_cast<void*>(&Entry<&::name>::Call) }
const Import kImports[] = {
    KORV_IMPORT("kernel32", CreateFileA),
    KORV_IMPORT("kernel32", DeviceIoControl),
    KORV_IMPORT("kernel32", CloseHandle),
    KORV_IMPORT("kernel32", GetSystemInfo),
    KORV_IMPORT("kernel32", HeapCreate),
    KORV_IMPORT("kernel32", HeapAlloc),
    KORV_IMPORT("kernel32", HeapFree),
    KORV_IMPORT("kernel32", GetModuleHandleA),
    KORV_IMPORT("kernel32", DisableThreadLibraryCalls),
    KORV_IMPORT("kernel32", lstrcpyA),
    KORV_IMPORT("kernel32", lstrcatA),
    KORV_IMPORT("kernel32", OpenSemaphoreA),
    KORV_IMPORT("kernel32", WaitForSingleObject),
    KORV_IMPORT("kernel32", ReleaseSemaphore),
    KORV_IMPORT("kernel32", OpenFileMappingA),
    KORV_IMPORT("kernel32", MapViewOfFile),
    KORV_IMPORT("kernel32", UnmapViewOfFile),
    KORV_IMPORT("winmm", timeGetTime),
    KORV_IMPORT("advapi32", RegOpenKeyExA),
    KORV_IMPORT("advapi32", RegQueryValueExA),
    KORV_IMPORT("advapi32", RegSetValueExA),
    KORV_IMPORT("dciman32", DCIBeginAccess),
    KORV_IMPORT("dciman32", DCIEndAccess),
};
#undef KORV_IMPORT

} // namespace

void* FindImport(std::string_view dll, std::string_view name) {
    programsControlWord = ControlWord();
    std::string library = FoldCase(std::string(dll));
    if (library.ends_with(".dll")) {
        library.resize(library.size() - 4);
    }
    for (const Import& import : kImports) {
        if (library == import.dll && name == import.name) {
            return import.function;
        }
    }
    return nullptr;
}

} // namespace host::loader
