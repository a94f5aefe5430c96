#pragma once
// The end of the input FIFO: stores register writes and carries out those that are commands.
#include "board/breaks.h"
#include "board/bus/output_fifo.h"
#include "board/pixel/fragment_rows.h"
#include "board/pixel/host_download.h"
#include "board/pixel/pick.h"
#include "board/pixel/pipeline.h"
#include "board/raster/interpolants.h"
#include "board/raster/lines.h"
#include "board/raster/rasteriser.h"
#include "board/setup/setup_unit.h"
#include "board/texture/lookup_table.h"
#include "board/values/fault_counts.h"
#include "board/values/host_memory.h"
#include "board/values/memory.h"
#include "board/values/probe.h"
#include "board/values/registers.h"

#include <cstdint>
#include <optional>
#include <utility>

namespace board {

class CommandUnit {
  public:
    CommandUnit(const DeviceRow& chip, bool setupUnit, RegisterFile& registers, Memories& memories,
                const HostMemory& host, OutputFifo& output, FaultCounts& faults)
        : chip_(chip), registers_(registers), memories_(memories), host_(host), output_(output),
          faults_(faults) {
        if (setupUnit) {
            setup_.emplace();
        }
    }

    // Who is told of every pixel from the next primitive or word on; null: nobody.
    void SetProbe(PixelProbe* probe) { probe_ = probe; }
    // Makes it wrong in one way, from the next primitive or command on.
    void SetBreak(Break what);
    // Words of other tags before each answer.
    void SetStrayWords(uint32_t words) { strayWords_ = words; }

    void Execute(RegisterWrite write);
    // Pixels that primitives have covered since the last call, clipped ones too; those of a
    // download, whose every word is an entry, are not among them.
    uint64_t TakePixelsDrawn() { return std::exchange(pixelsDrawn_, 0); }
    void Visit(StateVisitor& visit);
    // Works out anew what follows from the state: behind a restore.
    void Rebuild();

  private:
    // What the latest primitive walks along, and so how it can go on.
    enum class Walk { None, Rows, Steps };
    // What the pipeline's state is decoded from.
    struct ModeKey {
        uint32_t render;              // word
        uint32_t registers, mappings; // revisions
        bool operator==(const ModeKey&) const = default;
    };

    void Render();
    // The setup unit's primitives; the data word is a Render word.
    void DrawStoredTriangle(uint32_t renderWord);
    void DrawStoredLine(uint32_t from, uint32_t to, uint32_t renderWord);
    bool HasSetupUnit();
    // Takes the state for a primitive. False: it cannot be drawn.
    bool BeginPrimitive();
    // Brings the pipeline's state up to date with the registers.
    void DecodeModes();
    bool GoesOn(Walk walk);
    void DrawRows(uint32_t rows);
    // What the setup unit has worked out, before it is drawn by.
    void TakeSetup();
    // Draws with draw(span, interpolants).
    template <typename Draw>
    void WalkRows(uint32_t rows, Draw&& draw);
    template <typename Draw>
    void WalkSteps(uint32_t steps, Draw&& draw);
    HostDownload::Primitive DownloadTarget() {
        return {rasteriser_, interpolants_, pipeline_, pick_, faults_, probe_};
    }
    // Tells the probe what begins.
    void TellPrimitive(PrimitiveKind kind) {
        if (probe_ != nullptr) {
            probe_->OnPrimitive(kind);
        }
    }
    // Pixels of a line or point.
    void DrawSteps(uint32_t steps);
    // Counts what the Render word asks for and this board lacks. False: nothing can be drawn.
    bool CheckRender();
    void Unmodelled(const char* unit) { ++faults_.unmodelled[unit]; }
    void Answer(uint32_t tagNumber, uint32_t data, const Field& tagField, const Field& dataField);

    const DeviceRow& chip_;
    RegisterFile& registers_;
    Memories& memories_;
    const HostMemory& host_;
    OutputFifo& output_;
    FaultCounts& faults_;
    PixelProbe* probe_ = nullptr;
    Break break_ = Break::None;
    uint32_t strayWords_ = 0;

    std::optional<SetupUnit> setup_;
    Rasteriser rasteriser_;
    LineWalker line_;
    Interpolants interpolants_{};
    // Derived from the registers, on the first primitive behind a change.
    PipelineState pipeline_{};
    RowPlan rows_{};
    std::optional<ModeKey> decoded_;
    FaultCounts decodeFaults_; // of that decoding
    PickUnit pick_;
    LookupTables tables_;
    HostDownload download_;
    bool fromHost_ = false; // the latest trapezoid takes its pixels from the host
    Walk walk_ = Walk::None;
    uint64_t pixelsDrawn_ = 0;
};

} // namespace board
