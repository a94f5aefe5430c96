#pragma once
// A board that takes the steps which a BusMonitor was told of on another one, and is then in the
// same state behind each. Nothing moves by itself: DMA words come as they moved, and no handler is
// called.
#include "board/board.h"

#include <optional>

namespace board {

class PlayedBoard final : public Board {
  public:
    explicit PlayedBoard(const Config& config, const LentMemories& memories = {});

    void PlayTicks(uint32_t ticks);
    void PlayClock(uint64_t microseconds);
    void PlayUnits();
    // Accesses. The tick of each has been played.
    uint32_t PlayRead(uint32_t offset);
    void PlayWrite(uint32_t offset, uint32_t value);
    void PlayFifoWord(uint32_t word);
    // The bus address of the word that the transfer under way moves next; none if no transfer is.
    std::optional<uint32_t> NextDmaAddress() const;
    // That word. There must be one.
    void PlayDmaWord(uint32_t word);
    // The transfer ends early.
    void PlayDmaFault();
    void PlayInterrupt();
    void PlayInterruptEnd();

    // An interrupt waits for its handler.
    bool InterruptDue() const;
};

} // namespace board
