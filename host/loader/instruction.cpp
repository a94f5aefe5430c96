#include "host/loader/instruction.h"

#include <cstring>

namespace host::loader {

namespace {

constexpr uint8_t kOperandSize = 0x66, kTwoByte = 0x0F;

bool IsSegmentOrRepeat(uint8_t byte) {
    switch (byte) {
    case 0x26:
    case 0x2E:
    case 0x36:
    case 0x3E:
    case 0xF0: // lock
    case 0xF2:
    case 0xF3:
        return true;
    default:
        return false;
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

// One-byte opcodes whose memory operand is a single byte.
bool IsByteWide(uint8_t opcode) {
    if (opcode < 0x40) {
        return (opcode & 5) == 0;
    }
    switch (opcode) {
    case 0x80:
    case 0x82:
    case 0x84:
    case 0x86:
    case 0x88:
    case 0x8A:
    case 0xA0:
    case 0xA2:
    case 0xA4:
    case 0xA6:
    case 0xAA:
    case 0xAC:
    case 0xAE:
    case 0xC0:
    case 0xC6:
    case 0xD0:
    case 0xD2:
    case 0xF6:
    case 0xFE:
        return true;
    default:
        return false;
    }
}

// x87 instructions: the opcode's memory operand has 32 bits.
bool IsFloat32Bit(uint8_t opcode, uint32_t field) {
    switch (opcode) {
    case 0xD8: // arithmetic on a float
    case 0xDA: // arithmetic on an integer
        return true;
    case 0xD9: // load or store of a float
    case 0xDB: // load or store of an integer
        return field < 4;
    default:
        return false;
    }
}

bool IsFloatStore(uint8_t opcode, uint32_t field) {
    return (opcode == 0xD9 && (field == 2 || field == 3)) ||
           (opcode == 0xDB && field >= 1 && field <= 3);
}

} // namespace

MemoryAccess DecodeAccess(const uint8_t* code) {
    using Kind = MemoryAccess::Kind;
    MemoryAccess access;
    const uint8_t* at = code;
    bool operandSize = false;
    while (IsSegmentOrRepeat(*at) || *at == kOperandSize) {
        operandSize = operandSize || *at == kOperandSize;
        ++at;
    }
    const uint8_t opcode = at[0];
    const uint8_t* modRM = at + 1;
    const auto prefixes = static_cast<uint32_t>(at - code);
    if (operandSize || opcode == kTwoByte || IsByteWide(opcode)) {
        // No two-byte opcode is a plain load or store of 32 bits.
        access.is32Bit = false;
        return access;
    }
    if (opcode >= 0xD8 && opcode <= 0xDF) {
        access.is32Bit = IsFloat32Bit(opcode, RegisterField(*modRM));
        access.kind = IsFloatStore(opcode, RegisterField(*modRM)) ? Kind::Store : Kind::Other;
        return access;
    }
    switch (opcode) {
    case 0x8B:
        access.kind = Kind::LoadRegister;
        access.reg = RegisterField(*modRM);
        access.bytes = prefixes + 1 + OperandBytes(modRM);
        break;
    case 0x89:
        access.kind = Kind::StoreRegister;
        access.reg = RegisterField(*modRM);
        access.bytes = prefixes + 1 + OperandBytes(modRM);
        break;
    case 0xA1:
        access.kind = Kind::LoadRegister;
        access.bytes = prefixes + 5;
        break;
    case 0xA3:
        access.kind = Kind::StoreRegister;
        access.bytes = prefixes + 5;
        break;
    case 0xC7:
        access.kind = Kind::StoreImmediate;
        std::memcpy(&access.immediate, modRM + OperandBytes(modRM), 4);
        access.bytes = prefixes + 1 + OperandBytes(modRM) + 4;
        break;
    case 0x8F: // pop
    case 0xA5: // movs
    case 0xAB: // stos
        access.kind = Kind::Store;
        break;
    default:
        break;
    }
    return access;
}

} // namespace host::loader
