#pragma once
// As much of x86 machine code as it takes to tell what an instruction does to the one word of
// memory that it has just faulted on.
#include <cstdint>

namespace host::loader {

// General registers in the order of their codes: eax, ecx, edx, ebx, esp, ebp, esi, edi.
struct MemoryAccess {
    enum class Kind {
        LoadRegister,   // the word goes to `reg`
        StoreRegister,  // `reg` goes to the word
        StoreImmediate, // `immediate` goes to the word
        Store,          // the word is written and was not read
        Other,          // only the processor knows
    };
    Kind kind = Kind::Other;
    bool is32Bit = true; // the access is one of 32 bits
    uint32_t reg = 0;    // of the first two
    uint32_t immediate = 0;
    uint32_t bytes = 0; // length of the instruction, for the first three
};

// Looks at the instruction at `code`.
MemoryAccess DecodeAccess(const uint8_t* code);

} // namespace host::loader
