// Reads and writes of the register aperture.
#include "board/parts.h"

namespace board {

namespace {

// FreeRunningTimer counts the cycles of a chip clocked at 50 MHz.
constexpr uint32_t kTimerCyclesPerMicrosecond = 50;

bool InFifoWindow(uint32_t offset) {
    return offset >= reg::FIFOWindow && offset < reg::FIFOWindow + reg::FIFOPageBytes;
}

bool IsMapped(uint32_t offset) {
    return offset >= reg::MappedRegisters && offset < reg::ApertureBytes && offset % 8 == 0;
}

} // namespace

void Board::Parts::RaiseError(const Field& error) {
    errorFlags |= error.Mask();
    interrupts.Raise(field::IntFlags_Error);
}

uint32_t Board::Parts::PeekAperture(uint32_t offset) const {
    if (IsMapped(offset)) {
        return registers[(offset - reg::MappedRegisters) / 8];
    }
    if (InFifoWindow(offset)) {
        return output.Front();
    }
    switch (offset) {
    case reg::IntEnable:
        return interrupts.Enable();
    case reg::IntFlags:
        return interrupts.Flags();
    case reg::InFIFOSpace:
        return input.NextReport();
    case reg::OutFIFOWords:
        return output.Count();
    case reg::DMACount:
        return dma.WordsLeft();
    case reg::ErrorFlags:
        return errorFlags;
    case reg::LineCounter:
        return beam.Line(clock);
    case reg::FreeRunningTimer:
        return static_cast<uint32_t>(clock * kTimerCyclesPerMicrosecond);
    default:
        return offset < reg::MappedRegisters ? registers.Aperture(offset) : 0;
    }
}

uint32_t Board::Parts::ReadAperture(uint32_t offset) {
    const uint32_t value = PeekAperture(offset);
    if (InFifoWindow(offset)) {
        if (output.Empty()) {
            RaiseError(field::ErrorFlags_OutputFIFO);
        } else {
            output.Pop();
        }
    } else if (offset == reg::InFIFOSpace) {
        input.ReportSpace();
        credit.Grant(value);
    }
    return value;
}

void Board::Parts::WriteAperture(uint32_t offset, uint32_t value) {
    if (IsMapped(offset)) {
        const uint32_t tagNumber = (offset - reg::MappedRegisters) / 8;
        if (!RegisterFile::HasTag(tagNumber)) {
            ++faults.unknownRegisters[offset];
        }
        ++mappedWrites;
        CountEntry(tagNumber, true);
        if (MakeRoom()) {
            Enter({tagNumber, value});
        }
        return;
    }
    if (!RegisterFile::HasAperture(offset)) {
        ++faults.unknownRegisters[offset];
    }
    if (offset >= reg::MappedRegisters) {
        return;
    }
    switch (offset) {
    case reg::IntEnable:
        interrupts.SetEnable(value);
        break;
    case reg::IntFlags:
        interrupts.ClearFlags(value);
        break;
    case reg::ErrorFlags:
        errorFlags &= ~value;
        break;
    case reg::InFIFOSpace:
    case reg::OutFIFOWords:
    case reg::LineCounter:
    case reg::FreeRunningTimer:
    case reg::VSCurrentLine:
    case reg::VSCurrentBuffer:
        break; // read only
    case reg::VSStreamControl:
        registers.SetAperture(offset, value);
        video.OnStreamControl();
        break;
    case reg::DMACount:
        StartDma(value);
        break;
    default:
        registers.SetAperture(offset, value);
        break;
    }
}

uint32_t Board::Peek(uint32_t offset) const {
    return parts_->PeekAperture(offset);
}

uint32_t Board::Read(uint32_t offset) {
    const Parts::Acting acting(*parts_);
    parts_->Tick();
    const uint32_t value = parts_->ReadAperture(offset);
    if (parts_->recorder != nullptr) {
        parts_->recorder->OnRead(offset, value);
    }
    if (parts_->monitor != nullptr) {
        parts_->monitor->OnRead(offset, value);
    }
    parts_->Finish();
    return value;
}

void Board::Write(uint32_t offset, uint32_t value) {
    const Parts::Acting acting(*parts_);
    parts_->Tick();
    if (InFifoWindow(offset)) {
        parts_->WriteFifoWord(value);
    } else {
        if (parts_->recorder != nullptr) {
            parts_->recorder->OnWrite(offset, value);
        }
        if (parts_->monitor != nullptr) {
            parts_->monitor->OnWrite(offset, value);
        }
        parts_->WriteAperture(offset, value);
    }
    parts_->Finish();
}

} // namespace board
