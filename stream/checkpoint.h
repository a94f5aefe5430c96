#pragma once
// A place of a stream to which a player can come back without playing up to it.
#include "board/video/video_source.h"
#include "stream/event.h"

#include <array>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace stream {

// The bytes of a memory, in pages that several share where they are alike.
class PagedMemory {
  public:
    PagedMemory() = default;
    // Pages that are alike in `before` are the same ones; null: none are.
    PagedMemory(std::span<const uint8_t> memory, const PagedMemory* before);

    size_t Size() const { return bytes_; }
    // `memory` has Size() bytes.
    void CopyTo(std::span<uint8_t> memory) const;
    // Bytes of pages that `before` has not at the same place; null: of all.
    size_t BytesBeyond(const PagedMemory* before) const;
    // Adds the pages that take room.
    void AddPages(std::set<const void*>& pages) const;

    static constexpr size_t kPageBytes = 4096;

  private:
    using Page = std::array<uint8_t, kPageBytes>;

    size_t bytes_ = 0;
    std::vector<std::shared_ptr<const Page>> pages_; // null: zeroes
};

// A line of video that has been told and that the port has yet to take.
struct ToldLine {
    uint64_t field;
    uint32_t line;
    std::vector<uint16_t> pixels;
};

struct PlayedDifference {
    Position at;
    std::string what;
};

struct Checkpoint {
    Position at;
    std::vector<uint8_t> state; // of the board, without memories
    PagedMemory frameBuffer, localBuffer;
    std::map<uint32_t, PagedMemory> host; // by bus address
    board::VideoSignal signal;
    bool plugged = false; // into the video port
    uint64_t linesPerSecond = 0, videoLines = 0;
    std::vector<ToldLine> lines;
    uint32_t latestRead = 0;
    std::vector<PlayedDifference> differences;
    uint64_t differenceCount = 0;

    // Of all memories, as of PagedMemory.
    size_t BytesBeyond(const Checkpoint* before) const;
    void AddPages(std::set<const void*>& pages) const;
};

} // namespace stream
