#pragma once
#include "tools/korv/base/claims.h"
#include "tools/korv/base/fd_buffer.h"
#include "tools/korv/base/temporary_name.h"

#include <filesystem>
#include <optional>
#include <ostream>

namespace korv {

// A file that appears whole or not at all: it has a temporary name beside its own, takes its own
// name at Commit() and goes away without it. Links are followed. What is no regular file (a device,
// a FIFO, standard output as "-") is written as it is. Every failure is a UserError.
class OutputFile {
  public:
    explicit OutputFile(std::filesystem::path path);
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    // Binary. Its failures are reported by Close() and Commit().
    std::ostream& Stream() { return *stream_; }
    // Everything is written: whoever has several files closes all before he commits one.
    void Close();
    void Commit();

  private:
    int Open();
    int OpenTemporary();

    std::filesystem::path path_;
    Target target_;
    OutputClaim claim_;
    std::optional<TemporaryName> temporary_; // none for what is no regular file
    int descriptor_;
    std::optional<FdBuffer> buffer_;
    std::optional<std::ostream> stream_;
};

// The reason of errno `error`, for messages.
std::string ReasonOf(int error);

} // namespace korv
