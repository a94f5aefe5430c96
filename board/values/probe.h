#pragma once
// Whoever wants to see each pixel on its way: what it met, and what it left in the memories. With a
// probe the board draws pixel by pixel; without one nothing of this is there.
#include "board/values/colour.h"
#include "board/values/compare.h"
#include "board/values/memory.h"
#include "board/values/registers.h"

#include <array>
#include <cstdint>

namespace board {

// What a pixel meets, in this order. Each of them ends its way if it fails, but Pick.
enum class PixelTest : uint8_t {
    Limits,  // of host words and packed words: it lies inside what they are to write
    Scissor, // it lies inside the clip rectangle
    Memory,  // and inside the memories that the primitive touches
    Stipple,
    Source, // of a copy: it comes from inside the memory
    Key,    // chroma test of a texel, colour key of a copy
    Alpha,
    Depth,
    Pick, // it lies inside the region of the pick unit
    kCount,
};

// How a pixel is made.
enum class PixelWay : uint8_t {
    Fragment,    // colour and depth through all units
    Fill,        // a block fill
    Copy,        // inside the frame buffer
    PackedCopy,  // the same in words: a report is what one word has of a pixel
    Download,    // raw or packed pixels in words from the host
    LocalFill,   // of the local buffer, past the depth test
    LocalCopy,   // likewise
    TextureData, // a word from the host, of the texture unit
    Video,       // from the video port
};

// What a Render word or a command of the setup unit draws.
enum class PrimitiveKind : uint8_t { Trapezoid, Line, Point, Triangle, SetupLine };

// A piece of one of the memories; no bytes: none.
struct PixelElement {
    bool local = false; // of the local buffer, else of the frame buffer
    bool written = false;
    uint32_t bytes = 0; // 1 to 4
    int64_t place = 0;  // of the first byte
    uint32_t before = 0, after = 0;
};

// Where on its way a fragment's colour is told.
enum class PixelStage : uint8_t {
    Shaded,   // interpolated, or flat
    Texel,    // the texture's, filtered
    Textured, // both, with highlight
    Fogged,
    Under, // what the blend unit reads of the pixel that is there
    Blended,
    kCount,
};
inline constexpr size_t kPixelStages = static_cast<size_t>(PixelStage::kCount);

// A pixel that has gone as far as it goes.
struct PixelReport {
    PixelWay way{};
    bool rest = false;            // of a packed copy: another word has the beginning of this pixel
    bool placed = false;          // x and y say something: all but texture data and video
    int64_t x = 0, y = 0;         // as the rasteriser counts
    uint32_t met = 0, failed = 0; // bit PixelTest each
    PixelElement colour, depth;   // texels and video are colours
    bool shaded = false;          // `fragment` says something
    Colour fragment{};            // behind texture and fog
    uint32_t stages = 0;          // bit PixelStage: units that it went through, and so
    std::array<Colour, kPixelStages> colours{};
    int64_t fogFactor = 0; // of Fogged: kFogFractionBits, not held between 0 and 1
    // Of those that met the depth test: held inside the format, and what it was compared with.
    uint32_t fragmentDepth = 0, storedDepth = 0;
    Compare alphaCompare{}, depthCompare{};
    uint32_t alphaReference = 0;
    int64_t source = -1; // of a copy: the byte of the same memory that it comes from

    bool Went(PixelStage stage) const { return (stages >> static_cast<int>(stage) & 1) != 0; }
    Colour At(PixelStage stage) const { return colours[static_cast<size_t>(stage)]; }
    bool Met(PixelTest test) const { return (met >> static_cast<int>(test) & 1) != 0; }
    bool Failed(PixelTest test) const { return (failed >> static_cast<int>(test) & 1) != 0; }
    // It has passed whatever could have stopped it.
    bool Passed() const { return (failed & ~(1u << static_cast<int>(PixelTest::Pick))) == 0; }
};

// Pixels of a row that scissor or memory stop, all at once: a row may have more than anybody could
// go through.
struct CutPixels {
    PixelWay way;
    PixelTest test;
    int64_t y, left, right; // pixels left to right - 1
    // Where their colours would lie, in the frame buffer, and their depths; null: they have none.
    const Plane* pixels;
    const Plane* depths;
    bool depthsLocal; // in the local buffer
};

// A row of a primitive, before anything is cut from it: where it may write, and what it may test.
struct PixelRow {
    int64_t y, left, right; // pixels left to right - 1
    const Plane* pixels;    // of the frame buffer
    const Plane* depths;    // null: none
    const Plane* locals;    // of an update of the local buffer; null: none
    bool depthsLocal;       // depths lie in the local buffer
    bool columns;           // left and right count words
};

// What a setup unit has made of three vertices. Edges are 32.32; values as of Interpolants
// (board/raster/interpolants.h), by Channel.
struct SetupReport {
    struct Edge {
        int64_t position, step; // X at the first row's centre, and per row
    };
    struct Value {
        bool set;
        int64_t start, dx, dyDom;
    };
    int64_t firstRow;
    uint32_t upperRows, lowerRows;
    Edge dominant, upper, lower;
    std::array<Value, 10> values;
};

class PixelProbe {
  public:
    virtual ~PixelProbe() = default;
    // True: nothing of this row is drawn. For those who bound what a primitive may cost.
    virtual bool Skips(const PixelRow& row) { return (void)row, false; }
    // False: nothing of this row needs to be told, and it may be drawn at once.
    virtual bool Wants(const PixelRow& row) { return (void)row, true; }
    // A write has got into the input FIFO, and one leaves it and is carried out: the oldest there.
    virtual void OnEnter(RegisterWrite write) { (void)write; }
    virtual void OnExecute(RegisterWrite write) { (void)write; }
    // A primitive begins. Those that continue it belong to it.
    virtual void OnPrimitive(PrimitiveKind kind) { (void)kind; }
    virtual void OnSetup(const SetupReport& setup) { (void)setup; }
    virtual void OnPixel(const PixelReport& pixel) { (void)pixel; }
    virtual void OnCut(const CutPixels& pixels) { (void)pixels; }
};

} // namespace board
