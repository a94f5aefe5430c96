#include "remote/memories.h"

#include "remote/refusal.h"

#include <fmt/format.h>

#include <utility>

namespace remote {

namespace {

// What a client that does not wait may have in memories of its machine.
constexpr uint32_t kMostGuestMemory = 256u << 20;

MappedFile Map(const std::string& file, uint32_t bytes, MappedFile::Access access) {
    return !file.empty() && bytes != 0 ? MappedFile::Open(file, bytes, access) : MappedFile();
}

} // namespace

void Memories::Begin(const board::Config& config, const std::string& frameFile,
                     const std::string& localFile) {
    guests_ = {};
    frameBuffer_ = Map(frameFile, config.frameBufferBytes, MappedFile::Access::ReadWrite);
    localBuffer_ = Map(localFile, config.localBufferBytes, MappedFile::Access::ReadWrite);
}

std::span<uint8_t> Memories::Part(board::Board& board, uint32_t memory, uint32_t offset,
                                  size_t bytes) {
    std::span<uint8_t> all;
    if (memory == kFrameBuffer || memory == kLocalBuffer) {
        all = memory == kFrameBuffer ? board.FrameBuffer() : board.LocalBuffer();
    } else if (memory < kMemories && guests_[memory]) {
        if (guests_[memory]->file.IsThere()) {
            throw Refusal{ErrorCode::BadArgument, fmt::format("memory {} is mapped", memory)};
        }
        all = guests_[memory]->copy;
    } else {
        throw Refusal{ErrorCode::BadArgument, fmt::format("there is no memory {}", memory)};
    }
    if (offset > all.size() || bytes > all.size() - offset) {
        throw Refusal{ErrorCode::BadArgument,
                      fmt::format("{} bytes at 0x{:X}, and memory {} has {}", bytes, offset, memory,
                                  all.size())};
    }
    return all.subspan(offset, bytes);
}

bool Memories::SetGuest(board::Board& board, uint32_t memory, uint32_t busAddress, uint32_t bytes,
                        const std::string& file) {
    if (memory < kFirstGuest || memory >= kMemories) {
        throw Refusal{ErrorCode::BadArgument, fmt::format("memory {}: {} to {} was expected",
                                                          memory, kFirstGuest, kMemories - 1)};
    }
    uint64_t sum = bytes;
    for (uint32_t other = 0; other < kMemories; ++other) {
        sum += other != memory && guests_[other] ? guests_[other]->copy.size() : 0;
    }
    if (sum > kMostGuestMemory) {
        throw Refusal{ErrorCode::NoMemory, fmt::format("{} bytes of guest memory: at most {} were "
                                                       "expected",
                                                       sum, kMostGuestMemory)};
    }
    Guest made{busAddress, Map(file, bytes, MappedFile::Access::Read), {}};
    if (!made.file.IsThere()) {
        made.copy.resize(bytes);
    }
    std::optional<Guest>& guest = guests_[memory];
    if (guest) {
        board.MapMemory(guest->busAddress, nullptr, 0);
        guest.reset();
    }
    if (bytes == 0) {
        return false;
    }
    guest = std::move(made);
    board.MapMemory(busAddress, guest->Bytes().data(), bytes);
    return guest->file.IsThere();
}

} // namespace remote
