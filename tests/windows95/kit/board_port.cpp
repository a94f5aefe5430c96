#include "tests/windows95/kit/board_port.h"

#include "driver/core/chipbus.h"

unsigned long KitRead(unsigned long base, unsigned long offset) {
    return ReadChip(reinterpret_cast<ChipRegisters*>(base), offset);
}

void KitWrite(unsigned long base, unsigned long offset, unsigned long value) {
    WriteChip(reinterpret_cast<ChipRegisters*>(base), offset, value);
}
