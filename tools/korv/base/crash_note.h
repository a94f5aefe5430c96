#pragma once
// What a crash of the driver is told with.
#include <cstdint>
#include <string>

namespace korv {

// While it lives, a fault of this program's own (a bad address, a division by zero) prints the note
// and the kind of fault on standard error, one line, then the calls that led there, one a line, and
// ends the program with kExitUnexpected. One at a time. Under a sanitizer it leaves faults to the
// sanitizer, whose report tells more.
class CrashNote {
  public:
    CrashNote();
    ~CrashNote();
    CrashNote(const CrashNote&) = delete;
    CrashNote& operator=(const CrashNote&) = delete;

    static void Set(const std::string& note);
    static const std::string& Text();

    // Code that this program has mapped by itself. Writes what lies at an address of it to `text`,
    // of `bytes` bytes, and returns true. Called in a signal handler.
    using Describe = bool (*)(uint32_t address, char* text, size_t bytes);
    static void SetModule(Describe describe);
};

} // namespace korv
