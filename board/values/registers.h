#pragma once
// The board's register state: one word per tag, and the words of the aperture below the mapped
// registers.
#include "board/values/state_visitor.h"
#include "chip/registers.h"
#include "chip/words.h"

#include <array>
#include <bitset>
#include <cstdint>
#include <vector>

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
            if (kModes[tagNumber & kTagMask]) {
                Displace(MappedOffset(tagNumber & kTagMask), word);
            }
            revision_ += kLasting[tagNumber & kTagMask];
            word = value;
        }
    }

    // `offset` is a byte offset below the mapped registers, a multiple of 4.
    uint32_t Aperture(uint32_t offset) const { return aperture_[offset / 4]; }
    void SetAperture(uint32_t offset, uint32_t value) {
        Displace(offset, aperture_[offset / 4]);
        aperture_[offset / 4] = value;
        ++revision_;
    }

    // Another number whenever a word of a lasting tag, or one of the aperture, has changed: what
    // was decoded from them is stale then. Whoever replaces words otherwise than by Set calls
    // Touch.
    uint32_t Revision() const { return revision_; }
    void Touch() { ++revision_; }

    // A primitive begins, and takes its modes from the registers. Those that it may still need
    // when it goes on are remembered as they are now.
    void BeginPrimitive();
    // Puts what the latest primitive found into the registers, and by a second call back what they
    // hold.
    void ExchangePrimitive();

    void Visit(StateVisitor& visit);

    // True for tags of the vocabulary and for the setup unit's vertex store.
    static bool HasTag(uint32_t tagNumber);
    // True for named offsets below the mapped registers, the FIFO window apart.
    static bool HasAperture(uint32_t offset);

  private:
    struct Displaced {
        uint32_t offset; // in the aperture
        uint32_t value;
    };

    uint32_t& Word(uint32_t offset) {
        return offset < reg::MappedRegisters ? aperture_[offset / 4]
                                             : tags_[(offset - reg::MappedRegisters) / 8];
    }
    void Displace(uint32_t offset, uint32_t value) {
        if (!isDisplaced_[offset / 4]) {
            isDisplaced_[offset / 4] = true;
            displaced_.push_back({offset, value});
        }
    }

    // By tag: a primitive takes it from the register at its beginning, for as long as it goes on.
    static const std::array<bool, kTagCount> kModes;
    // By tag: its word shapes how everything behind it is drawn, until it changes. The others
    // belong to one primitive (edges, interpolants, vertices, the fragments' colour) or act when
    // written.
    static const std::array<bool, kTagCount> kLasting;

    std::array<uint32_t, kTagCount> tags_{};
    std::array<uint32_t, reg::MappedRegisters / 4> aperture_{};
    // What registers held when the primitive began, of those that have changed since.
    std::vector<Displaced> displaced_;
    std::bitset<reg::ApertureBytes / 4> isDisplaced_;
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
