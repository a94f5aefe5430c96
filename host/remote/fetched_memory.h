#pragma once
// A copy of a memory that another program keeps: pages come when they are looked at, and go back
// when they have been stored into.
#include "host/observe/memory_faults.h"
#include "remote/mapped_file.h"

#include <cstdint>
#include <functional>
#include <span>
#include <vector>

namespace host {

class FetchedMemory final : public FaultHandler {
  public:
    // Reads bytes of the other program's memory.
    using Fetch = std::function<void(uint32_t offset, std::span<uint8_t> to)>;
    using Store = std::function<void(uint32_t offset, std::span<const uint8_t> bytes)>;

    // The copy lies in `file`, which must outlive it; file.Bytes() is what the processor sees. What
    // is there is sent with the next Push. No `fetch`: the other program never writes.
    // std::runtime_error if the system has no room.
    FetchedMemory(const remote::MappedFile& file, Fetch fetch);
    ~FetchedMemory() override;

    // Calls `store` for each run of pages that the processor has stored into since the last time,
    // in ascending order.
    void Push(const Store& store) {
        if (!stored_.empty()) {
            PushPages(store);
        }
    }
    // The other program may have written: what is here counts no more. Everything is pushed before.
    void Forget() {
        if (known_ != 0 && fetch_) {
            ForgetPages();
        }
    }

    bool OnFault(void* address, ucontext_t* context) override;

  private:
    enum class Page : uint8_t { Unknown, Known, Stored };

    void PushPages(const Store& store);
    void ForgetPages();
    void FetchFrom(size_t page);
    void Protect(size_t page, size_t count, int protection) const;
    // The bytes of so many pages, by the view that may always be used.
    std::span<uint8_t> Bytes(size_t page, size_t count) const;

    const std::span<uint8_t> view_;
    uint8_t* const own_;
    const Fetch fetch_;
    std::vector<Page> pages_;
    std::vector<uint32_t> stored_; // pages
    size_t known_ = 0;             // pages that are not unknown, all of them within
    size_t low_, high_ = 0;        // these bounds
};

} // namespace host
