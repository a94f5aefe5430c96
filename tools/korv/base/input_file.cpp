#include "tools/korv/base/input_file.h"

#include "tools/korv/base/claims.h"

#include <fmt/format.h>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace korv {

namespace {

constexpr size_t kPiece = size_t{1} << 16;
constexpr size_t kLongestLine = 1000000;

} // namespace

void FailToRead(const std::filesystem::path& path, const std::string& reason) {
    throw UserError(fmt::format("cannot read '{}': {}", path.string(), reason));
}

InputFile::InputFile(const std::filesystem::path& path, Dash dash)
    : path_(path), descriptor_(dash == Dash::StandardInput && path == "-"
                                   ? dup(STDIN_FILENO)
                                   : open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY)) {
    const auto fail = [this](const char* reason) {
        if (descriptor_ >= 0) {
            close(descriptor_);
        }
        FailToRead(path_, reason);
    };
    if (descriptor_ < 0 || fstat(descriptor_, &status_) != 0) {
        fail(std::strerror(errno));
    }
    if (S_ISDIR(status_.st_mode)) {
        fail("it is a folder");
    }
    try {
        NoteInput(path_, status_);
    } catch (...) {
        close(descriptor_);
        throw;
    }
}

InputFile::~InputFile() {
    close(descriptor_);
}

size_t InputFile::Read(char* bytes, size_t most) {
    while (true) {
        const ssize_t got = read(descriptor_, bytes, most);
        if (got >= 0) {
            return static_cast<size_t>(got);
        }
        if (errno != EINTR) {
            FailToRead(path_, std::strerror(errno));
        }
    }
}

bool InputLines::Next(std::string_view& line) {
    size_t looked = at_;
    while (true) {
        const size_t end = bytes_.find('\n', looked);
        if (end != std::string::npos || ended_) {
            const size_t stop = std::min(end, bytes_.size());
            if (end == std::string::npos && at_ == stop) {
                return false;
            }
            line = std::string_view(bytes_).substr(at_, stop - at_);
            at_ = std::min(stop + 1, bytes_.size());
            return true;
        }
        if (bytes_.size() - at_ > kLongestLine) {
            FailToRead(path_, fmt::format("it has a line of more than {} bytes", kLongestLine));
        }
        bytes_.erase(0, at_);
        at_ = 0;
        looked = bytes_.size();
        bytes_.resize(looked + kPiece);
        const size_t got = file_.Read(bytes_.data() + looked, kPiece);
        bytes_.resize(looked + got);
        ended_ = got == 0;
    }
}

} // namespace korv
