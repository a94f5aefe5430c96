#pragma once
// A file in memory, shared with whoever else maps it.
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

namespace remote {

class MappedFile {
  public:
    enum class Access { Read, ReadWrite };

    MappedFile() = default;
    ~MappedFile();
    MappedFile(MappedFile&& other) noexcept { *this = std::move(other); }
    MappedFile& operator=(MappedFile&& other) noexcept;

    // The first `bytes` of a file that is there. Nothing, if it is shorter or cannot be mapped.
    static MappedFile Open(const std::string& path, size_t bytes, Access access);
    // A new file of zeroes without a name, that lives as long as somebody has mapped it. Nothing,
    // if the system has no room.
    static MappedFile Create(size_t bytes);

    bool IsThere() const { return memory_ != nullptr; }
    std::span<uint8_t> Bytes() const { return {memory_, bytes_}; }
    // By what name other processes of this user open it, as long as this one lives. Of a created
    // one.
    std::string Path() const;
    // The same bytes at another place, with the rights of `protection` (mprotect). Null if the
    // system has no room. Of a created one; the caller unmaps it.
    uint8_t* MapAgain(int protection) const;

  private:
    uint8_t* memory_ = nullptr;
    size_t bytes_ = 0;
    int file_ = -1;
};

} // namespace remote
