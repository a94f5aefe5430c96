#pragma once
// The board's register state: one word per tag, and the words of the aperture below the mapped
// registers.
#include "chip/registers.h"
#include "chip/words.h"

#include <array>
#include <cstdint>

namespace board {

inline constexpr uint32_t kTagCount = kTagMask + 1;

// One write to a register by tag: an entry of the input FIFO.
struct RegisterWrite {
    uint32_t tag;
    uint32_t data;
};

// Codes of Render's Primitive.
namespace primitive {
enum : uint32_t { Line, Trapezoid, Point };
}

// Tags whose words shape how everything behind them is drawn, until they change. The others belong
// to one primitive (edges, interpolants, vertices, the fragments' colour) or act when written.
inline constexpr std::array<bool, kTagCount> kLastingTags = [] {
    std::array<bool, kTagCount> lasting{};
    lasting.fill(true);
    for (const Register& entry : kRegisters) {
        if (entry.HasTag() && (entry.use == Use::Interpolant || entry.use == Use::Command)) {
            lasting[entry.Tag()] = false;
        }
    }
    for (uint32_t number = kVertexStoreFirst; number < kVertexStoreEnd; ++number) {
        lasting[number] = false;
    }
    lasting[tag::ConstantColor] = false;
    return lasting;
}();

class RegisterFile {
  public:
    // Power-on state: all zero, but both frame buffer write masks are open.
    RegisterFile();

    uint32_t operator[](uint32_t tagNumber) const { return tags_[tagNumber & kTagMask]; }
    // A field of either kind of register.
    uint32_t Get(const Field& field) const {
        return field.Get(field.offset < reg::MappedRegisters ? Aperture(field.offset)
                                                             : tags_[field.Tag()]);
    }
    void Set(uint32_t tagNumber, uint32_t value) {
        uint32_t& word = tags_[tagNumber & kTagMask];
        if (word != value) {
            revision_ += kLastingTags[tagNumber & kTagMask];
            word = value;
        }
    }

    // `offset` is a byte offset below the mapped registers, a multiple of 4.
    uint32_t Aperture(uint32_t offset) const { return aperture_[offset / 4]; }
    void SetAperture(uint32_t offset, uint32_t value) {
        aperture_[offset / 4] = value;
        ++revision_;
    }

    // Another number whenever a word of a lasting tag, or one of the aperture, has changed: what
    // was decoded from them is stale then. Whoever replaces words otherwise than by Set calls
    // Touch.
    uint32_t Revision() const { return revision_; }
    void Touch() { ++revision_; }

    // True for tags of the vocabulary and for the setup unit's vertex store.
    static bool HasTag(uint32_t tagNumber);
    // True for named offsets below the mapped registers, the FIFO window apart.
    static bool HasAperture(uint32_t offset);

  private:
    std::array<uint32_t, kTagCount> tags_{};
    std::array<uint32_t, reg::MappedRegisters / 4> aperture_{};
    uint32_t revision_ = 0;
};

// Sum of the three partial products in bits 0-8 of a mode word, in pixels (or depth elements):
// code c stands for 2^(c+4), code 0 for nothing. It reads what the driver's own pitch arithmetic
// has written, and shares nothing with that: a pitch that the driver gets wrong shows in the
// picture.
constexpr uint32_t PitchFromProducts(uint32_t modeWord) {
    uint32_t pitch = 0;
    for (uint32_t shift = 0; shift < 9; shift += 3) {
        const uint32_t code = (modeWord >> shift) & 7;
        pitch += code != 0 ? 1u << (code + 4) : 0;
    }
    return pitch;
}

} // namespace board
