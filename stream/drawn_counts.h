#pragma once
// What a board draws, in numbers.
#include "board/values/probe.h"

#include <array>
#include <cstdint>

namespace stream {

// Pixels, by how far they came. Each that a primitive covers is cut or tested.
struct PixelCounts {
    uint64_t cut = 0;     // left out beforehand: by scissor, memory, or limits of packed words
    uint64_t tested = 0;  // met the units' tests, if any
    uint64_t passed = 0;  // all of them
    uint64_t written = 0; // into a memory: colour, depth or both

    PixelCounts& operator+=(const PixelCounts& other);
    PixelCounts operator-(const PixelCounts& other) const;
};

// Fragments by their primitive, other pixels by how they are made.
enum class DrawnKind : uint8_t {
    Trapezoid,
    Line,
    Point,
    Triangle,  // of the setup unit
    SetupLine, // likewise
    Fill,
    Copy,
    PackedCopy,
    Download,
    LocalFill,
    LocalCopy,
    TextureData,
    Video,
    kCount,
};
struct DrawnKindRow {
    const char* name; // "trapezoids"
    const char* key;  // of JSON
};
const DrawnKindRow& RowOf(DrawnKind kind);

struct DrawnCounts {
    std::array<PixelCounts, static_cast<size_t>(DrawnKind::kCount)> pixels{}; // by DrawnKind
    uint64_t frameBytes = 0, localBytes = 0; // written into the memories

    PixelCounts All() const;
    DrawnCounts operator-(const DrawnCounts& before) const;
};

// Counts what it is told.
class DrawnCounter final : public board::PixelProbe {
  public:
    const DrawnCounts& Counts() const { return counts_; }
    void OnPrimitive(board::PrimitiveKind kind) override { primitive_ = kind; }
    void OnPixel(const board::PixelReport& pixel) override;
    void OnCut(const board::CutPixels& run) override;

  private:
    PixelCounts& Of(board::PixelWay way);

    DrawnCounts counts_;
    board::PrimitiveKind primitive_{};
};

} // namespace stream
