#include "host/remote/fetched_memory.h"

#include <algorithm>
#include <stdexcept>
#include <sys/mman.h>

namespace host {

namespace {

constexpr size_t kPageBytes = 4096;
// Pages that come at once: whoever looks at one mostly looks at the next ones, too.
constexpr size_t kAhead = 16;
// Of the error code that the processor leaves: the access was a store.
constexpr greg_t kWasStore = 2;

} // namespace

FetchedMemory::FetchedMemory(const remote::MappedFile& file, Fetch fetch)
    : view_(file.Bytes()), own_(file.MapAgain(PROT_READ | PROT_WRITE)), fetch_(std::move(fetch)),
      pages_((view_.size() + kPageBytes - 1) / kPageBytes, Page::Stored), known_(pages_.size()),
      low_(0), high_(pages_.size()) {
    if (own_ == nullptr) {
        throw std::runtime_error("no room for a copy of the board's memories");
    }
    stored_.reserve(pages_.size());
    Protect(0, pages_.size(), PROT_READ);
    for (uint32_t page = 0; page < pages_.size(); ++page) {
        const std::span<const uint8_t> bytes = Bytes(page, 1);
        if (std::ranges::any_of(bytes, [](uint8_t byte) { return byte != 0; })) {
            stored_.push_back(page);
            Protect(page, 1, PROT_READ | PROT_WRITE);
        } else {
            pages_[page] = Page::Known;
        }
    }
}

FetchedMemory::~FetchedMemory() {
    Protect(0, pages_.size(), PROT_READ | PROT_WRITE);
    munmap(own_, view_.size());
}

std::span<uint8_t> FetchedMemory::Bytes(size_t page, size_t count) const {
    const size_t start = page * kPageBytes;
    return {own_ + start, std::min(count * kPageBytes, view_.size() - start)};
}

void FetchedMemory::Protect(size_t page, size_t count, int protection) const {
    mprotect(view_.data() + page * kPageBytes, count * kPageBytes, protection);
}

void FetchedMemory::FetchFrom(size_t page) {
    size_t count = 1;
    while (count < kAhead && page + count < pages_.size() &&
           pages_[page + count] == Page::Unknown) {
        ++count;
    }
    const std::span<uint8_t> bytes = Bytes(page, count);
    fetch_(static_cast<uint32_t>(page * kPageBytes), bytes);
    std::fill_n(pages_.begin() + static_cast<ptrdiff_t>(page), count, Page::Known);
    low_ = known_ == 0 ? page : std::min(low_, page);
    high_ = known_ == 0 ? page + count : std::max(high_, page + count);
    known_ += count;
    Protect(page, count, PROT_READ);
}

bool FetchedMemory::OnFault(void* address, ucontext_t* context) {
    const auto offset = static_cast<size_t>(static_cast<uint8_t*>(address) - view_.data());
    if (offset >= pages_.size() * kPageBytes) {
        return false;
    }
    const size_t page = offset / kPageBytes;
    if (pages_[page] == Page::Unknown) {
        FetchFrom(page);
    }
    if ((context->uc_mcontext.gregs[REG_ERR] & kWasStore) != 0 && pages_[page] == Page::Known) {
        pages_[page] = Page::Stored;
        stored_.push_back(static_cast<uint32_t>(page));
        Protect(page, 1, PROT_READ | PROT_WRITE);
    }
    return true;
}

void FetchedMemory::PushPages(const Store& store) {
    std::ranges::sort(stored_);
    for (size_t first = 0; first < stored_.size();) {
        size_t last = first + 1;
        while (last < stored_.size() && stored_[last] == stored_[first] + (last - first)) {
            ++last;
        }
        const size_t page = stored_[first], count = last - first;
        Protect(page, count, PROT_READ);
        std::fill_n(pages_.begin() + static_cast<ptrdiff_t>(page), count, Page::Known);
        store(static_cast<uint32_t>(page * kPageBytes), Bytes(page, count));
        first = last;
    }
    stored_.clear();
}

void FetchedMemory::ForgetPages() {
    Protect(low_, high_ - low_, PROT_NONE);
    std::fill(pages_.begin() + static_cast<ptrdiff_t>(low_),
              pages_.begin() + static_cast<ptrdiff_t>(high_), Page::Unknown);
    known_ = 0;
}

} // namespace host
