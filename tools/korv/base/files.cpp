#include "tools/korv/base/files.h"

#include "tools/korv/base/errors.h"

#include <fmt/format.h>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>
#include <utility>

namespace korv {

namespace {

[[noreturn]] void FailToRead(const std::filesystem::path& path, const std::string& reason) {
    throw UserError(fmt::format("cannot read '{}': {}", path.string(), reason));
}

// Open while it lives.
class InputFile {
  public:
    explicit InputFile(const std::filesystem::path& path)
        : descriptor(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY)) {}
    ~InputFile() {
        if (descriptor >= 0) {
            close(descriptor);
        }
    }
    InputFile(const InputFile&) = delete;
    InputFile& operator=(const InputFile&) = delete;

    const int descriptor;
};

} // namespace

std::string ReadFile(const std::filesystem::path& path, size_t most) {
    constexpr size_t kPiece = size_t{1} << 16;
    const InputFile file(path);
    struct stat status {};
    if (file.descriptor < 0 || fstat(file.descriptor, &status) != 0) {
        FailToRead(path, std::strerror(errno));
    }
    if (S_ISDIR(status.st_mode)) {
        FailToRead(path, "it is a folder");
    }
    NoteInput(path, status);
    std::string bytes;
    if (S_ISREG(status.st_mode) && static_cast<uint64_t>(status.st_size) <= most) {
        bytes.reserve(static_cast<size_t>(status.st_size) + kPiece);
    }
    while (true) {
        const size_t before = bytes.size();
        bytes.resize(before + kPiece);
        const ssize_t got = read(file.descriptor, bytes.data() + before, kPiece);
        const int reason = errno;
        bytes.resize(before + static_cast<size_t>(got > 0 ? got : 0));
        if (got == 0) {
            return bytes;
        }
        if (got < 0 && reason != EINTR) {
            FailToRead(path, std::strerror(reason));
        }
        if (bytes.size() > most) {
            FailToRead(path, fmt::format("larger than {} MB", most >> 20));
        }
    }
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
    std::error_code none;
    if (!std::filesystem::is_directory(path, none)) {
        throw UserError(fmt::format("cannot make folder '{}': {}", path.string(),
                                    error ? error.message() : "something else has that name"));
    }
}

} // namespace korv
