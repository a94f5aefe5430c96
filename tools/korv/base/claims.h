#pragma once
// What the tool reads and writes, so that nothing is written twice, or over what is read.
#include "tools/korv/base/errors.h"

#include <filesystem>
#include <string>
#include <sys/stat.h>

namespace korv {

// A file is an output and something else, too.
struct SharedFileError : UserError {
    using UserError::UserError;
};

// The name of standard output among those of files.
inline constexpr const char* kStandardOutput = "-";

// What a file name stands for, symbolic links followed: a file that need not exist, or an open
// descriptor of this process ("-", /dev/stdout, /dev/fd/3).
struct Target {
    std::filesystem::path file;
    int descriptor = -1;

    // False if there is no such file.
    bool Stat(struct stat& status) const;
    // A file that exists and is none to be replaced: a device, a FIFO, a folder, a descriptor.
    bool IsSpecial() const;
};

// UserError for links that lead in a circle.
Target TargetOf(const std::filesystem::path& name);

// Holds the file `name` for one output. SharedFileError if another claim, under whatever name,
// holds it, or if the file was read. The null device may be held by many.
class OutputClaim {
  public:
    explicit OutputClaim(const std::filesystem::path& name);
    ~OutputClaim();
    OutputClaim(const OutputClaim&) = delete;
    OutputClaim& operator=(const OutputClaim&) = delete;
};

// A file is read. SharedFileError if an output claims it.
void NoteInput(const std::filesystem::path& name, const struct stat& status);

// An output has gone to standard output since ForgetFiles, or will.
bool StandardOutputTaken();

// A command begins: it may write what those before it read. Claims that are held remain.
void ForgetFiles();

} // namespace korv
