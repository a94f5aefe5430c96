#include "tools/korv/base/files.h"

#include "tools/korv/base/errors.h"

#include <fmt/format.h>

#include <cerrno>
#include <cstring>
#include <sstream>
#include <unistd.h>

namespace korv {

namespace {

[[noreturn]] void Fail(const std::filesystem::path& path, const std::string& reason) {
    throw UserError(fmt::format("cannot write '{}': {}", path.string(), reason));
}

std::string LastReason() {
    return errno != 0 ? std::strerror(errno) : "the file system refused";
}

} // namespace

OutputFile::OutputFile(std::filesystem::path path)
    : path_(std::move(path)), temporary_(path_.string() + fmt::format(".{}.part", getpid())) {
    std::error_code error;
    if (std::filesystem::is_directory(path_, error)) {
        Fail(path_, "it is a folder, expected a file name");
    }
    errno = 0;
    stream_.open(temporary_, std::ios::binary | std::ios::trunc);
    if (!stream_) {
        Fail(path_, LastReason());
    }
}

OutputFile::~OutputFile() {
    std::error_code ignored;
    if (!temporary_.empty()) {
        std::filesystem::remove(temporary_, ignored);
    }
}

void OutputFile::Commit() {
    errno = 0;
    stream_.close();
    if (!stream_) {
        Fail(path_, LastReason());
    }
    std::error_code error;
    std::filesystem::rename(temporary_, path_, error);
    if (error) {
        Fail(path_, error.message());
    }
    temporary_.clear();
}

std::string ReadFile(const std::filesystem::path& path) {
    std::error_code error;
    if (std::filesystem::is_directory(path, error)) {
        throw UserError(fmt::format("cannot read '{}': it is a folder", path.string()));
    }
    errno = 0;
    std::ifstream file(path, std::ios::binary);
    std::ostringstream bytes;
    if (!file || !(bytes << file.rdbuf())) {
        throw UserError(fmt::format("cannot read '{}': {}", path.string(),
                                    file ? "it is empty" : std::strerror(errno)));
    }
    return bytes.str();
}

void WriteFile(const std::filesystem::path& path, std::span<const std::byte> bytes) {
    OutputFile file(path);
    file.Stream().write(reinterpret_cast<const char*>(bytes.data()),
                        static_cast<std::streamsize>(bytes.size()));
    file.Commit();
}

void MakeFolder(const std::filesystem::path& path) {
    std::error_code error;
    std::filesystem::create_directories(path, error);
    if (!std::filesystem::is_directory(path)) {
        throw UserError(fmt::format("cannot make folder '{}': {}", path.string(),
                                    error ? error.message() : "something else has that name"));
    }
}

} // namespace korv
