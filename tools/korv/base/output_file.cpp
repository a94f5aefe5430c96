#include "tools/korv/base/output_file.h"

#include "tools/korv/base/errors.h"

#include <fmt/format.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>
#include <utility>

namespace korv {

namespace {

constexpr mode_t kPermissions = 0777 | S_ISUID | S_ISGID | S_ISVTX;

[[noreturn]] void Fail(const std::filesystem::path& path, const std::string& reason) {
    throw UserError(path == kStandardOutput
                        ? "cannot write standard output: " + reason
                        : fmt::format("cannot write '{}': {}", path.string(), reason));
}

} // namespace

std::string ReasonOf(int error) {
    return error == EBADF ? "it is closed" : std::strerror(error);
}

OutputFile::OutputFile(std::filesystem::path path)
    : path_(std::move(path)), target_(TargetOf(path_)), claim_(path_), descriptor_(Open()) {
    if (descriptor_ < 0) {
        Fail(path_, ReasonOf(errno));
    }
    buffer_.emplace(descriptor_);
    stream_.emplace(&*buffer_);
}

OutputFile::~OutputFile() {
    if (descriptor_ >= 0) {
        close(descriptor_);
    }
}

int OutputFile::Open() {
    if (target_.descriptor >= 0) {
        return fcntl(target_.descriptor, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    }
    struct stat status {};
    const bool exists = target_.Stat(status);
    if (exists && S_ISDIR(status.st_mode)) {
        Fail(path_, "it is a folder, expected a file name");
    }
    if (exists && !S_ISREG(status.st_mode)) {
        return open(target_.file.c_str(), O_WRONLY | O_CLOEXEC | O_NOCTTY);
    }
    if (exists && access(target_.file.c_str(), W_OK) != 0) {
        return -1;
    }
    const int descriptor = OpenTemporary();
    if (exists && descriptor >= 0) {
        // Who owns it, if this process may say so, and what others may do with it.
        [[maybe_unused]] const int ignored = fchown(descriptor, status.st_uid, status.st_gid);
        fchmod(descriptor, status.st_mode & kPermissions);
    }
    return descriptor;
}

int OutputFile::OpenTemporary() {
    if (path_.empty()) {
        errno = ENOENT;
        return -1;
    }
    if (target_.file.filename().empty()) {
        Fail(path_, "it is a folder, expected a file name");
    }
    for (int number = 0;; ++number) {
        const auto name =
            target_.file.parent_path() / fmt::format(".korv-{}-{}.part", getpid(), number);
        const int descriptor = open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (descriptor >= 0) {
            temporary_.emplace(name.string());
        }
        if (descriptor >= 0 || errno != EEXIST) {
            return descriptor;
        }
    }
}

void OutputFile::Close() {
    if (descriptor_ < 0) {
        return;
    }
    stream_->flush();
    const bool closed = close(std::exchange(descriptor_, -1)) == 0;
    if (buffer_->Error() == EPIPE) {
        throw ExitStatus{kExitReaderLeft};
    }
    if (buffer_->Error() != 0 || !closed) {
        Fail(path_, ReasonOf(buffer_->Error() != 0 ? buffer_->Error() : errno));
    }
}

void OutputFile::Commit() {
    Close();
    if (!temporary_) {
        return;
    }
    if (std::rename(temporary_->Path().c_str(), target_.file.c_str()) != 0) {
        Fail(path_, ReasonOf(errno));
    }
    temporary_->Renamed();
}

} // namespace korv
