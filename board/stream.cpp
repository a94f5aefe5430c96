// Words on their way to the pipeline: the input FIFO and the DMA engine that fills it.
#include "board/parts.h"

namespace board {

bool Board::Parts::HoldsBus() const {
    return registers.Get(field::DisconnectControl_Enable) != 0 ||
           registers.Get(field::DeltaDisconnectControl_Enable) != 0;
}

void Board::Parts::EnterFifo(RegisterWrite write) {
    if (probe != nullptr) {
        probe->OnEnter(write);
    }
    if (!Immediate()) {
        input.Push(write);
        return;
    }
    if (probe != nullptr) {
        probe->OnExecute(write);
    }
    commands.Execute(write);
}

void Board::Parts::CountUnwaited(uint32_t tagNumber, bool mapped) {
    if (HoldsBus()) {
        return;
    }
    const uint32_t number = mapped ? MappedOffset(tagNumber) : tagNumber;
    UnwaitedEntries& of = faults.unwaited[number];
    if (of.entries++ == 0) {
        of.firstPlace = (mapped ? mappedWrites : fifoWords) - 1;
    }
}

bool Board::Parts::MakeRoomNow() {
    if (HoldsBus()) {
        MoveClock(busyTicks * config.timing.microsecondsPerTick);
        busyTicks = 0;
        Execute(1);
        return true;
    }
    ++faults.fifoOverflows;
    RaiseError(field::ErrorFlags_InputFIFO);
    return false;
}

void Board::Parts::WriteFifo(const uint32_t* words, size_t count) {
    for (size_t i = 0; i < count; ++i) {
        Tick();
        WriteFifoWord(words[i]);
        Finish();
    }
}

void Board::Parts::StartDma(uint32_t words) {
    if (dma.Busy()) {
        ++faults.dmaRestarts;
    }
    dma.Start(registers.Aperture(reg::DMAAddress),
              broken == Break::DmaShort && words != 0 ? words - 1 : words);
    if (pace == Pace::Ticks && config.timing.dmaWordsPerTick == 0) {
        MoveDmaWords(kUnlimited);
    }
}

void Board::Parts::MoveWords(uint32_t words) {
    for (; words != 0 && dma.Busy(); --words) {
        if (decoder.ExpectsData() && !Immediate() && input.Full()) {
            return;
        }
        uint32_t word = 0;
        if (!dma.Next(word)) {
            EndDmaEarly();
            break;
        }
        TakeDmaWord(word);
    }
    if (!dma.Busy()) {
        EndDma();
    }
}

void Board::Parts::TakeDmaWord(uint32_t word) {
    if (recorder != nullptr) {
        recorder->OnDmaWord(word);
    }
    if (monitor != nullptr) {
        monitor->OnDmaWord(word);
    }
    Decode(word);
}

void Board::Parts::EndDmaEarly() {
    if (monitor != nullptr) {
        monitor->OnDmaFault();
    }
    ++faults.badDmaAddresses;
}

} // namespace board
