#pragma once
// Memory that ends the test program when it is overrun: whole pages between two that may not be
// touched.
#include <cstddef>
#include <cstdint>
#include <sys/mman.h>

namespace test {

class GuardedPages {
  public:
    explicit GuardedPages(size_t pages) : bytes_(pages * kPage) {
        void* all =
            mmap(nullptr, bytes_ + 2 * kPage, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        base_ = all != MAP_FAILED ? static_cast<uint8_t*>(all) + kPage : nullptr;
        if (base_ == nullptr || mprotect(base_, bytes_, PROT_READ | PROT_WRITE) != 0) {
            __builtin_trap();
        }
    }
    ~GuardedPages() { munmap(base_ - kPage, bytes_ + 2 * kPage); }
    GuardedPages(const GuardedPages&) = delete;
    GuardedPages& operator=(const GuardedPages&) = delete;

    // Room for `count` elements that begins with the pages, or ends with them.
    template <class T>
    T* First(size_t count) {
        return count * sizeof(T) <= bytes_ ? reinterpret_cast<T*>(base_) : nullptr;
    }
    template <class T>
    T* Last(size_t count) {
        return count * sizeof(T) <= bytes_
                   ? reinterpret_cast<T*>(base_ + bytes_ - count * sizeof(T))
                   : nullptr;
    }
    size_t Bytes() const { return bytes_; }
    // From here on the pages may not be touched either.
    void Close() { mprotect(base_, bytes_, PROT_NONE); }

  private:
    static constexpr size_t kPage = 4096;
    size_t bytes_;
    uint8_t* base_;
};

} // namespace test
