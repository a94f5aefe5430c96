#include "host/observe/watched_memory.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>
#include <sys/mman.h>
#include <unistd.h>

namespace host {

namespace {

constexpr size_t kPage = 4096;
// Equal bytes between two runs that are cheaper to tell along than to leave out.
constexpr size_t kGap = 8;

bool compareAll = false;

uint8_t* Map(size_t bytes, int protection, int flags, int file) {
    void* memory = mmap(nullptr, bytes, protection, flags, file, 0);
    return memory != MAP_FAILED ? static_cast<uint8_t*>(memory) : nullptr;
}

} // namespace

bool WatchedMemory::MapTwice() {
    const int file = memfd_create("korv memory", MFD_CLOEXEC);
    if (file >= 0 && ftruncate(file, static_cast<off_t>(mapped_)) == 0) {
        board_ = Map(mapped_, PROT_READ | PROT_WRITE, MAP_SHARED, file);
        processor_ = Map(mapped_, PROT_READ, MAP_SHARED, file);
    }
    if (file >= 0) {
        close(file);
    }
    // It has to be possible to open a page, too.
    const bool opens = processor_ != nullptr &&
                       mprotect(processor_, kPage, PROT_READ | PROT_WRITE) == 0 &&
                       mprotect(processor_, kPage, PROT_READ) == 0;
    if (board_ == nullptr || !opens) {
        for (uint8_t** view : {&board_, &processor_}) {
            if (*view != nullptr) {
                munmap(*view, mapped_);
                *view = nullptr;
            }
        }
    }
    return board_ != nullptr;
}

WatchedMemory::WatchedMemory(size_t bytes)
    : bytes_(bytes), mapped_((bytes + kPage - 1) / kPage * kPage), openPages_(mapped_ / kPage) {
    constexpr int kOwn = MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE;
    copies_ = Map(mapped_, PROT_READ | PROT_WRITE, kOwn, -1);
    if (copies_ != nullptr && (compareAll || !MapTwice())) {
        compared_ = true;
        board_ = processor_ = Map(mapped_, PROT_READ | PROT_WRITE, kOwn, -1);
    }
    if (board_ == nullptr) {
        if (copies_ != nullptr) {
            munmap(copies_, mapped_);
        }
        throw std::runtime_error("no room for two views of the board's memories");
    }
}

WatchedMemory::~WatchedMemory() {
    munmap(board_, mapped_);
    if (!compared_) {
        munmap(processor_, mapped_);
    }
    munmap(copies_, mapped_);
}

void WatchedMemory::CompareAll(bool compare) {
    compareAll = compare;
}

void WatchedMemory::FindChanged() {
    for (size_t page = 0; page < mapped_ / kPage; ++page) {
        if (std::memcmp(board_ + page * kPage, copies_ + page * kPage, kPage) != 0) {
            openPages_[openCount_++] = static_cast<uint32_t>(page);
        }
    }
}

void WatchedMemory::TakeOver() {
    FindChanged();
    for (const uint32_t page : std::span(openPages_).first(openCount_)) {
        std::memcpy(copies_ + page * kPage, board_ + page * kPage, kPage);
    }
    openCount_ = 0;
}

bool WatchedMemory::OnFault(void* address, ucontext_t*) {
    const auto offset = static_cast<size_t>(static_cast<uint8_t*>(address) - processor_);
    if (compared_ || offset >= mapped_ || openCount_ == openPages_.size()) {
        return false;
    }
    const size_t page = offset / kPage;
    std::memcpy(copies_ + page * kPage, processor_ + page * kPage, kPage);
    openPages_[openCount_++] = static_cast<uint32_t>(page);
    return mprotect(processor_ + page * kPage, kPage, PROT_READ | PROT_WRITE) == 0;
}

void WatchedMemory::CollectPages(
    const std::function<void(uint32_t, std::span<const uint8_t>)>& found) {
    if (compared_) {
        FindChanged();
    }
    const auto pages = std::span(openPages_).first(openCount_);
    std::ranges::sort(pages);
    // Neighbours are one stretch, closed at once, and runs go across them.
    for (size_t first = 0; first < pages.size();) {
        size_t last = first + 1;
        while (last < pages.size() && pages[last] == pages[first] + (last - first)) {
            ++last;
        }
        const size_t start = pages[first] * kPage;
        const size_t end = std::min(start + (last - first) * kPage, bytes_);
        if (!compared_) {
            mprotect(processor_ + start, (last - first) * kPage, PROT_READ);
        }
        size_t at = start;
        while (true) {
            while (at + 8 <= end && std::memcmp(board_ + at, copies_ + at, 8) == 0) {
                at += 8;
            }
            while (at < end && board_[at] == copies_[at]) {
                ++at;
            }
            if (at >= end) {
                break;
            }
            const size_t run = at;
            size_t behind = at; // the last byte that differs
            for (; at < end && at - behind <= kGap; ++at) {
                behind = board_[at] != copies_[at] ? at + 1 : behind;
            }
            found(static_cast<uint32_t>(run), {board_ + run, behind - run});
            at = behind;
        }
        if (compared_) {
            std::memcpy(copies_ + start, board_ + start, end - start);
        }
        first = last;
    }
    openCount_ = 0;
}

} // namespace host
