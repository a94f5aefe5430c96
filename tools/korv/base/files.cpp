#include "tools/korv/base/files.h"

#include "tools/korv/base/errors.h"
#include "tools/korv/base/input_file.h"

#include <fmt/format.h>

namespace korv {

std::string ReadFile(const std::filesystem::path& path, size_t most) {
    constexpr size_t kPiece = size_t{1} << 16;
    InputFile file(path);
    std::string bytes;
    const struct stat& status = file.Status();
    if (S_ISREG(status.st_mode) && static_cast<uint64_t>(status.st_size) <= most) {
        bytes.reserve(static_cast<size_t>(status.st_size) + kPiece);
    }
    while (true) {
        const size_t before = bytes.size();
        bytes.resize(before + kPiece);
        const size_t got = file.Read(bytes.data() + before, kPiece);
        bytes.resize(before + got);
        if (got == 0) {
            return bytes;
        }
        if (bytes.size() > most) {
            FailToRead(path, fmt::format("larger than {} MB", most >> 20));
        }
    }
}

bool FileExists(const std::filesystem::path& path) {
    std::error_code none;
    return std::filesystem::exists(path, none);
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
