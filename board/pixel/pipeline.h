#pragma once
// The pixel pipeline: everything between a span of pixels and the memories. The mode words are
// decoded once per primitive.
#include "board/pixel/blend.h"
#include "board/pixel/copy_state.h"
#include "board/pixel/depth.h"
#include "board/pixel/local_update.h"
#include "board/pixel/pick.h"
#include "board/pixel/scissor.h"
#include "board/pixel/stipple.h"
#include "board/raster/interpolants.h"
#include "board/texture/texture_unit.h"
#include "board/values/fault_counts.h"
#include "board/values/format.h"
#include "board/values/memory.h"
#include "board/values/registers.h"

#include <cstdint>
#include <vector>

namespace board {

// What DrawWrongSpan does otherwise than it should: of a board that is wrong on purpose.
enum class WrongPixels : uint8_t { None, DitherTurned, FogAfterBlend };

// The state of one primitive.
struct PipelineState {
    ClipRectangle clip;
    Plane pixels;
    bool drawsPixels; // colour reaches the frame buffer
    bool readsPixels; // the pixel under a fragment is known
    CopyState copy;
    LocalUpdate localUpdate;
    bool blockFill;
    bool subPixel; // interpolants start at the pixel's centre instead of the edge

    bool stippled;
    AreaStipple stipple;

    bool gouraud;
    Colour flatColour;
    TextureState texture;
    bool fogged;
    Colour fogColour;
    bool alphaTested;
    Compare alphaCompare;
    uint32_t alphaReference;
    DepthUnit depth;
    bool blended;
    SourceFactor sourceFactor;
    DestFactor destFactor;
    PixelFormat blendFormat;
    bool formatted; // else the colour word is written as it is
    bool dithered;
    PixelFormat writeFormat;
    bool constantWrite; // every pixel is writeData
    uint32_t writeData;
    bool logical;
    uint32_t logicOp;

    uint32_t hardwareMask; // memory words: set bits are written
    uint32_t writeMask;    // hardware and software mask together
    uint32_t blockColour;  // memory word

    WrongPixels wrong;
};

// FBReadPixel: pixels of 4 bits, which only downloads write.
inline constexpr uint32_t k4BitPixels = 3;

// Bytes per pixel of the target, by the register that this chip keeps it in.
uint32_t BytesPerPixel(const DeviceRow& chip, const RegisterFile& registers);

// The colour of all fragments that are not interpolated.
Colour FragmentColour(const RegisterFile& registers);

// Decodes the mode words for a primitive drawn with the Render word in `registers`. Settings that
// the board cannot honour are counted in `faults`. The state refers to `memories` and `tables`.
PipelineState DecodePipeline(const DeviceRow& chip, const RegisterFile& registers,
                             Memories& memories, const HostMemory& host, const LookupTables& tables,
                             FaultCounts& faults);

class PixelProbe; // board/values/probe.h
struct RowPlan;   // fragment_rows.h

// Draws the pixels of a span, `row` being the interpolants on its dominant edge. Without a plan
// they are drawn one by one, which defines what comes out; with the state's own plan, which makes
// no difference, at once where that is possible.
void DrawSpan(const PipelineState& state, const RowPlan* plan, const Span& span,
              const Interpolants& row, PickUnit& pick, FaultCounts& faults);
// The same, told to a probe; by the plan where it wants nothing of the span.
void WatchSpan(const PipelineState& state, const RowPlan* plan, const Span& span,
               const Interpolants& row, PickUnit& pick, FaultCounts& faults, PixelProbe& probe);

// Draws one by one, and wrong as the state says.
void DrawWrongSpan(const PipelineState& state, const Span& span, const Interpolants& row,
                   PickUnit& pick, FaultCounts& faults);

} // namespace board
