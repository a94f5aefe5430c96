#include "board/played_board.h"

#include "board/parts.h"

namespace board {

PlayedBoard::PlayedBoard(const Config& config, const LentMemories& memories)
    : Board(config, Pace::Played, memories) {}

void PlayedBoard::PlayTicks(uint32_t ticks) {
    for (; ticks != 0; --ticks) {
        Units().Tick();
    }
}

void PlayedBoard::PlayClock(uint64_t microseconds) {
    Units().MoveClockAlone(microseconds);
}

void PlayedBoard::PlayUnits() {
    Units().TickUnits();
}

uint32_t PlayedBoard::PlayRead(uint32_t offset) {
    return Units().ReadAperture(offset);
}

void PlayedBoard::PlayWrite(uint32_t offset, uint32_t value) {
    Units().WriteAperture(offset, value);
}

void PlayedBoard::PlayFifoWord(uint32_t word) {
    Units().WriteFifoWord(word);
}

std::optional<uint32_t> PlayedBoard::NextDmaAddress() const {
    return Units().dma.Busy() ? std::optional(Units().dma.Address()) : std::nullopt;
}

void PlayedBoard::PlayDmaWord(uint32_t word) {
    Units().dma.Pass();
    Units().TakeDmaWord(word);
    if (!Units().dma.Busy()) {
        Units().EndDma();
    }
}

void PlayedBoard::PlayDmaFault() {
    Units().dma.Stop();
    Units().EndDmaEarly();
    Units().EndDma();
}

void PlayedBoard::PlayInterrupt() {
    Units().interrupts.Taken();
    Units().handlerRunning = true;
}

void PlayedBoard::PlayInterruptEnd() {
    Units().handlerRunning = false;
}

bool PlayedBoard::InterruptDue() const {
    return Units().interrupts.Due();
}

} // namespace board
