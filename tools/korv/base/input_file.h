#pragma once
// Files read piece by piece.
#include <filesystem>
#include <string>
#include <string_view>
#include <sys/stat.h>

namespace korv {

// Whether "-" is the name of standard input, or of a file.
enum class Dash { File, StandardInput };

// Throws UserError: "cannot read 'PATH': REASON".
[[noreturn]] void FailToRead(const std::filesystem::path& path, const std::string& reason);

// A file that is read from its beginning to its end. UserError if that fails, or if the file is an
// output.
class InputFile {
  public:
    explicit InputFile(const std::filesystem::path& path, Dash dash = Dash::File);
    ~InputFile();
    InputFile(const InputFile&) = delete;
    InputFile& operator=(const InputFile&) = delete;

    const struct stat& Status() const { return status_; }
    // Fills `bytes` with at most `most` bytes; the number read, 0 at the end.
    size_t Read(char* bytes, size_t most);

  private:
    std::filesystem::path path_;
    int descriptor_;
    struct stat status_ {};
};

// The lines of a file, or of standard input as "-", each without its line feed. A last line needs
// none.
class InputLines {
  public:
    explicit InputLines(const std::filesystem::path& path)
        : file_(path, Dash::StandardInput), path_(path) {}

    // False at the end. UserError for a line of more than a million bytes.
    bool Next(std::string_view& line);

  private:
    InputFile file_;
    std::filesystem::path path_;
    std::string bytes_;
    size_t at_ = 0;
    bool ended_ = false;
};

} // namespace korv
