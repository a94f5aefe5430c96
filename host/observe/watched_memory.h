#pragma once
// Memory with two views: one of the board, and one of the processor, of which is known what was
// stored there.
#include "host/observe/memory_faults.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <vector>

namespace host {

// The processor's view is write-protected page by page. The first store into a page keeps a copy of
// it and opens it; Collect() compares the two and closes it again. Where the system does not let
// memory be watched like that both views are one, a copy of all of it is kept, and Collect()
// compares everything with it: that tells the same, and takes a thousand times as long.
class WatchedMemory final : public FaultHandler {
  public:
    // `bytes` of zeroes. std::runtime_error if the system has no room.
    explicit WatchedMemory(size_t bytes);
    ~WatchedMemory() override;

    // Memories that are made from now on are compared, even where they could be watched.
    static void CompareAll(bool compare);

    std::span<uint8_t> BoardView() const { return {board_, bytes_}; }
    uint8_t* ProcessorView() const { return processor_; }

    // Calls `found` for each run of bytes that the processor has changed since the last time, in
    // ascending order. The board must not have stored in between, but where BoardHasStored was
    // called behind that.
    template <class Found> // (uint32_t offset, std::span<const uint8_t> bytes)
    void Collect(const Found& found) {
        if (openCount_ != 0 || compared_) {
            CollectPages(found);
        }
    }
    // What is new in the memory is the board's.
    void BoardHasStored() {
        if (compared_) {
            TakeOver();
        }
    }

    bool OnFault(void* address, ucontext_t* context) override;

  private:
    bool MapTwice();
    void CollectPages(const std::function<void(uint32_t, std::span<const uint8_t>)>& found);
    // Takes pages that are not as in the copy for open ones.
    void FindChanged();
    void TakeOver();

    size_t bytes_, mapped_;
    bool compared_ = false;
    uint8_t* board_ = nullptr;
    uint8_t* processor_ = nullptr;
    uint8_t* copies_ = nullptr;       // of open pages, at their places; compared: of all
    std::vector<uint32_t> openPages_; // room for all
    size_t openCount_ = 0;
};

} // namespace host
