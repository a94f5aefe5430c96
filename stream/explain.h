#pragma once
// Words of the command stream and register accesses in readable form. What is said of a word is a
// statement of stream/assemble.h, which makes the same word of it.
#include "board/bus/decoder.h"
#include "chip/register_table.h"
#include "stream/value_text.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace stream {

// How the word of a register is read: by its fields or as a whole. Those of the vertex store and of
// offsets outside the vocabulary have a kind, too.
struct WordForm {
    std::span<const FieldRow> fields; // none: the word is one value
    const ValueKind* kind;
};
// `offset` is a byte offset in the aperture.
WordForm FormOf(uint32_t offset);

// `reading` after a write of a register.
void FollowWrite(Reading& reading, uint32_t offset, uint32_t value);

// Bits of a word that no field has; 0 for a word without fields.
uint32_t RestOf(const WordForm& form, uint32_t word);

// Adds what a word of the register at an aperture offset means: " = VALUE UNIT" or, for a mode
// word, " FIELD=VALUE" for each field that is not zero, and " rest=0xBITS" for bits that no field
// has; " = 0" if there are none.
void AppendMeaning(std::string& text, uint32_t offset, uint32_t word, const Reading& reading);

// Follows a command stream, and the mapped registers, and explains word by word.
class Explainer {
  public:
    explicit Explainer(std::optional<ChipModel> chip = {}) { reading_.chip = chip; }

    // The chip has become known.
    void SetChip(ChipModel chip) { reading_.chip = chip; }

    // Adds the meaning of the next word of the stream.
    //   tag words:  "FogMode", "Color x64", "{dXSub, dY, Count}"
    //   data words: "Render Primitive=Trapezoid Fog=1", "dXDom = 0.5", "FBWindowBase = 0x9600
    //   pixels" others:     "malformed"
    void Append(std::string& text, uint32_t word);
    std::string Explain(uint32_t word);
    // Goes on behind the next word without a text. The write that it makes, if it is data.
    std::optional<board::RegisterWrite> Follow(uint32_t word);
    // True when the next word is data.
    bool ExpectsData() const { return decoder_.ExpectsData(); }
    // The tag that it is for, then.
    uint32_t NextRegister() const { return decoder_.NextRegister(); }

    // Adds what an access of the aperture means, behind the register's name: AppendMeaning without
    // the value's "= ", and nothing where that would only repeat it.
    void AppendAccess(std::string& text, uint32_t offset, uint32_t value) const;
    // A register was written past the stream.
    void OnWrite(uint32_t offset, uint32_t value) { FollowWrite(reading_, offset, value); }

    const Reading& CurrentReading() const { return reading_; }

  private:
    void AppendTagWord(std::string& text, uint32_t word) const;

    board::StreamDecoder decoder_;
    Reading reading_;
};

} // namespace stream
