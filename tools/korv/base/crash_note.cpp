#include "tools/korv/base/crash_note.h"

#include "tools/korv/base/errors.h"
#include "tools/korv/base/temporary_name.h"

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <cxxabi.h>
#include <dlfcn.h>
#include <iterator>
#include <link.h>
#include <sys/wait.h>
#include <ucontext.h>
#include <unistd.h>
#include <unwind.h>

namespace korv {

namespace {

#ifdef __SANITIZE_ADDRESS__
constexpr bool kTakesSignals = false; // its own report says more
#else
constexpr bool kTakesSignals = true;
#endif
constexpr int kSignals[] = {SIGSEGV, SIGBUS, SIGFPE, SIGILL};
constexpr size_t kMostFrames = 8;
constexpr size_t kStackBytes = 256 * 1024;

std::string note;
std::string program;    // path, for addr2line
uintptr_t programMoved; // where it lies, less where it was linked for
struct sigaction before[std::size(kSignals)];
stack_t stackBefore;
alignas(16) uint8_t handlerStack[kStackBytes];
alignas(16) uint8_t reportStack[kStackBytes];
CrashNote::Describe describe = nullptr;

uint32_t frames[kMostFrames];
size_t frameCount = 0;

const char* KindOf(int signal) {
    switch (signal) {
    case SIGFPE:
        return "division by zero";
    case SIGILL:
        return "invalid instruction";
    default:
        return "access violation";
    }
}

void Put(const char* line, int bytes, size_t room) {
    const size_t length = bytes < 0 ? 0 : std::min<size_t>(bytes, room - 1);
    [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, line, length);
}

void AddFrame(uint32_t address) {
    if (frameCount < kMostFrames) {
        frames[frameCount++] = address;
    }
}

bool InModule(uint32_t address, char* text, size_t bytes) {
    return describe != nullptr && describe(address, text, bytes);
}

// The mapped code has no tables to unwind by: what looks like a return address into it counts as
// one.
void ScanStack(uint32_t from) {
    constexpr uint32_t kWords = 1024, kCallBytes = 5;
    constexpr uint8_t kCall = 0xE8, kCallIndirect = 0xFF;
    char text[256];
    for (uint32_t i = 0; i < kWords && frameCount < kMostFrames; ++i) {
        const uint32_t address = reinterpret_cast<const uint32_t*>(from)[i];
        if (!InModule(address, text, sizeof text) || !InModule(address - 6, text, sizeof text)) {
            continue;
        }
        const auto* code = reinterpret_cast<const uint8_t*>(address);
        if (code[-static_cast<int>(kCallBytes)] == kCall || code[-2] == kCallIndirect ||
            code[-3] == kCallIndirect || code[-6] == kCallIndirect) {
            AddFrame(address);
        }
    }
}

_Unwind_Reason_Code OnFrame(_Unwind_Context* context, void* start) {
    const auto address = static_cast<uint32_t>(_Unwind_GetIP(context));
    // Those above the fault are the handler's.
    auto& started = *static_cast<bool*>(start);
    if (started) {
        AddFrame(address);
    }
    started = started || address == frames[0];
    return _URC_NO_REASON;
}

// Ends without names but for those that the dynamic symbol table has.
void NameByTable() {
    for (size_t i = 0; i < frameCount; ++i) {
        char line[512];
        Dl_info info{};
        const bool known =
            dladdr(reinterpret_cast<void*>(frames[i]), &info) != 0 && info.dli_sname != nullptr;
        int status = -1;
        char* name =
            known ? abi::__cxa_demangle(info.dli_sname, nullptr, nullptr, &status) : nullptr;
        Put(line,
            std::snprintf(line, sizeof line, "    %08x %s\n", frames[i],
                          name != nullptr ? name
                          : known         ? info.dli_sname
                                          : "?"),
            sizeof line);
    }
}

// Names, files and lines of the frames, by a program that reads the debugging information. In a
// process of its own: this one is not to be trusted any more.
void NameFrames() {
    const pid_t child = fork();
    if (child != 0) {
        int status;
        waitpid(child, &status, 0);
        return;
    }
    for (const int signal : kSignals) {
        std::signal(signal, SIG_DFL);
    }
    char addresses[kMostFrames][16];
    const char* arguments[kMostFrames + 8] = {"addr2line", "-i", "-e", program.c_str(),
                                              "-f",        "-C", "-p"};
    size_t count = 7;
    for (size_t i = 0; i < frameCount; ++i) {
        // A return address lies behind its call.
        std::snprintf(addresses[i], sizeof addresses[i], "0x%x",
                      static_cast<uint32_t>(frames[i] - programMoved - (i != 0 ? 1 : 0)));
        arguments[count++] = addresses[i];
    }
    dup2(STDERR_FILENO, STDOUT_FILENO);
    execvp("addr2line", const_cast<char* const*>(arguments));
    NameByTable();
    _exit(0);
}

// Runs on a stack of its own behind the handler, so that it may start a process.
[[noreturn]] void Report() {
    char text[256];
    bool mapped = false;
    for (size_t i = 0; i < frameCount; ++i) {
        if (InModule(frames[i], text, sizeof text)) {
            char line[320];
            Put(line, std::snprintf(line, sizeof line, "    %s\n", text), sizeof line);
            mapped = true;
        }
    }
    if (!mapped) {
        NameFrames();
    }
    _exit(kExitUnexpected);
}

// The program's state is not to be trusted any more: the line goes out in one plain call.
void OnCrash(int signal, siginfo_t* info, void* data) {
    // A fault within is not told.
    for (const int other : kSignals) {
        std::signal(other, SIG_DFL);
    }
    RemoveTemporaryFiles();
    auto* context = static_cast<ucontext_t*>(data);
    greg_t* registers = context->uc_mcontext.gregs;
    char line[1024];
    Put(line,
        std::snprintf(line, sizeof line, "korv: %s: %s at %p\n", note.c_str(), KindOf(signal),
                      info->si_addr),
        sizeof line);
    frameCount = 0;
    AddFrame(static_cast<uint32_t>(registers[REG_EIP]));
    char text[256];
    if (InModule(frames[0], text, sizeof text)) {
        ScanStack(static_cast<uint32_t>(registers[REG_ESP]));
    } else {
        bool started = false;
        _Unwind_Backtrace(OnFrame, &started);
    }
    registers[REG_EIP] = static_cast<greg_t>(reinterpret_cast<uintptr_t>(&Report));
    registers[REG_ESP] =
        static_cast<greg_t>(reinterpret_cast<uintptr_t>(reportStack + kStackBytes - 64) | 12);
}

} // namespace

CrashNote::CrashNote() {
    if (!kTakesSignals) {
        return;
    }
    char path[4096];
    const ssize_t bytes = readlink("/proc/self/exe", path, sizeof path);
    program.assign(path, bytes > 0 ? static_cast<size_t>(bytes) : 0);
    // The first one that is told of is the program.
    dl_iterate_phdr(
        [](dl_phdr_info* info, size_t, void*) {
            programMoved = info->dlpi_addr;
            return 1;
        },
        nullptr);
    // The first walk may take memory.
    bool started = false;
    _Unwind_Backtrace(OnFrame, &started);
    stack_t stack{};
    stack.ss_sp = handlerStack;
    stack.ss_size = kStackBytes;
    sigaltstack(&stack, &stackBefore);
    for (size_t i = 0; i < std::size(kSignals); ++i) {
        struct sigaction action {};
        action.sa_sigaction = OnCrash;
        action.sa_flags = SA_SIGINFO | SA_ONSTACK;
        sigemptyset(&action.sa_mask);
        sigaction(kSignals[i], &action, &before[i]);
    }
}

CrashNote::~CrashNote() {
    if (kTakesSignals) {
        for (size_t i = 0; i < std::size(kSignals); ++i) {
            sigaction(kSignals[i], &before[i], nullptr);
        }
        sigaltstack(&stackBefore, nullptr);
    }
    note.clear();
    describe = nullptr;
}

const std::string& CrashNote::Text() {
    return note;
}

void CrashNote::Set(const std::string& text) {
    note = text;
}

void CrashNote::SetModule(Describe function) {
    describe = function;
}

} // namespace korv
