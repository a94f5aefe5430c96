#pragma once
// A display for two-dimensional pictures, and copies of its memories on which plain loops do what
// the chip should.
#include "host/inspect/unwaited.h"
#include "tests/support_host/started_display.h"

#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <ostream>
#include <random>
#include <string>
#include <vector>

namespace test {

struct BlitMode {
    uint32_t deviceId;
    uint32_t bits;
    uint32_t width; // of the screen
};
// As a test's name has it: MXAt16Wide320.
void PrintTo(const BlitMode& mode, std::ostream* out);
bool IsGlint(const BlitMode& mode);

// Every device and depth of a family, with pitches of two and of three partial products.
std::vector<BlitMode> GlintModes();
std::vector<BlitMode> PermediaModes();

// A surface's place in a copy of the memory that it lies in.
struct Place {
    std::vector<uint8_t>* memory;
    int64_t base;  // bytes
    int64_t pitch; // bytes
    int bytes;     // of a pixel

    int64_t At(int64_t x, int64_t y) const { return base + y * pitch + x * bytes; }
    uint32_t Get(int64_t x, int64_t y) const {
        uint32_t pixel = 0;
        std::memcpy(&pixel, &memory->at(At(x, y)), bytes);
        return pixel;
    }
    void Set(int64_t x, int64_t y, uint32_t pixel) const {
        std::memcpy(&memory->at(At(x, y)), &pixel, bytes);
    }
};

// Gives every pixel of `area` one value.
void FillPlainly(const Place& place, const RECT& area, uint32_t pixel);
// Copies pixel by pixel, from the top line to the bottom and from left to right.
void CopyForward(const Place& dest, const RECT& to, const Place& source, const RECT& from);
// The pixels of `area`, line by line.
std::vector<uint32_t> PixelsOf(const Place& place, const RECT& area);

// Where a copy goes, and where it comes from.
struct CopyAreas {
    RECT to, from;
};

class BlitStage {
  public:
    explicit BlitStage(const BlitMode& mode, const board::Timing& timing = {});

    int Random(int low, int high) { return std::uniform_int_distribution(low, high)(engine_); }
    uint32_t Pixel() {
        const auto word = static_cast<uint32_t>(engine_());
        return mode_.bits == 32 ? word : word & ((1u << mode_.bits) - 1);
    }
    // A rectangle of this size anywhere in the surface.
    RECT Area(const host::Surface& surface, int width, int height) {
        const LONG left = Random(0, static_cast<int>(surface.Width()) - width);
        const LONG top = Random(0, static_cast<int>(surface.Height()) - height);
        return {left, top, left + width, top + height};
    }
    RECT Area(const host::Surface& surface) {
        return Area(surface, Random(1, static_cast<int>(surface.Width())),
                    Random(1, static_cast<int>(surface.Height())));
    }
    // Two anywhere in their surfaces, both of one size.
    CopyAreas AreasOfOneSize(const host::Surface& dest, const host::Surface& source, int mostWidth,
                             int mostHeight) {
        const int width = Random(1, mostWidth);
        const int height = Random(1, mostHeight);
        const RECT to = Area(dest, width, height);
        return {to, Area(source, width, height)};
    }

    Place PlaceOf(host::Surface& surface);
    // Requests that the driver must do.
    void Blt(host::Surface& dest, const RECT& to, host::Surface& source, const RECT& from,
             const host::BltOptions& options = {}) {
        Do([&] { return machine_.directDraw.Blt(dest, to, source, from, options); });
    }
    void ColorFill(host::Surface& dest, const RECT& area, uint32_t pixel) {
        Do([&] { return machine_.directDraw.ColorFill(dest, area, pixel); });
    }
    // The same, and what they should do to the copies of the memories.
    void CopyAndFollow(host::Surface& dest, const RECT& to, host::Surface& source, const RECT& from,
                       const host::BltOptions& options = {}) {
        Blt(dest, to, source, from, options);
        CopyForward(PlaceOf(dest), to, PlaceOf(source), from);
    }
    void FillAndFollow(host::Surface& dest, const RECT& area, uint32_t pixel) {
        ColorFill(dest, area, pixel);
        FillPlainly(PlaceOf(dest), area, pixel);
    }
    void DepthFill(host::Surface& dest, const RECT& area, uint32_t depth) {
        Do([&] { return machine_.directDraw.DepthFill(dest, area, depth); });
    }
    void RopFill(host::Surface& dest, const RECT& area, bool white) {
        constexpr uint32_t kBlackness = 0x000042, kWhiteness = 0xFF0062;
        Do([&] {
            return machine_.directDraw.RopFill(dest, area, white ? kWhiteness : kBlackness);
        });
    }
    // Waits for the board and compares all its memory with the copies.
    void CompareMemory(host::Surface& surface);
    // The same of a board that complains of nothing.
    void Compare(host::Surface& surface);
    // What the board was asked for and does not have.
    std::map<std::string, uint64_t> Unmodelled() {
        return host::UnexpectedFaults(machine_.display.Board()).unmodelled;
    }

    host::DirectDraw& DirectDraw() { return machine_.directDraw; }

    std::vector<uint8_t> screen, local; // what the board's memories should hold

  private:
    host::DisplayConfig Config(const board::Timing& timing);
    template <class Call>
    void Do(Call call) {
        EXPECT_TRUE(machine_.directDraw.Patiently(call).Done());
    }
    void Scatter(uint8_t* memory, std::vector<uint8_t>& copy);

    BlitMode mode_;
    std::mt19937 engine_{34};
    StartedDisplay machine_;
};

// How often each batch is compared, and how much is in it.
inline constexpr int kBatches = 10;
inline constexpr int kBatch = 30;

// The surfaces of a display: the primary and two behind it, at odd places of the line.
struct Surfaces {
    explicit Surfaces(host::DirectDraw& directDraw)
        : primary(directDraw.CreatePrimary()), back(directDraw.CreateOffscreen(101, 70)),
          sprite(directDraw.CreateOffscreen(75, 60)) {}
    host::Surface& Any(int index) { return index == 0 ? primary : index == 1 ? back : sprite; }

    host::Surface &primary, &back, &sprite;
};

// Does `body` kBatches times kBatch times and compares all memory after each batch.
template <class Body>
void InBatches(BlitStage& stage, Surfaces& surfaces, const Body& body) {
    for (int batch = 0; batch != kBatches && !testing::Test::HasFatalFailure(); ++batch) {
        for (int i = 0; i != kBatch; ++i) {
            body();
        }
        stage.Compare(surfaces.primary);
    }
}

// A rectangle of the surface as large as `from`: mostly at most (right, down) away from it to any
// side, sometimes anywhere.
RECT Nearby(BlitStage& stage, const host::Surface& surface, const RECT& from, int right, int down);

} // namespace test
