#pragma once
// As much of x86 machine code as it takes to tell what an instruction does to the memory that it
// has just faulted on.
#include <cstdint>

namespace host::loader {

// General registers in the order of their codes: eax, ecx, edx, ebx, esp, ebp, esi, edi.
struct MemoryAccess {
    enum class Kind {
        LoadRegister,   // the word goes to `reg`
        StoreRegister,  // `reg` goes to the word
        StoreImmediate, // `immediate` goes to the word
        MoveString,     // one round of movs, 32 bits
        StoreString,    // one round of stos, 32 bits
        Store,          // the operand is written and was not read
        Other,          // only the processor knows
    };
    Kind kind = Kind::Other;
    uint32_t width = 0;     // bytes of the operand in memory: 1, 2, 4 or 8; 0 for any other
    uint32_t reg = 0;       // of the first two
    uint32_t immediate = 0; // of the third
    bool repeats = false;   // a string instruction that counts ecx down
    uint32_t bytes = 0;     // length of the instruction, for all kinds but the last two
};

// Looks at the instruction at `code`.
MemoryAccess DecodeAccess(const uint8_t* code);

} // namespace host::loader
