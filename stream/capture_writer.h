#pragma once
// Writes captures; docs/capture.md defines the format.
#include "stream/bytes.h"
#include "stream/event.h"

#include <ostream>
#include <string>
#include <vector>

namespace stream {

class CaptureWriter {
  public:
    // `out` must be open in binary mode and outlive the writer; its state tells of failures.
    // `maker` names the program that writes.
    CaptureWriter(std::ostream& out, const board::Config& board, const std::string& maker);
    CaptureWriter(const CaptureWriter&) = delete;
    CaptureWriter& operator=(const CaptureWriter&) = delete;

    // Adds an event behind those before it. StreamError for one that the format has no room for.
    void Put(const Event& event);
    void Put(const Mark& mark);
    // Writes what still waits, the index and the end. Nothing can be added afterwards.
    void Finish();
    // What has been written.
    const Position& At() const { return at_; }

  private:
    struct IndexEntry {
        uint64_t offset; // of a chunk in the file, bytes
        uint32_t type;
        Position start;
    };

    void PutWord(const Event& event);
    void PutEvent(const Event& event);
    void EndRun();
    void BeginChunk();
    void EndChunk();
    void WriteChunk(uint32_t type, std::span<const uint8_t> payload, bool deflate);
    void WriteState(std::span<const uint8_t> state);

    std::ostream& out_;
    uint64_t written_ = 0; // bytes
    ByteWriter chunk_;
    Position at_, chunkStart_;
    std::vector<IndexEntry> index_;
    // The run of words at the end of the chunk; none: count 0.
    EventKind runKind_{};
    size_t runCountPlace_ = 0;
    uint16_t runCount_ = 0;
    uint32_t runNext_ = 0; // bus address
};

// Bytes of a mark behind its code, and back.
void WriteMark(ByteWriter& out, const Mark& mark);
Mark ReadMark(ByteReader& in);

} // namespace stream
