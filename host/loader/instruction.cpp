#include "host/loader/instruction.h"

#include <cstring>

namespace host::loader {

namespace {

using Kind = MemoryAccess::Kind;

struct Prefixes {
    uint32_t bytes = 0;
    bool operandSize = false, addressSize = false, repeat = false;
};

Prefixes ReadPrefixes(const uint8_t* code) {
    Prefixes prefixes;
    for (;; ++prefixes.bytes) {
        switch (code[prefixes.bytes]) {
        case 0x66:
            prefixes.operandSize = true;
            break;
        case 0x67:
            prefixes.addressSize = true;
            break;
        case 0xF2:
        case 0xF3:
            prefixes.repeat = true;
            break;
        case 0x26: // segments
        case 0x2E:
        case 0x36:
        case 0x3E:
        case 0x64:
        case 0x65:
        case 0xF0: // lock
            break;
        default:
            return prefixes;
        }
    }
}

uint32_t RegisterField(uint8_t modRM) {
    return (modRM >> 3) & 7;
}

// Bytes of the ModRM byte and what belongs to it, with 32-bit addresses.
uint32_t OperandBytes(const uint8_t* modRM) {
    const uint32_t mode = modRM[0] >> 6, base = modRM[0] & 7;
    if (mode == 3) {
        return 1;
    }
    const bool sib = base == 4;
    uint32_t bytes = sib ? 2 : 1;
    if (mode == 1) {
        bytes += 1;
    } else if (mode == 2 || (sib ? (modRM[1] & 7) == 5 : base == 5)) {
        bytes += 4;
    }
    return bytes;
}

// Operand of a one-byte opcode that is no x87 instruction. `word` is 4, or 2 under a prefix.
uint32_t IntegerWidth(uint8_t opcode, uint32_t field, uint32_t word) {
    switch (opcode) {
    case 0x62: // bound: a pair
        return 2 * word;
    case 0x63: // arpl, and moves of segment registers
    case 0x8C:
    case 0x8E:
        return 2;
    case 0xA6: // cmps: two operands at once
    case 0xA7:
    case 0xC4: // far pointers
    case 0xC5:
        return 0;
    case 0xD7: // xlat
        return 1;
    case 0xFF:
        return field == 3 || field == 5 ? 0 : word;
    default: // for all others bit 0 tells a word from a byte
        return (opcode & 1) != 0 ? word : 1;
    }
}

// Operand of an opcode behind 0x0F.
uint32_t TwoByteWidth(uint8_t opcode, uint32_t field, uint32_t word) {
    if (opcode >= 0x90 && opcode <= 0x9F) { // setcc
        return 1;
    }
    switch (opcode) {
    case 0xB0: // cmpxchg, movzx, movsx, xadd of bytes
    case 0xB6:
    case 0xBE:
    case 0xC0:
        return 1;
    case 0xB7: // movzx, movsx of 16 bits
    case 0xBF:
        return 2;
    case 0xA3: // bt, bts, btr, btc
    case 0xAB:
    case 0xB3:
    case 0xBA:
    case 0xBB:
    case 0xA4: // shld, shrd
    case 0xA5:
    case 0xAC:
    case 0xAD:
    case 0xAF: // imul
    case 0xB1: // cmpxchg
    case 0xBC: // bsf, bsr
    case 0xBD:
    case 0xC1: // xadd
        return word;
    case 0xC7: // cmpxchg8b
        return field == 1 ? 8 : 0;
    default:
        return 0;
    }
}

// Operand of an x87 instruction.
uint32_t FloatWidth(uint8_t opcode, uint32_t field) {
    switch (opcode) {
    case 0xD8: // arithmetic on a single
    case 0xDA: // arithmetic on 32-bit integers
        return 4;
    case 0xD9: // singles, then environment and control word
        return field < 4 ? 4 : field == 5 || field == 7 ? 2 : 0;
    case 0xDB: // 32-bit integers, then extended values
        return field < 4 ? 4 : 0;
    case 0xDC: // arithmetic on a double
        return 8;
    case 0xDD: // doubles, then state and status word
        return field < 4 ? 8 : field == 7 ? 2 : 0;
    case 0xDE: // arithmetic on 16-bit integers
        return 2;
    default: // 0xDF: 16-bit integers, packed decimals, 64-bit integers
        return field < 4 ? 2 : field == 5 || field == 7 ? 8 : 0;
    }
}

bool IsFloatStore(uint8_t opcode, uint32_t field) {
    switch (opcode) {
    case 0xD9:
        return field == 2 || field == 3 || field == 7;
    case 0xDB:
    case 0xDD:
        return field >= 1 && field <= 3; // 1 came with a later processor
    case 0xDF:
        return (field >= 1 && field <= 3) || field == 7;
    default:
        return false;
    }
}

bool IsFloat(uint8_t opcode) {
    return opcode >= 0xD8 && opcode <= 0xDF;
}

} // namespace

MemoryAccess DecodeAccess(const uint8_t* code) {
    constexpr uint8_t kTwoByte = 0x0F;
    const Prefixes prefixes = ReadPrefixes(code);
    const uint8_t* at = code + prefixes.bytes;
    const uint32_t word = prefixes.operandSize ? 2 : 4;
    const uint8_t opcode = at[0];
    const uint8_t* modRM = at + 1;
    const uint32_t field = RegisterField(*modRM);

    MemoryAccess access;
    if (opcode == kTwoByte) {
        access.width = TwoByteWidth(at[1], RegisterField(at[2]), word);
        access.kind = at[1] >= 0x90 && at[1] <= 0x9F ? Kind::Store : Kind::Other;
        return access;
    }
    if (IsFloat(opcode)) {
        access.width = FloatWidth(opcode, field);
        access.kind = IsFloatStore(opcode, field) ? Kind::Store : Kind::Other;
        return access;
    }
    access.width = IntegerWidth(opcode, field, word);
    access.repeats = prefixes.repeat;
    const bool simple = access.width == 4 && !prefixes.addressSize;
    switch (opcode) {
    case 0x88: // moves of bytes, and what has no kind of its own
    case 0x8C:
    case 0x8F:
    case 0xA2:
    case 0xA4:
    case 0xAA:
    case 0xC6:
        access.kind = Kind::Store;
        break;
    case 0x8B:
        access.kind = simple ? Kind::LoadRegister : Kind::Other;
        access.reg = field;
        access.bytes = prefixes.bytes + 1 + OperandBytes(modRM);
        break;
    case 0x89:
        access.kind = simple ? Kind::StoreRegister : Kind::Store;
        access.reg = field;
        access.bytes = prefixes.bytes + 1 + OperandBytes(modRM);
        break;
    case 0xA1:
        access.kind = simple ? Kind::LoadRegister : Kind::Other;
        access.bytes = prefixes.bytes + 5;
        break;
    case 0xA3:
        access.kind = simple ? Kind::StoreRegister : Kind::Store;
        access.bytes = prefixes.bytes + 5;
        break;
    case 0xA5:
        access.kind = simple ? Kind::MoveString : Kind::Store;
        access.bytes = prefixes.bytes + 1;
        break;
    case 0xAB:
        access.kind = simple ? Kind::StoreString : Kind::Store;
        access.bytes = prefixes.bytes + 1;
        break;
    case 0xC7:
        access.kind = simple ? Kind::StoreImmediate : Kind::Store;
        std::memcpy(&access.immediate, modRM + OperandBytes(modRM), 4);
        access.bytes = prefixes.bytes + 1 + OperandBytes(modRM) + 4;
        break;
    default:
        break;
    }
    return access;
}

} // namespace host::loader
