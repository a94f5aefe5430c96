#pragma once
// Records a board into a capture, from power on.
#include "board/recorder.h"
#include "stream/capture_writer.h"
#include "stream/primitives.h"

#include <functional>
#include <map>

namespace board {
class Board;
}

namespace stream {

class CaptureRecorder final : public board::BusMonitor {
  public:
    // `board` has just been switched on; the recorder is its monitor until Finish() or until it is
    // destroyed, whichever is first.
    CaptureRecorder(board::Board& board, std::ostream& out, const std::string& maker);
    ~CaptureRecorder() override;

    // Called before the board acts: it tells what the processor has stored since the last time by
    // calling Store().
    void SetStores(std::function<void()> find) { findStores_ = std::move(find); }
    // Called behind what the board does, for whoever has to know what it stored.
    void SetActed(std::function<void()> acted) { acted_ = std::move(acted); }
    void Store(Memory memory, uint32_t offset, std::span<const uint8_t> bytes);

    // A mark at this point. `checked` ones carry the checksums of the board's state.
    void Put(Mark mark, bool checked = false);
    // The driver is called, and has returned.
    void BeginCall(Mark call);
    void EndCall();
    // Whose words lie in memory that DMA may move: those from bus address `first` to `end` are the
    // call's under way, all of them, or what of them is nobody's yet; or they are nobody's. They
    // are told where they pass, whenever that is. What a call itself starts is its own without a
    // word.
    void OwnWords(uint32_t first, uint32_t end);
    void OwnRest(uint32_t first, uint32_t end);
    void DisownWords(uint32_t first, uint32_t end);

    // Writes the end; the board goes on alone.
    void Finish();
    const Position& At() const { return writer_.At(); }

    void BeforeActing() override;
    void AfterActing() override;
    void OnTick() override;
    void OnClock(uint64_t microseconds) override;
    void OnUnits() override;
    void OnRead(uint32_t offset, uint32_t value) override;
    void OnWrite(uint32_t offset, uint32_t value) override;
    void OnFifoWord(uint32_t word) override;
    void OnDmaWord(uint32_t word) override;
    void OnDmaFault() override;
    void OnInterrupt() override;
    void OnInterruptEnd() override;
    void OnMapMemory(uint32_t busAddress, uint32_t bytes) override;
    void OnTiming(const board::Timing& timing) override;
    void OnVideoSource(const board::VideoSignal* signal) override;
    void OnVideoLine(uint64_t field, uint32_t line, std::span<const uint16_t> pixels) override;

  private:
    struct OwnedWords {
        uint64_t call;
        uint32_t end; // bus address
    };

    void Emit(const Event& event);
    void Emit(const Mark& mark);
    void Flush();
    void PutTime(EventKind kind, uint64_t amount);
    // Of the ticks that wait, the first so many; the clock before them.
    void PutTicks(uint64_t ticks);
    void Put(EventKind kind);
    bool TakeTick();
    void FollowWord(uint32_t word, uint64_t call);
    void EndWords();
    uint64_t OwnerOf(uint32_t busAddress);

    board::Board* board_;
    CaptureWriter writer_;
    std::function<void()> findStores_, acted_;
    std::optional<Event> waiting_; // an access under way, until the next event
    // Time that has passed and is not written yet: by the clock alone, then in ticks.
    uint64_t microseconds_ = 0;
    uint64_t ticks_ = 0;
    uint32_t dmaRegister_ = 0; // DMAAddress
    uint32_t dmaAddress_ = 0;  // of the next word
    bool inCall_ = false;
    bool fifoBatch_ = false;               // the call's words by FIFO have begun their batch
    bool handling_ = false;                // an interrupt: what moves is not the call's doing
    std::map<uint32_t, OwnedWords> owned_; // by bus address of the first; none overlap
    // Whose words go by: the number of a call, or none.
    static constexpr uint64_t kNobody = ~uint64_t{0};
    uint64_t wordsOf_ = kNobody;
    PrimitiveWalker walker_;
    std::vector<PrimitiveWords> primitives_; // of the call whose words go by
};

} // namespace stream
