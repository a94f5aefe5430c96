#include "host/win32/shared/shared_object.h"

#include <atomic>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <new>
#include <stdexcept>
#include <sys/mman.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace host {

namespace {

constexpr const char* kFolder = "/dev/shm"; // where the C library keeps shared memory
constexpr const char* kPrefix = "korv-";

std::string& SessionName() {
    static std::string session;
    return session;
}

std::string PathOf(const std::string& name) {
    return "/" + (kPrefix + Session()) + "-" + name;
}

[[noreturn]] void Fail(const std::string& name, const std::string& why) {
    throw std::runtime_error("cannot make the shared object '" + name + "': " + why);
}

} // namespace

void SetSession(const std::string& name) {
    SessionName() = name;
}

const std::string& Session() {
    if (SessionName().empty()) {
        SessionName() = std::to_string(getpid());
    }
    return SessionName();
}

struct SharedObject::Header {
    std::atomic<Kind> kind; // None until all else stands
    uint32_t bytes;         // behind the header
    ProcessMark maker;
    uint8_t unused[40];
};

SharedObject::SharedObject(std::string name, std::string path, Header* header, size_t mapped)
    : name_(std::move(name)), path_(std::move(path)), header_(header), mapped_(mapped) {}

SharedObject::~SharedObject() {
    munmap(header_, mapped_);
}

uint8_t* SharedObject::Memory() {
    return reinterpret_cast<uint8_t*>(header_ + 1);
}

size_t SharedObject::Bytes() const {
    return header_->bytes;
}

bool SharedObject::MakerRuns() const {
    return header_->maker.pid == getpid() || IsRunning(header_->maker);
}

void SharedObject::Unname() {
    // A forked process has its parent's objects, and must leave them alone.
    if (header_->maker.pid == getpid()) {
        shm_unlink(path_.c_str());
    }
}

// Null for what is not there, not ours to read, or not finished.
SharedObject::Header* SharedObject::Map(const std::string& path, size_t& mapped) {
    const int file = shm_open(path.c_str(), O_RDWR, 0);
    if (file < 0) {
        return nullptr;
    }
    struct stat status {};
    void* memory = MAP_FAILED;
    if (fstat(file, &status) == 0 && static_cast<size_t>(status.st_size) >= sizeof(Header)) {
        mapped = static_cast<size_t>(status.st_size);
        memory = mmap(nullptr, mapped, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    }
    close(file);
    if (memory == MAP_FAILED) {
        return nullptr;
    }
    auto* header = static_cast<Header*>(memory);
    if (header->kind.load(std::memory_order_acquire) == Kind::None) {
        munmap(memory, mapped);
        return nullptr;
    }
    return header;
}

void SharedObject::RemoveIfStale(const std::string& path, int32_t orMadeBy) {
    size_t mapped = 0;
    Header* header = Map(path, mapped);
    if (header == nullptr) {
        return;
    }
    if (header->maker.pid == orMadeBy || !IsRunning(header->maker)) {
        shm_unlink(path.c_str());
    }
    munmap(header, mapped);
}

std::shared_ptr<SharedObject> SharedObject::Create(const std::string& name, Kind kind, size_t bytes,
                                                   const std::function<void(uint8_t*)>& fill) {
    static_assert(sizeof(Header) == 64);
    const std::string path = PathOf(name);
    RemoveIfStale(path, getpid());
    const int file = shm_open(path.c_str(), O_RDWR | O_CREAT | O_EXCL, S_IRUSR | S_IWUSR);
    if (file < 0) {
        Fail(name, errno == EEXIST ? "another process has made it" : std::strerror(errno));
    }
    const size_t mapped = sizeof(Header) + bytes;
    void* memory = MAP_FAILED;
    // All memory is taken now: what is missing later would end the process at a store.
    int reason = posix_fallocate(file, 0, static_cast<off_t>(mapped));
    if (reason == 0) {
        memory = mmap(nullptr, mapped, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
        reason = errno;
    }
    close(file);
    if (memory == MAP_FAILED) {
        shm_unlink(path.c_str());
        Fail(name, std::strerror(reason));
    }
    auto* header = new (memory) Header{};
    header->bytes = static_cast<uint32_t>(bytes);
    header->maker = ThisProcess();
    std::shared_ptr<SharedObject> object(new SharedObject(name, path, header, mapped));
    if (fill) {
        fill(object->Memory());
    }
    header->kind.store(kind, std::memory_order_release);
    return object;
}

std::shared_ptr<SharedObject> SharedObject::Open(const std::string& name, Kind kind) {
    size_t mapped = 0;
    const std::string path = PathOf(name);
    Header* header = Map(path, mapped);
    if (header == nullptr) {
        return nullptr;
    }
    std::shared_ptr<SharedObject> object(new SharedObject(name, path, header, mapped));
    return header->kind == kind && object->MakerRuns() ? object : nullptr;
}

void SharedObject::RemoveStale() {
    std::error_code ignored;
    for (const auto& entry : std::filesystem::directory_iterator(kFolder, ignored)) {
        const std::string name = entry.path().filename().string();
        if (name.starts_with(kPrefix)) {
            RemoveIfStale("/" + name);
        }
    }
}

} // namespace host
