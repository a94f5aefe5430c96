#pragma once
// Files that appear whole or not at all.
#include <filesystem>
#include <fstream>
#include <span>
#include <string>

namespace korv {

// A file under a temporary name beside its own, which takes its own name at Commit() and goes away
// without it. Every failure is a UserError.
class OutputFile {
  public:
    explicit OutputFile(std::filesystem::path path);
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    // Binary. Its failures are reported by Commit().
    std::ostream& Stream() { return stream_; }
    void Commit();

  private:
    std::filesystem::path path_, temporary_;
    std::ofstream stream_;
};

// All of a file's bytes. UserError if it cannot be read.
std::string ReadFile(const std::filesystem::path& path);

// Writes `bytes` to `path`, whole or not at all. UserError if that fails.
void WriteFile(const std::filesystem::path& path, std::span<const std::byte> bytes);

// Makes the folder and those above it. UserError if that fails.
void MakeFolder(const std::filesystem::path& path);

} // namespace korv
