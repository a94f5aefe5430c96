#pragma once
// The setup unit's three vertices, and the words that fill them.
#include "board/values/registers.h"
#include "board/values/state_visitor.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace board {

// What a stored vertex holds. Colours count 1.0 for 256, as their fixed words do.
enum class Quantity : uint8_t { S, T, Q, Ks, Red, Green, Blue, Alpha, Fog, X, Y, Z, kCount };

class StoredVertex {
  public:
    double& operator[](Quantity quantity) { return values_[static_cast<size_t>(quantity)]; }
    double operator[](Quantity quantity) const { return values_[static_cast<size_t>(quantity)]; }
    void Visit(StateVisitor& visit) {
        auto& [values] = *this;
        visit.Values("values", values);
    }

  private:
    std::array<double, static_cast<size_t>(Quantity::kCount)> values_{};
};

class VertexStore {
  public:
    // Power-on state: all zero, but opaque.
    VertexStore();

    // Takes a word of the vertex groups. Fixed and float words of a quantity fill the same place,
    // so the latest one holds. `redHigh`: packed colours have red at bits 16 to 23, else in the low
    // byte. False: no quantity has that word.
    bool Write(RegisterWrite write, bool redHigh);
    // Gives all vertices the alpha of a colour start word (9.15), until they get one of their own.
    void SetAlpha(uint32_t word);
    // Whether a word of the vertex groups brings alpha.
    static bool HoldsAlpha(uint32_t tagNumber);
    // A vertex's alpha as its fixed word, and that word's tag.
    uint32_t FixedAlpha(uint32_t slot) const;
    static uint32_t FixedAlphaTag(uint32_t slot);

    const StoredVertex& operator[](uint32_t slot) const { return vertices_[slot]; }
    void Visit(StateVisitor& visit) {
        auto& [vertices] = *this;
        visit.Within("0", vertices[0]);
        visit.Within("1", vertices[1]);
        visit.Within("2", vertices[2]);
    }

  private:
    std::array<StoredVertex, 3> vertices_;
};

} // namespace board
