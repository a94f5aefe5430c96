#pragma once
// The values that vary over a primitive: colour channels, fog factor, depth, texture coordinates
// and the strength of the specular highlight.
#include "board/values/fixed.h"
#include "board/values/registers.h"
#include "board/values/state_visitor.h"

#include <array>
#include <cstdint>

namespace board {

// One interpolated quantity: its value on the dominant edge of the present row, its step per pixel
// away from that edge (whichever way that is), and its step per row along the edge.
struct Interpolant {
    int64_t value;
    int64_t dx;
    int64_t dyDom;

    // Value `distance` pixels from the dominant edge (16.16, 0 to 1.0) and `pixels` more.
    int64_t At(int64_t distance, int64_t pixels) const {
        if (FitsWord(dx) && FitsWord(distance) && FitsWord(pixels)) {
            // The same by smaller products.
            return WrapAdd(WrapAdd(value, MultiplyWords(dx, distance) >> 16),
                           MultiplyWords(dx, pixels));
        }
        const int64_t fraction = WrapMultiply(dx, distance) >> 16;
        return WrapAdd(WrapAdd(value, fraction), WrapMultiply(dx, pixels));
    }
    void Visit(StateVisitor& visit) {
        auto& [at, acrossBy, downBy] = *this;
        visit.Value("value", at);
        visit.Value("dx", acrossBy);
        visit.Value("dyDom", downBy);
    }
};

// Fraction bits: colours 15, fog 22, depth 16, Q 30, Ks 22. S and T depend on the chip:
// - Permedia family: texels, 20 fraction bits, with and without perspective (S / Q are texels
// then).
// - TX and MX: with perspective 30 fraction bits, S / Q being 1.0 at the width of the map; without
//   perspective texels with 21 fraction bits.
struct Interpolants {
    enum Channel { Red, Green, Blue, Alpha, Fog, Depth, S, T, Q, Ks, kCount };
    std::array<Interpolant, kCount> channels;
    // 16.16 pixels to the right that the dominant edge moves per row: dyDom is a step along it.
    int64_t dominantStep;

    // Takes start values and steps from the registers.
    void Load(const RegisterFile& registers);
    // Takes the step of a new dominant edge; values and their steps stay.
    void NewDominant(const RegisterFile& registers);
    // One row along the dominant edge.
    void StepRow();
    void Visit(StateVisitor& visit);
};

// Colours are rounded to whole channels on their way out of the interpolators.
inline constexpr int64_t kHalfColour = 1 << (kColourFractionBits - 1);

} // namespace board
