#pragma once
// The text of a capture back to its events; docs/events.md states the grammar. Lines of event text
// and statements stand in it beside those of stream/capture_text.h.
#include "stream/assemble.h"
#include "stream/capture_text.h"
#include "stream/event.h"

#include <string>
#include <string_view>
#include <vector>

namespace stream {

// Takes what a text makes.
class EventSink {
  public:
    virtual ~EventSink() = default;
    // The text is a capture's, of this board. Comes once, before all events.
    virtual void OnBoard(const board::Config& board, const std::string& maker) = 0;
    // What it points at lives until this returns. StreamError for one that has no room.
    virtual void OnEvent(const Event& event) = 0;
};

class CaptureAssembler final : private board::BusRecorder {
  public:
    // For `out`, which must outlive it. `chip` reads decimals of texture coordinates until a
    // board's line tells it.
    explicit CaptureAssembler(EventSink& out, std::optional<ChipModel> chip = {})
        : out_(out), assembler_(*this, chip) {}

    // Takes the next line, without its line feed. Throws AssembleError, with no event of that line
    // sent.
    void Line(std::string_view line);
    // The text has ended. AssembleError if bytes of the last event are missing.
    void End();

    uint64_t Words() const { return assembler_.Words(); }
    uint64_t Accesses() const { return assembler_.Accesses(); }
    // Events that are neither.
    uint64_t Others() const { return others_; }
    bool Unfinished() const { return assembler_.Unfinished(); }

  private:
    class Reader; // of one line

    void OnRead(uint32_t offset, uint32_t value) override;
    void OnWrite(uint32_t offset, uint32_t value) override;
    void OnFifoWord(uint32_t word) override;
    void OnDmaWord(uint32_t word) override;

    bool OwnLine(Reader& reader);
    void ReadBoard(Reader& reader);
    void ReadMark(Reader& reader);
    void ReadBytes(Reader& reader);
    void ReadRepeat(Reader& reader);
    void Expect(const Event& event, uint64_t bytes);
    void FinishBytes();
    void Send(const Event& event);
    void Give(const Event& event);
    void SendAccess(EventKind kind, uint32_t offset, uint32_t value);

    EventSink& out_;
    Assembler assembler_;
    size_t line_ = 0;
    uint64_t others_ = 0;
    bool begun_ = false;  // something but comments has been seen
    bool ticked_ = false; // of the accesses of this line
    BusAddress address_;
    // An event whose bytes follow in lines of their own.
    std::optional<Event> waiting_;
    size_t waitingBytes_ = 0, lastLineBytes_ = 0;
    std::vector<uint8_t> bytes_;
    std::vector<uint16_t> pixels_;
};

} // namespace stream
