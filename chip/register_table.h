#pragma once
// All that chip/registers.def says of the registers and their fields, as tables.
#include "chip/kinds.h"
#include "chip/registers.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

// A part of the chip.
enum class ChipUnit : uint8_t {
#define UNIT(unit, title, about) unit,
#include "chip/registers.def"
};

struct UnitRow {
    ChipUnit unit;
    const char* name; // one word
    const char* title;
    const char* about;
};

inline constexpr UnitRow kUnits[] = {
#define UNIT(unit, title, about) {ChipUnit::unit, #unit, title, about},
#include "chip/registers.def"
};

struct Register {
    uint16_t offset; // in the aperture, bytes
    const char* name;
    uint8_t devices; // bit ChipModel each
    Use use;
    ChipUnit unit;
    const ValueKind* kind;
    const char* about;

    constexpr bool HasTag() const { return offset >= kMappedRegisters; }
    constexpr uint32_t Tag() const { return (offset - kMappedRegisters) / 8u; }
    constexpr bool IsOn(ChipModel model) const { return (devices & on::Bit(model)) != 0; }
};

// All of them, ascending by offset.
inline constexpr Register kRegisters[] = {
#define PORT(offset, name, devices, unit, kindName, about)                                         \
    {offset, #name, on::devices, Use::Port, ChipUnit::unit, &kind::kindName, about},
#define TAG(number, name, devices, use, unit, kindName, about)                                     \
    {MappedOffset(number), #name, on::devices, Use::use, ChipUnit::unit, &kind::kindName, about},
#include "chip/registers.def"
};

// Chips besides a register's own on which drivers write it, and why.
struct AlsoRow {
    uint16_t offset; // the register's
    uint8_t devices; // bit ChipModel each
    const char* why;
};

inline constexpr AlsoRow kAlso[] = {
#define ALSO(owner, devices, why) {field::place::owner, on::devices, why},
#include "chip/registers.def"
};

struct FieldRow : Field {
    const char* name;
    const ValueKind* kind;
    const char* about;
};

// All fields, grouped by register.
inline constexpr FieldRow kFields[] = {
#define FIELD(owner, name, low, width, kindName, about)                                            \
    {field::owner##_##name, #name, &kind::kindName, about},
#include "chip/registers.def"
};

// What each register of a group of the vertex store holds.
struct VertexRow {
    uint8_t index; // in the group
    const char* name;
    const ValueKind* kind; // in the fixed groups
    const char* about;
};

inline constexpr VertexRow kVertexRows[] = {
#define VERTEX(index, name, kindName, about) {index, #name, &kind::kindName, about},
#include "chip/registers.def"
};

namespace register_table {

inline constexpr uint32_t kPlaces = reg::ApertureBytes / 8;

// By offset / 8: one more than the register's index, 0 for none.
inline constexpr std::array<uint16_t, kPlaces> kIndex = [] {
    std::array<uint16_t, kPlaces> index{};
    for (size_t i = 0; i < std::size(kRegisters); ++i) {
        index[kRegisters[i].offset / 8] = static_cast<uint16_t>(i + 1);
    }
    return index;
}();

// By index of a register: its fields in kFields.
struct FieldRange {
    uint16_t first, count;
};
inline constexpr auto kFieldRanges = [] {
    std::array<FieldRange, std::size(kRegisters)> ranges{};
    for (size_t i = 0; i < std::size(kFields); ++i) {
        FieldRange& range = ranges[kIndex[kFields[i].offset / 8] - 1];
        if (range.count++ == 0) {
            range.first = static_cast<uint16_t>(i);
        }
    }
    for (uint32_t i = 0; i < ranges.size(); ++i) {
        if (IsKind(kRegisters[i].kind, kind::RenderWord)) {
            ranges[i] = ranges[kIndex[field::place::Render / 8] - 1];
        }
    }
    return ranges;
}();

} // namespace register_table

// The register at a byte offset of the aperture, or null. Of a group of 16 only its first is one.
constexpr const Register* FindRegister(uint32_t offset) {
    if (offset % 8 != 0 || offset >= reg::ApertureBytes) {
        return nullptr;
    }
    const uint16_t index = register_table::kIndex[offset / 8];
    return index != 0 ? &kRegisters[index - 1] : nullptr;
}

// True if drivers write the register on this chip, whether or not the chip has it.
constexpr bool IsWrittenOn(const Register& entry, ChipModel model) {
    for (const AlsoRow& row : kAlso) {
        if (row.offset == entry.offset && (row.devices & on::Bit(model)) != 0) {
            return true;
        }
    }
    return entry.IsOn(model);
}

// Name of a register by tag, or null where the vocabulary has none.
constexpr const char* NameOfTag(uint32_t tagNumber) {
    const Register* entry = FindRegister(MappedOffset(tagNumber));
    return entry != nullptr ? entry->name : nullptr;
}

// The fields of a register of the table, lowest first. Their offset is that of the register that
// they were defined for.
constexpr std::span<const FieldRow> FieldsOf(const Register& entry) {
    const register_table::FieldRange range =
        register_table::kFieldRanges[static_cast<size_t>(&entry - kRegisters)];
    return {kFields + range.first, range.count};
}

constexpr bool IsInVertexStore(uint32_t tagNumber) {
    return tagNumber >= kVertexStoreFirst && tagNumber < kVertexStoreEnd;
}

// What a register of the vertex store holds; null for one that holds nothing, and for other tags.
constexpr const VertexRow* FindVertexRow(uint32_t tagNumber) {
    for (const VertexRow& row : kVertexRows) {
        if (IsInVertexStore(tagNumber) && row.index == (tagNumber & 0xF)) {
            return &row;
        }
    }
    return nullptr;
}
