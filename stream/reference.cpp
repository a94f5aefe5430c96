#include "stream/reference.h"

#include "board/values/register_names.h"
#include "chip/register_table.h"
#include "chip/words.h"

#include <fmt/format.h>
#include <fmt/ostream.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <string>
#include <vector>

namespace stream {

namespace {

constexpr const char* kIntroduction = R"(# Registers

What this driver and this board know of the chips' registers: names, places, fields, formats. All of it
comes from what the driver tells the chips and from what the board makes of that; what neither needed to
know is said to be unknown here, and is not guessed.

The page is made from `chip/registers.def` and `chip/kinds.def`; `cmake --build --preset hosted --target
registers_md` makes it anew.

)";

constexpr const char* kAperture = R"(## The aperture

Registers are reached in two ways: by the processor, as 32-bit loads and stores in the aperture, and by words
of the [stream](#words-of-the-stream). All accesses are 32 bits wide, all words little-endian.

| offsets | |
|---|---|
| 0000 - 1FFF | bus, DMA and memory: registers of the aperture alone |
| 2000 - 2FFF | the FIFO window: a word written anywhere in it enters the input FIFO, in the order of the writes; reads take words from the output FIFO. Drivers count on 2000 - 2F9F; a few of their routines write up to 20 bytes more than they reserve |
| 3000 - 7FFF | screen and video port: registers of the aperture alone |
| 8000 - 9FF8 | mapped registers: one for each tag, at 8000 + tag * 8. A write is the same as sending the tag and the value |

A write into the FIFO, by the window or mapped, needs room there: `InFIFOSpace` tells it. Registers lie 8 bytes
apart.

)";

constexpr const char* kWords = R"(## Words of the stream

A stream is made of tag words and the data words behind them. A tag word is one of three forms:

```
bit  31 ................. 16 15 14 .. 10 9 ......... 0
     count - 1               0  0        tag             hold; with count 1, the bare tag: single
     mask                    1  0        group           indexed; the group's low four bits are 0
```

| form | tag word | data words behind it |
|---|---|---|
| single | `tag` | one, for register `tag` |
| hold | `((count - 1) << 16) \| tag` | `count`, 1 to 65536, all for register `tag`, one after the other |
| indexed | `(mask << 16) \| 8000 \| group` | one for each set bit of `mask`, lowest first: bit i is for register `group + i` |

A tag word with one of the bits 10 to 14 set, an indexed one without mask bits, and one whose group has low bits
are malformed: the board skips the word, counts it, and takes the next word for a tag word. Data words are free
of all rules. What carries the words, FIFO window or DMA, makes no difference, and a burst may begin in the one
and go on in the other. The end of a transfer ends no burst.

Data takes effect in order. Registers marked as commands act when they are written; all others are looked at by
the commands behind them.

The indexed bursts that the driver uses:

| word | registers |
|---|---|
)";

constexpr uint32_t kBursts[] = {
    burst::Trapezoid,   burst::Rectangle,  burst::NextSubEdge,   burst::Edge,
    burst::AreaStipple, burst::TextureST,  burst::TextureSTQ,    burst::Fog,
    burst::ColourRGB,   burst::ColourRGBA, burst::EdgeColourRGB, burst::Depth,
    burst::EdgeDepth,
};

constexpr const char* kFixedPoint = R"(## Fixed point

Two's complement, `sI.F`: a sign, I whole bits, F fraction bits.

| kind | format | from | to | one step |
|---|---|---|---|---|
)";

constexpr const char* kTexels = R"(
Texture coordinates (kinds Texel and TexelStep) are read by chip and mode:

| chips | S and T | Q |
|---|---|---|
| Permedia family | s11.20, texels; with `Perspective`, S / Q and T / Q are texels | s1.30 |
| TX and MX with `Perspective` | s1.30; S / Q and T / Q of 1 are the map's width and height | s1.30 |
| TX and MX without it | 11.21 without a sign, texels | not used |

Depth is two words: a signed whole part of 32 bits, and a fraction of which the board takes the upper 16 bits, so
32.16. Colours count 0 to 255 in s16.15; fog and highlight count 0 to 1 in s9.22.

)";

constexpr const char* kVertexStore = R"(### The vertex store

Three vertices, each of them filled by two groups of 16 registers, one in fixed point and one in IEEE singles.
Both fill the same places, so the latest word holds, and a vertex stays until it is written over.

| group | tags | offsets |
|---|---|---|
)";

std::string LowerCase(std::string text) {
    std::ranges::transform(text, text.begin(), [](unsigned char c) {
        return static_cast<char>(c >= 'A' && c <= 'Z' ? c + 32 : c);
    });
    return text;
}

// The anchor of a heading.
std::string Anchor(const char* title) {
    std::string anchor;
    for (const char c : LowerCase(title)) {
        anchor += c == ' ' ? '-' : c;
    }
    return "#" + anchor;
}

const UnitRow& RowOf(ChipUnit unit) {
    return kUnits[static_cast<size_t>(unit)];
}

std::string ChipsOf(uint8_t devices) {
    if (devices == on::All) {
        return "all";
    }
    constexpr struct {
        ChipModel model;
        const char* name;
    } kNames[] = {{ChipModel::SX, "SX"},
                  {ChipModel::TX, "TX"},
                  {ChipModel::MX, "MX"},
                  {ChipModel::Permedia, "Permedia"},
                  {ChipModel::Permedia2, "Permedia 2"}};
    std::string text;
    for (const auto& row : kNames) {
        if ((devices & on::Bit(row.model)) != 0) {
            text += (text.empty() ? "" : ", ") + std::string(row.name);
        }
    }
    return text;
}

const char* TextOf(Use use) {
    switch (use) {
    case Use::Port:
        return "aperture";
    case Use::State:
        return "state";
    case Use::Interpolant:
        return "interpolant";
    case Use::Command:
        return "command";
    case Use::Reload:
        return "command, reload";
    case Use::Half:
        return "half";
    case Use::Vertex:
        return "vertex";
    }
    return "";
}

std::string CodesOf(const ValueKind& kind) {
    std::string text;
    for (const Code& code : kind.codes) {
        text += fmt::format("{}{} {}", text.empty() ? "" : ", ", code.value, code.name);
    }
    return text;
}

std::string BitsOf(const Field& field) {
    return field.width == 1 ? std::to_string(field.low)
                            : fmt::format("{}-{}", field.low, field.low + field.width - 1);
}

void WriteContents(std::ostream& out) {
    out << "Contents: [the chips](#the-chips), [the aperture](#the-aperture), [words of the\n"
           "stream](#words-of-the-stream), [fixed point](#fixed-point), [kinds of\n"
           "values](#kinds-of-values), [the registers by unit](#the-registers-by-unit):\n";
    const char* separator = "";
    for (const UnitRow& unit : kUnits) {
        fmt::print(out, "{}[{}]({})", separator, unit.title, Anchor(unit.title));
        separator = ",\n";
    }
    out << "; [all by place](#all-by-place), [what is unknown](#what-is-unknown).\n\n";
}

void WriteChips(std::ostream& out) {
    out << "## The chips\n\n| chip | device | family | setup unit | textures | video port | "
           "largest "
           "partial product |\n|---|---|---|---|---|---|---|\n";
    const auto yes = [](bool value) { return value ? "yes" : "no"; };
    for (const DeviceRow& row : kDevices) {
        fmt::print(out, "| {} | {:X}{} | {} | {} | {} | {} | {} |\n", row.name,
                   static_cast<uint32_t>(row.id),
                   row.secondId != 0 ? fmt::format(" or {:X}", row.secondId) : "",
                   row.IsGlint() ? "Glint" : "Permedia",
                   row.setupUnit  ? "its own"
                   : row.textures ? "a second chip in front"
                                  : "a second chip in front, without textures",
                   yes(row.textures), yes(row.videoPort), 1u << row.pitchTop);
    }
    out << "\nA pitch is a sum of partial products: powers of two from 32 up, three of them in the "
           "mode words, in\nelements of the surface (kind Product). \"Glint\" below means SX, TX "
           "and MX.\n\n";
}

void WriteWords(std::ostream& out) {
    out << kWords;
    for (const uint32_t word : kBursts) {
        std::string names;
        for (uint32_t bit = 0; bit < 16; ++bit) {
            if ((word >> 16 >> bit & 1) != 0) {
                names += (names.empty() ? "" : ", ") + board::TagName((word & kTagMask) + bit);
            }
        }
        fmt::print(out, "| {:08X} | {} |\n", word, names);
    }
    out << '\n';
}

void WriteFixedPoint(std::ostream& out) {
    out << kFixedPoint;
    for (const ValueKind* kind : kKinds) {
        if (kind->form == Form::Fixed) {
            fmt::print(out, "| {} | s{}.{} | {} | below {} | 2^-{} |\n", kind->name,
                       31 - kind->places, kind->places, -std::ldexp(1.0, 31 - kind->places),
                       std::ldexp(1.0, 31 - kind->places), kind->places);
        }
    }
    fmt::print(out, "| DepthFraction | 0.32, no sign | 0 | below 1 | 2^-32 |\n");
    out << kTexels;
}

void WriteKinds(std::ostream& out) {
    out << "## Kinds of values\n\n| kind | of | counts in | values |\n|---|---|---|---|\n";
    for (const ValueKind* kind : kKinds) {
        fmt::print(out, "| {} | {} | {} | {} |\n", kind->name, kind->about, kind->unit,
                   CodesOf(*kind));
    }
    out << "\nA code without a name is one that nobody has met. Of two formats that share a code "
           "the word's `FormatExtension`\nchooses the second. Orders of channels are from the top "
           "of the pixel: alpha, then red, green, blue, or with a\nclear `ColorOrder` (or "
           "`RedHigh`) alpha, blue, green, red.\n\n";
}

void WriteFields(std::ostream& out, const Register& entry) {
    fmt::print(
        out,
        "### {}\n\n{}. {}Offset {:04X}; {}.\n\n| bits | field | value | |\n|---|---|---|---|\n",
        entry.name, entry.about, entry.HasTag() ? fmt::format("Tag {:03X}. ", entry.Tag()) : "",
        entry.offset, ChipsOf(entry.devices) == "all" ? "all chips" : ChipsOf(entry.devices));
    for (const FieldRow& field : FieldsOf(entry)) {
        const bool unknown = field.kind == &kind::Unknown;
        const std::string value =
            field.kind->codes.empty()
                ? std::string(field.kind->name)
                : fmt::format("{}: {}", field.kind->name, CodesOf(*field.kind));
        fmt::print(out, "| {} | {} | {} | {} |\n", BitsOf(field), field.name, unknown ? "" : value,
                   unknown ? "unknown" : field.about);
    }
    out << '\n';
}

void WriteVertexStore(std::ostream& out) {
    out << kVertexStore;
    for (const Register& entry : kRegisters) {
        if (entry.use == Use::Vertex) {
            fmt::print(out, "| {} | {:03X} - {:03X} | {:04X} - {:04X} |\n", entry.name, entry.Tag(),
                       entry.Tag() + 15, entry.offset, entry.offset + 15 * 8);
        }
    }
    out << "\n| register of the group | holds | fixed | float | |\n|---|---|---|---|---|\n";
    for (uint32_t index = 0; index < 16; ++index) {
        if (const VertexRow* row = FindVertexRow(kVertexStoreFirst + index)) {
            fmt::print(out, "| +{} | {} | {} | {} | {} |\n", index, row->name, row->kind->name,
                       row->kind->form == Form::Fixed ? "Single" : row->kind->name, row->about);
        } else {
            fmt::print(out, "| +{} | | | | unknown |\n", index);
        }
    }
    out << '\n';
}

void WriteUnit(std::ostream& out, const UnitRow& unit) {
    fmt::print(out,
               "## {}\n\n{}.\n\n| register | tag | offset | chips | use | value | "
               "|\n|---|---|---|---|---|---|---|\n",
               unit.title, unit.about);
    for (const Register& entry : kRegisters) {
        if (entry.unit != unit.unit) {
            continue;
        }
        const bool ownSection = entry.kind == &kind::Fields;
        const std::string name = ownSection
                                     ? fmt::format("[{}]({})", entry.name, Anchor(entry.name))
                                     : std::string(entry.name);
        fmt::print(out, "| {} | {} | {:04X} | {} | {} | {} | {} |\n", name,
                   entry.HasTag() ? fmt::format("{:03X}", entry.Tag()) : "", entry.offset,
                   ChipsOf(entry.devices), TextOf(entry.use), entry.kind->name, entry.about);
    }
    out << '\n';
    bool also = false;
    for (const Register& entry : kRegisters) {
        for (const AlsoRow& row : kAlso) {
            if (entry.unit == unit.unit && row.offset == entry.offset) {
                out << (also ? "" : "Written also:\n\n");
                fmt::print(out, "- {} on {}: {}.\n", entry.name, ChipsOf(row.devices), row.why);
                also = true;
            }
        }
    }
    out << (also ? "\n" : "");
    for (const Register& entry : kRegisters) {
        if (entry.unit == unit.unit && entry.kind == &kind::Fields) {
            WriteFields(out, entry);
        }
    }
    if (unit.unit == ChipUnit::Setup) {
        WriteVertexStore(out);
    }
}

void WriteUses(std::ostream& out) {
    out << R"(## The registers by unit

The column "use" tells what a register is to a client of the chip that finds it again after another one's turn:
registers of **state** and **interpolants** stay as they were set and are written back, the interpolants only
where drawing in three dimensions goes on; a **command** acts, or takes part in something under way; **reload** is
a command that is written back, last, as it fills the lookup table again; a **half** belongs to a register that sets
both; **vertex** registers are loaded anew by each drawing instruction, but for a vertex's alpha. Bits without a row
are left alone by the driver, and are unknown.

)";
}

void WriteAllByPlace(std::ostream& out) {
    out << "## All by place\n\n| offset | tag | register | unit |\n|---|---|---|---|\n";
    for (const Register& entry : kRegisters) {
        const UnitRow& unit = RowOf(entry.unit);
        fmt::print(out, "| {:04X} | {} | {} | [{}]({}) |\n", entry.offset,
                   entry.HasTag() ? fmt::format("{:03X}", entry.Tag()) : "", entry.name, unit.title,
                   Anchor(unit.title));
    }
    out << '\n';
}

void WriteUnknown(std::ostream& out) {
    out << "## What is unknown\n\nRegisters whose bits mean nothing to driver and board:\n\n";
    for (const Register& entry : kRegisters) {
        if (entry.kind == &kind::Bits) {
            fmt::print(out, "- {}: {}\n", entry.name, entry.about);
        }
    }
    out << "\nFields that the driver sets or clears without needing their meaning:\n\n";
    for (const Register& entry : kRegisters) {
        std::string bits;
        for (const FieldRow& field : FieldsOf(entry)) {
            if (field.kind == &kind::Unknown && entry.kind != &kind::RenderWord) {
                bits += (bits.empty() ? "" : ", ") + BitsOf(field);
            }
        }
        if (!bits.empty()) {
            fmt::print(out, "- {}: {}\n", entry.name, bits);
        }
    }
}

} // namespace

void WriteReference(std::ostream& out) {
    out << kIntroduction;
    WriteContents(out);
    WriteChips(out);
    out << kAperture;
    WriteWords(out);
    WriteFixedPoint(out);
    WriteKinds(out);
    WriteUses(out);
    for (const UnitRow& unit : kUnits) {
        WriteUnit(out, unit);
    }
    WriteAllByPlace(out);
    WriteUnknown(out);
}

} // namespace stream
