#pragma once
// The end of the input FIFO: stores register writes and carries out those that are commands.
#include <cstdint>

#include "board/board.h"
#include "board/interpolants.h"
#include "board/memory.h"
#include "board/output_fifo.h"
#include "board/pipeline.h"
#include "board/rasteriser.h"
#include "board/registers.h"
#include "board/statistics.h"

namespace board {

class CommandUnit {
  public:
    CommandUnit(Chip chip, RegisterFile& registers, Memories& memories, OutputFifo& output,
                Faults& faults)
        : chip_(chip), registers_(registers), memories_(memories), output_(output),
          faults_(faults) {}

    // Words of other tags before each Sync answer.
    void SetStrayWords(uint32_t words) { strayWords_ = words; }

    void Execute(RegisterWrite write);

  private:
    void Render();
    void DrawRows(uint32_t rows);
    // Counts what the Render word asks for and this board lacks. False: nothing can be drawn.
    bool CheckRender();
    void Unmodelled(const char* unit) { ++faults_.unmodelled[unit]; }
    void Answer(uint32_t tagNumber, uint32_t data, const Field& tagField, const Field& dataField);

    Chip chip_;
    RegisterFile& registers_;
    Memories& memories_;
    OutputFifo& output_;
    Faults& faults_;
    uint32_t strayWords_ = 0;

    Rasteriser rasteriser_;
    Interpolants interpolants_{};
    PipelineState pipeline_{};
    PickUnit pick_;
    bool drawing_ = false; // the latest Render word started something that can go on
};

} // namespace board
