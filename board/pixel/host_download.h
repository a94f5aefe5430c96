#pragma once
// Pixels from the host: a trapezoid whose colours come as words of the Color register.
#include "board/pixel/packed_limits.h"
#include "board/pixel/pipeline.h"
#include "board/raster/interpolants.h"
#include "board/raster/rasteriser.h"

#include <cstdint>

namespace board {

class HostDownload {
  public:
    // What the download draws with. All of it belongs to the primitive under way.
    struct Primitive {
        Rasteriser& rasteriser;
        Interpolants& interpolants;
        PipelineState& state;
        PickUnit& pick;
        FaultCounts& faults;
        PixelProbe* probe; // null: none
    };

    // Takes the form of the words from the mode words; rows are added by AddRows.
    void Begin(const DeviceRow& chip, const RegisterFile& registers, const PipelineState& state) {
        Stop();
        Configure(chip, registers, state);
    }
    // The same for a download that is under way.
    void Configure(const DeviceRow& chip, const RegisterFile& registers,
                   const PipelineState& state);
    // `rows` more rows wait for their words.
    void AddRows(uint32_t rows, const Primitive& primitive);
    // True while there are pixels without a word.
    bool Active() const { return rowsLeft_ != 0; }
    // Forgets pixels that still wait.
    void Stop() { rowsLeft_ = 0; }
    // The next word, while active.
    void Feed(uint32_t word, const Primitive& primitive);
    // Configure follows a restore.
    void Visit(StateVisitor& visit);

  private:
    enum class Form {
        Colour, // a word is the colour of a pixel that goes through the pipeline
        Packed, // Permedia: a word is a column of raw pixels; spans count columns
        Raw,    // Glint: words are raw pixels in a row, from the beginning of the span
    };

    void LoadRow(const Primitive& primitive);
    void WriteLanes(uint32_t word, int64_t x, const Primitive& primitive) const;
    template <class Watch>
    void WriteLanesAs(uint32_t word, int64_t x, const Primitive& primitive, Watch watch) const;
    template <class Watch>
    void WritePixel(uint32_t pixel, int64_t x, const Primitive& primitive, Watch& watch) const;

    Form form_ = Form::Colour;
    uint32_t pixelBits_ = 32;
    int64_t pixelsPerWord_ = 1;
    PackedLimits limits_{}; // of packed words

    uint32_t rowsLeft_ = 0; // the present one included
    Span span_{};           // the present row, unclipped: words come for clipped pixels too
    int64_t taken_ = 0;     // words of it that have come
};

} // namespace board
