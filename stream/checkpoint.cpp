#include "stream/checkpoint.h"

#include <algorithm>
#include <cstring>

namespace stream {

PagedMemory::PagedMemory(std::span<const uint8_t> memory, const PagedMemory* before)
    : bytes_(memory.size()), pages_((memory.size() + kPageBytes - 1) / kPageBytes) {
    static constexpr Page kZeroes{};
    for (size_t i = 0; i < pages_.size(); ++i) {
        const auto here =
            memory.subspan(i * kPageBytes, std::min(kPageBytes, memory.size() - i * kPageBytes));
        const auto known =
            before != nullptr && i < before->pages_.size() ? before->pages_[i] : nullptr;
        const Page& alike = known != nullptr ? *known : kZeroes;
        if (std::memcmp(here.data(), alike.data(), here.size()) == 0) {
            pages_[i] = known;
        } else if (known == nullptr || std::memcmp(here.data(), kZeroes.data(), here.size()) != 0) {
            const auto page = std::make_shared<Page>();
            std::ranges::copy(here, page->begin());
            pages_[i] = page;
        }
    }
}

void PagedMemory::CopyTo(std::span<uint8_t> memory) const {
    for (size_t i = 0; i < pages_.size(); ++i) {
        const auto here =
            memory.subspan(i * kPageBytes, std::min(kPageBytes, memory.size() - i * kPageBytes));
        if (pages_[i] != nullptr) {
            std::memcpy(here.data(), pages_[i]->data(), here.size());
        } else {
            std::memset(here.data(), 0, here.size());
        }
    }
}

size_t PagedMemory::BytesBeyond(const PagedMemory* before) const {
    size_t pages = 0;
    for (size_t i = 0; i < pages_.size(); ++i) {
        const bool shared =
            before != nullptr && i < before->pages_.size() && before->pages_[i] == pages_[i];
        pages += pages_[i] != nullptr && !shared ? 1 : 0;
    }
    return pages * kPageBytes;
}

void PagedMemory::AddPages(std::set<const void*>& pages) const {
    for (const auto& page : pages_) {
        if (page != nullptr) {
            pages.insert(page.get());
        }
    }
}

size_t Checkpoint::BytesBeyond(const Checkpoint* before) const {
    size_t bytes = frameBuffer.BytesBeyond(before != nullptr ? &before->frameBuffer : nullptr) +
                   localBuffer.BytesBeyond(before != nullptr ? &before->localBuffer : nullptr);
    for (const auto& [address, memory] : host) {
        const bool known = before != nullptr && before->host.contains(address);
        bytes += memory.BytesBeyond(known ? &before->host.at(address) : nullptr);
    }
    return bytes;
}

void Checkpoint::AddPages(std::set<const void*>& pages) const {
    frameBuffer.AddPages(pages);
    localBuffer.AddPages(pages);
    for (const auto& [address, memory] : host) {
        memory.AddPages(pages);
    }
}

} // namespace stream
