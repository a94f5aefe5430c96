#pragma once
// Kinds of values: how the word of a register, or a field of it, is to be read. A row of
// chip/registers.def names one of kind::.
#include <cstdint>
#include <span>

// What the bits are, before unit and names.
enum class Form : uint8_t {
    Bits,         // as they are
    Fields,       // a mode word, by its fields
    Flag,         // one bit
    Code,         // a choice by number
    Number,       // unsigned
    Signed,       // two's complement in the field's width
    Address,      // unsigned; people read it in hex
    Log2,         // n stands for 2^(n + bias)
    Product,      // n stands for 2^(n + bias), 0 for nothing
    Fixed,        // signed fixed point, two's complement
    Fraction,     // unsigned fixed point below 1
    Texel,        // fixed point whose fraction bits depend on chip and mode (TexelPlaces)
    Colour,       // 8 bits a channel, red in the low byte, alpha in the top one
    Single,       // IEEE single
    VertexFixed,  // the first of 16 registers in fixed point, each quantity in its own
    VertexSingle, // the same in IEEE singles
};

// A name of one value of a field. Values that nobody has met have none.
struct Code {
    uint32_t value;
    const char* name;
};

struct ValueKind {
    const char* name;
    Form form;
    const char* about;     // one line for people
    const char* unit = ""; // what 1 is, where the form does not say it; no blanks in it
    uint8_t places = 0;    // fraction bits of fixed point
    uint8_t bias = 0;      // of Log2 and Product
    std::span<const Code> codes = {};
};

// By name: under a sanitizer GCC compares no addresses in a constant expression.
constexpr bool IsKind(const ValueKind* kind, const ValueKind& other) {
    const char *one = kind->name, *name = other.name;
    for (; *one != 0 && *one == *name; ++one) {
        ++name;
    }
    return *one == *name;
}

namespace codes {
inline constexpr Code Primitive[] = {{0, "Line"}, {1, "Trapezoid"}, {2, "Point"}};
inline constexpr Code Compare[] = {{0, "Never"},        {1, "Less"},    {2, "Equal"},
                                   {3, "LessEqual"},    {4, "Greater"}, {5, "NotEqual"},
                                   {6, "GreaterEqual"}, {7, "Always"}};
inline constexpr Code LogicOp[] = {
    {0, "Clear"},         {1, "And"},         {2, "AndReverse"}, {3, "Copy"},
    {4, "AndInverted"},   {5, "NoOperation"}, {6, "Xor"},        {7, "Or"},
    {8, "Nor"},           {9, "Equivalent"},  {10, "Invert"},    {11, "OrReverse"},
    {12, "CopyInverted"}, {13, "OrInverted"}, {14, "Nand"},      {15, "Set"}};
inline constexpr Code SourceFactor[] = {{0, "Zero"},
                                        {1, "One"},
                                        {2, "DestColour"},
                                        {3, "InverseDestColour"},
                                        {4, "SourceAlpha"},
                                        {5, "InverseSourceAlpha"},
                                        {6, "DestAlpha"},
                                        {7, "InverseDestAlpha"},
                                        {8, "SourceAlphaSaturate"}};
inline constexpr Code DestFactor[] = {{0, "Zero"},         {1, "One"},
                                      {2, "SourceColour"}, {3, "InverseSourceColour"},
                                      {4, "SourceAlpha"},  {5, "InverseSourceAlpha"},
                                      {6, "DestAlpha"},    {7, "InverseDestAlpha"}};
// Two formats that share a code are told apart by the word's FormatExtension, the second with it.
inline constexpr Code ColourFormat[] = {{0, "8:8:8:8/5:6:5"},   {1, "1:5:5:5"},     {2, "4:4:4:4"},
                                        {4, "8:8:8"},           {5, "3:3:2"},       {9, "1:2:3:2"},
                                        {11, "3:3:2/Permedia"}, {14, "3:3:2/Glint"}};
inline constexpr Code TexelFormat[] = {{0, "8:8:8:8/5:6:5"}, {1, "1:5:5:5"}, {2, "4:4:4:4/YUV411"},
                                       {3, "YUV422"},        {4, "8:8:8"},   {5, "3:3:2"},
                                       {9, "1:2:3:2"},       {14, "Index8"}, {15, "Index4"}};
inline constexpr Code PermediaPixelSize[] = {
    {0, "8bit"}, {1, "16bit"}, {2, "32bit"}, {3, "4bit"}, {4, "24bit"}};
inline constexpr Code GlintPixelSize[] = {{0, "32bit"}, {1, "16bit"}, {2, "8bit"}};
inline constexpr Code DepthWidth[] = {{0, "16bit"}, {2, "32bit"}};
inline constexpr Code SetupDepth[] = {{1, "16bit"}, {3, "32bit"}};
inline constexpr Code DepthSource[] = {{0, "Fragment"}, {2, "Register"}};
inline constexpr Code Wrap[] = {{0, "Clamp"}, {1, "Repeat"}, {2, "Mirror"}};
inline constexpr Code MinFilter[] = {{0, "Nearest"},          {1, "Linear"},
                                     {2, "MipNearest"},       {3, "MipLinear"},
                                     {4, "LinearMipNearest"}, {5, "LinearMipLinear"}};
inline constexpr Code LevelOfDetail[] = {{0, "One"}, {3, "All"}};
inline constexpr Code Components[] = {{0, "Word"}, {2, "RGB"}, {3, "RGBA"}};
inline constexpr Code TXApplication[] = {{0, "Modulate"}, {1, "Copy"}};
inline constexpr Code Application[] = {{0, "Modulate"},       {1, "Decal"},
                                       {3, "Copy"},           {4, "ModulateHighlight"},
                                       {5, "DecalHighlight"}, {7, "CopyHighlight"}};
inline constexpr Code BaseFormat[] = {{0, "RGB"}, {1, "RGBA"}};
inline constexpr Code KeyMode[] = {{0, "Off"}, {2, "DropInside"}};
inline constexpr Code TargetChip[] = {{0, "Glint"}, {1, "GlintTextures"}, {2, "Permedia"}};
inline constexpr Code PortFormat[] = {{3, "8bit"}, {4, "16bit"}};
inline constexpr Code Bank[] = {{0xFE, "Below4MB"}, {0xFF, "From4MB"}};
} // namespace codes

namespace kind {
#define KIND(title, form_, text, ...)                                                              \
    inline constexpr ValueKind title{                                                              \
        .name = #title, .form = Form::form_, .about = text __VA_OPT__(, ) __VA_ARGS__};
#include "chip/kinds.def"
} // namespace kind

inline constexpr const ValueKind* kKinds[] = {
#define KIND(title, form_, text, ...) &kind::title,
#include "chip/kinds.def"
};
