#include "remote/mapped_file.h"

#include <fmt/format.h>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace remote {

namespace {

uint8_t* Map(int file, size_t bytes, int protection) {
    void* memory = mmap(nullptr, bytes, protection, MAP_SHARED, file, 0);
    return memory != MAP_FAILED ? static_cast<uint8_t*>(memory) : nullptr;
}

} // namespace

MappedFile::~MappedFile() {
    if (memory_ != nullptr) {
        munmap(memory_, bytes_);
    }
    if (file_ >= 0) {
        close(file_);
    }
}

MappedFile& MappedFile::operator=(MappedFile&& other) noexcept {
    std::swap(memory_, other.memory_);
    std::swap(bytes_, other.bytes_);
    std::swap(file_, other.file_);
    return *this;
}

MappedFile MappedFile::Open(const std::string& path, size_t bytes, Access access) {
    MappedFile made;
    const bool writes = access == Access::ReadWrite;
    // What is no file of bytes must not hold anybody up.
    const int file = open(path.c_str(), (writes ? O_RDWR : O_RDONLY) | O_CLOEXEC | O_NONBLOCK);
    struct stat status {};
    if (file >= 0 && bytes != 0 && fstat(file, &status) == 0 && S_ISREG(status.st_mode) &&
        static_cast<uint64_t>(status.st_size) >= bytes) {
        made.memory_ = Map(file, bytes, PROT_READ | (writes ? PROT_WRITE : 0));
        made.bytes_ = made.memory_ != nullptr ? bytes : 0;
    }
    if (file >= 0) {
        close(file);
    }
    return made;
}

MappedFile MappedFile::Create(size_t bytes) {
    MappedFile made;
    made.file_ = memfd_create("korv memory", MFD_CLOEXEC);
    if (made.file_ >= 0 && bytes != 0 && ftruncate(made.file_, static_cast<off_t>(bytes)) == 0) {
        made.memory_ = Map(made.file_, bytes, PROT_READ | PROT_WRITE);
        made.bytes_ = made.memory_ != nullptr ? bytes : 0;
    }
    return made;
}

std::string MappedFile::Path() const {
    return fmt::format("/proc/{}/fd/{}", getpid(), file_);
}

uint8_t* MappedFile::MapAgain(int protection) const {
    return Map(file_, bytes_, protection);
}

} // namespace remote
