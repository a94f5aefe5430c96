#pragma once
// The chip's registers and the bit fields of their words, from the one table in registers.def.
#include "chip/devices.h"

#include <cstdint>

// Sets of devices that have a register: bit ChipModel each.
namespace on {
constexpr uint8_t Bit(ChipModel model) {
    return static_cast<uint8_t>(1u << static_cast<uint8_t>(model));
}
inline constexpr uint8_t Permedia2 = Bit(ChipModel::Permedia2);
inline constexpr uint8_t Permedias = Bit(ChipModel::Permedia) | Permedia2;
inline constexpr uint8_t GlintTextures = Bit(ChipModel::TX) | Bit(ChipModel::MX);
inline constexpr uint8_t Glints = Bit(ChipModel::SX) | GlintTextures;
inline constexpr uint8_t Textures = GlintTextures | Permedias;
// Their lookup table can be filled from memory.
inline constexpr uint8_t TableLoaders = Bit(ChipModel::MX) | Permedia2;
inline constexpr uint8_t All = Glints | Permedias;
} // namespace on

// What a register is to those who put the chip back as a client of it left it.
enum class Use : uint8_t {
    Port,        // not a register of the stream
    State,       // stays as it was set
    Interpolant, // so too, but only drawing in three dimensions needs it again
    Command,     // writing it does something, or takes part in something under way
    Reload,      // a command that fills the lookup table from where the state says
    Half,        // of a register that sets both halves
    Vertex,      // 16 registers of the vertex store: each drawing instruction loads it anew
};

// How a register's word, or a field of it, is to be read.
enum class Form : uint8_t {
    Bits,         // nothing known
    Fields,       // a mode word, by its fields
    Unknown,      // bits that the driver sets or clears, and nothing more is known of
    Flag,         // one bit
    Code,         // a choice
    Number,       // unsigned
    Signed,       // two's complement in the field's width
    Log2,         // the logarithm of a size
    Product,      // partial product of a pitch: code c stands for 2^(c+4), 0 for nothing
    Address,      // on the bus, in bytes
    Point,        // X in bits 0-15, Y in bits 16-31, signed
    Limits,       // first in bits 0-15, end in bits 16-31, signed
    Colour,       // 8 bits a channel
    Fraction,     // the fraction below a register of whole numbers, from bit 31 down
    Fixed15,      // signed fixed point with so many fraction bits
    Fixed16,      // so too
    Fixed22,      // so too
    Texel,        // fixed point whose fraction bits depend on chip and mode
    VertexFixed,  // 16 registers in fixed point, each quantity in its own
    VertexSingle, // the same in IEEE singles
};

// The mapped registers begin here: writing at 0x8000 + tag * 8 is the same as sending (tag, data).
inline constexpr uint32_t kMappedRegisters = 0x8000;

constexpr uint32_t MappedOffset(uint32_t tagNumber) {
    return kMappedRegisters + tagNumber * 8;
}

// Registers by tag: tag::Render.
namespace tag {
#define PORT(offset, name, devices, form)
#define TAG(number, name, devices, use, form) inline constexpr uint32_t name = number;
#define FIELD(owner, name, low, width, form)
#include "chip/registers.def"
} // namespace tag

// Registers of the aperture alone by byte offset: reg::IntFlags. All accesses are 32-bit.
namespace reg {
#define PORT(offset, name, devices, form) inline constexpr uint32_t name = offset;
#define TAG(number, name, devices, use, form)
#define FIELD(owner, name, low, width, form)
#include "chip/registers.def"

inline constexpr uint32_t MappedRegisters = kMappedRegisters;
// Bytes of FIFOWindow: a word written anywhere in it enters the input FIFO.
inline constexpr uint32_t FIFOWindowBytes = 0xFA0;
// So does one in the rest of the window's page: the few writers that reserve less than they write
// run up to 20 bytes past the window's end.
inline constexpr uint32_t FIFOPageBytes = 0x1000;
// Reads here give the next output FIFO word and the one after it.
inline constexpr uint32_t OutFIFOWord = FIFOWindow;
inline constexpr uint32_t OutFIFOSecondWord = FIFOWindow + 4;
// The video block: its registers lie 8 bytes apart from here on.
inline constexpr uint32_t VideoRegisters = 0x5800;
// One register per capture buffer: its offset in video memory, in units of 8 bytes.
inline constexpr uint32_t VSBufferBase[3] = {VSBufferBase0, VSBufferBase1, VSBufferBase2};
// Bytes of the whole aperture: up to the mapped register of the highest tag.
inline constexpr uint32_t ApertureBytes = MappedRegisters + 0x400 * 8;
} // namespace reg

struct Register {
    uint16_t offset; // in the aperture, bytes
    const char* name;
    uint8_t devices; // bit ChipModel each
    Use use;
    Form form;

    constexpr bool HasTag() const { return offset >= kMappedRegisters; }
    constexpr uint32_t Tag() const { return (offset - kMappedRegisters) / 8u; }
    constexpr bool IsOn(ChipModel model) const { return (devices & on::Bit(model)) != 0; }
};

// All of them, ascending by offset.
inline constexpr Register kRegisters[] = {
#define PORT(offset, name, devices, form) {offset, #name, on::devices, Use::Port, Form::form},
#define TAG(number, name, devices, use, form)                                                      \
    {MappedOffset(number), #name, on::devices, Use::use, Form::form},
#define FIELD(owner, name, low, width, form)
#include "chip/registers.def"
};

// The register at a byte offset of the aperture, or null. Of a group of 16 only its first is one.
constexpr const Register* FindRegister(uint32_t offset) {
    for (const Register& entry : kRegisters) {
        if (entry.offset == offset) {
            return &entry;
        }
    }
    return nullptr;
}

// Name of a register by tag, or null where the vocabulary has none.
constexpr const char* NameOfTag(uint32_t tagNumber) {
    const Register* entry = FindRegister(MappedOffset(tagNumber));
    return entry != nullptr ? entry->name : nullptr;
}

// The vertex store: six groups of 16 registers.
inline constexpr uint32_t kVertexStoreFirst = tag::V0Fixed;
inline constexpr uint32_t kVertexStoreEnd = tag::V2Float + 16;

// A run of bits in the word of one register.
struct Field {
    uint16_t offset; // of the register
    uint8_t low;     // lowest bit
    uint8_t width;   // bits
    const char* name;
    Form form;

    constexpr uint32_t Tag() const { return (offset - kMappedRegisters) / 8u; }
    constexpr uint32_t Mask() const { return ((1u << width) - 1u) << low; }
    constexpr uint32_t Get(uint32_t word) const { return (word & Mask()) >> low; }
    // The word with this field replaced by the low `width` bits of `value`.
    constexpr uint32_t Put(uint32_t word, uint32_t value) const {
        return (word & ~Mask()) | ((value << low) & Mask());
    }
};

// field::Register_Name, for instance field::DepthMode_Compare.
namespace field {
namespace place {
#define PORT(offset, name, devices, form) inline constexpr uint16_t name = offset;
#define TAG(number, name, devices, use, form) inline constexpr uint16_t name = MappedOffset(number);
#define FIELD(owner, name, low, width, form)
#include "chip/registers.def"
} // namespace place
#define PORT(offset, name, devices, form)
#define TAG(number, name, devices, use, form)
#define FIELD(owner, name, low, width, form)                                                       \
    inline constexpr Field owner##_##name{place::owner, low, width, #name, Form::form};
#include "chip/registers.def"
} // namespace field

// All fields, grouped by register.
inline constexpr Field kFields[] = {
#define PORT(offset, name, devices, form)
#define TAG(number, name, devices, use, form)
#define FIELD(owner, name, low, width, form) field::owner##_##name,
#include "chip/registers.def"
};

// Replaces a field of a word by the low bits of `value`.
constexpr void PutField(uint32_t& word, const Field& field, uint32_t value) {
    word = field.Put(word, value);
}
