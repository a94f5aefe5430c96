#pragma once
// Reads captures, chunk by chunk; docs/capture.md defines the format.
#include "stream/bytes.h"
#include "stream/source.h"

#include <vector>

namespace stream {

class CaptureReader final : public Source {
  public:
    // `in` stands behind the first eight bytes, which told that it is a capture. StreamError if no
    // board can be read.
    explicit CaptureReader(std::istream& in);

    bool Next(Event& event) override {
        if (wordsLeft_ != 0) [[likely]] {
            TakeWord(event);
            return true;
        }
        return NextOther(event);
    }
    std::optional<Position> Total() override;

  private:
    struct Chunk {
        uint32_t type = 0;
        std::vector<uint8_t> payload;
    };
    struct IndexEntry {
        uint64_t offset;
        Position start;
    };

    void TakeWord(Event& event) {
        event = {};
        event.kind = wordKind_;
        event.offset = wordAddress_;
        event.value = words_.U32();
        wordAddress_ += wordStep_;
        --wordsLeft_;
        ++at_.word;
        ++at_.event;
    }
    bool NextOther(Event& event);
    void Decode(uint8_t code, Event& event);
    void BeginWords(EventKind kind);
    // Brings in the next chunk of events or a state. False at the end.
    bool NextChunk(Event& event, bool& isState);
    bool ReadChunk(Chunk& chunk);
    void OpenEvents();
    bool Approach(const Place& place) override;
    bool LoadIndex();
    void GoTo(uint64_t offset, const Position& start);
    [[noreturn]] void Damaged(const std::string& what) const;

    std::istream& in_;
    uint64_t offset_ = 0;      // of what is read next, bytes
    uint64_t chunkOffset_ = 0; // of the chunk in hand
    uint64_t firstEvents_ = 0; // of the first chunk behind the board's
    Chunk chunk_;
    ByteReader bytes_, words_;
    uint32_t wordsLeft_ = 0;
    EventKind wordKind_{};
    uint32_t wordAddress_ = 0, wordStep_ = 0;
    bool ended_ = false;
    enum class Index { Unread, Absent, Present } indexState_ = Index::Unread;
    std::vector<IndexEntry> index_;
    Position total_;
    // What the event in hand points at.
    Mark mark_;
    board::Timing timing_;
    board::VideoSignal signal_;
    std::vector<uint16_t> pixels_;
    std::vector<uint8_t> stored_;
};

} // namespace stream
