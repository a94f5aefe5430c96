#pragma once
// What a crash of the driver is told with.
#include <string>

namespace korv {

// While it lives, a fault of this program's own (a bad address, a division by zero) prints the note
// and the kind of fault on standard error, one line, and ends the program with kExitUnexpected. One
// at a time.
class CrashNote {
  public:
    CrashNote();
    ~CrashNote();
    CrashNote(const CrashNote&) = delete;
    CrashNote& operator=(const CrashNote&) = delete;

    static void Set(const std::string& note);
    static const std::string& Text();
};

} // namespace korv
