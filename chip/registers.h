#pragma once
// The chip's registers and the bit fields of their words by name, from the one table in
// registers.def. What else the table says of them is in register_table.h.
#include "chip/devices.h"

#include <cstdint>

// Sets of devices that have a register: bit ChipModel each.
namespace on {
constexpr uint8_t Bit(ChipModel model) {
    return static_cast<uint8_t>(1u << static_cast<uint8_t>(model));
}
inline constexpr uint8_t SX = Bit(ChipModel::SX);
inline constexpr uint8_t Permedia = Bit(ChipModel::Permedia);
inline constexpr uint8_t Permedia2 = Bit(ChipModel::Permedia2);
inline constexpr uint8_t Permedias = Permedia | Permedia2;
inline constexpr uint8_t GlintTextures = Bit(ChipModel::TX) | Bit(ChipModel::MX);
inline constexpr uint8_t Glints = SX | GlintTextures;
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

// The mapped registers begin here: writing at 0x8000 + tag * 8 is the same as sending (tag, data).
inline constexpr uint32_t kMappedRegisters = 0x8000;

constexpr uint32_t MappedOffset(uint32_t tagNumber) {
    return kMappedRegisters + tagNumber * 8;
}

// Registers by tag: tag::Render.
namespace tag {
#define TAG(number, name, ...) inline constexpr uint32_t name = number;
#include "chip/registers.def"
} // namespace tag

// Registers of the aperture alone by byte offset: reg::IntFlags. All accesses are 32-bit.
namespace reg {
#define PORT(offset, name, ...) inline constexpr uint32_t name = offset;
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

// The vertex store: six groups of 16 registers.
inline constexpr uint32_t kVertexStoreFirst = tag::V0Fixed;
inline constexpr uint32_t kVertexStoreEnd = tag::V2Float + 16;

// A run of bits in the word of one register.
struct Field {
    uint16_t offset; // of the register
    uint8_t low;     // lowest bit
    uint8_t width;   // bits

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
#define PORT(offset, name, ...) inline constexpr uint16_t name = offset;
#define TAG(number, name, ...) inline constexpr uint16_t name = MappedOffset(number);
#include "chip/registers.def"
} // namespace place
#define FIELD(owner, name, low, width, ...)                                                        \
    inline constexpr Field owner##_##name{place::owner, low, width};
#include "chip/registers.def"
} // namespace field

// Replaces a field of a word by the low bits of `value`.
constexpr void PutField(uint32_t& word, const Field& field, uint32_t value) {
    word = field.Put(word, value);
}
